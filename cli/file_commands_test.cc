// Runs `quillhaven next-path` and `quillhaven login-item`.
#include "cli/file_commands.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/testing/program.h"
#include "quillhaven/platform/files/testing/desktop_entries.h"
#include "quillhaven/platform/files/testing/environment_variable.h"

namespace quillhaven::cli {
namespace {

using platform::testing::EnvironmentVariable;
using platform::testing::writeApplication;
using testing::runProgram;
using testing::TemporaryFolder;
using Arguments = std::vector<std::string>;

TEST(FileCommands, TellUsageFromWork) {
  const TemporaryFolder folder;
  const EnvironmentVariable configuration("XDG_CONFIG_HOME", folder.path());
  folder.write("[a].txt", "");
  const std::string missing = folder.path("None.app");
  const struct {
    Arguments arguments;
    int status;
    std::string output, error;
  } cases[] = {
      {{"next-path", folder.path("[a].txt")},
       0,
       folder.path("[a]-1.txt\n"),
       ""},
      {{"next-path", folder.path("b")}, 0, folder.path("b\n"), ""},
      {{"next-path", "--", "-n"}, 0, "./-n\n", ""},
      {{"next-path"}, 2, "", "quillhaven: PATH is required"},
      {{"next-path", "a", "b"}, 2, "", "quillhaven: The following argument"},
      {{"login-item", "enable", missing},
       1,
       "",
       "quillhaven: " + missing + ": no folder is there\n"},
      {{"login-item", "toggle", missing}, 2, "", "quillhaven: ACTION"},
      {{"login-item", "enable"}, 2, "", "quillhaven: BUNDLE is required"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.back());
    const auto run = runProgram(QUILLHAVEN_PROGRAM, c.arguments);
    EXPECT_EQ(run.status, c.status);
    EXPECT_EQ(run.output, c.output);
    EXPECT_EQ(run.error.substr(0, c.error.size()), c.error);
    if (c.error.empty()) {
      EXPECT_EQ(run.error, "");
    }
  }
  EXPECT_FALSE(std::filesystem::exists(folder.path("autostart")));
}

TEST(LoginItemCommand, SaysWhenAnEntryStaysAsItWas) {
  const TemporaryFolder folder;
  const EnvironmentVariable configuration("XDG_CONFIG_HOME", folder.path());
  const std::string app = writeApplication(folder, "Q.app", "com.example.q");
  const std::string entry = folder.path("autostart/com.example.q.desktop");
  const auto run = [](const std::string& action, const std::string& bundle) {
    return runProgram(QUILLHAVEN_PROGRAM, {"login-item", action, bundle});
  };
  EXPECT_EQ(run("enable", app + "/").status, 0);
  EXPECT_TRUE(std::filesystem::exists(entry));
  EXPECT_EQ(run("disable", app).status, 0);
  EXPECT_FALSE(std::filesystem::exists(entry));
  EXPECT_EQ(run("disable", app).status, 0);

  const std::string nameless = writeApplication(folder, "N.app", "");
  EXPECT_EQ(run("enable", nameless).status, 0);
  const auto kept = run("disable", nameless);
  EXPECT_EQ(kept.status, 1);
  EXPECT_NE(kept.error.find("it has no identifier"), std::string::npos);

  std::filesystem::remove_all(folder.path("autostart"));
  folder.write("autostart", "");
  EXPECT_EQ(run("enable", app).status, 1);
}

}  // namespace
}  // namespace quillhaven::cli
