#include "quillhaven/platform/files/folders.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "quillhaven/platform/files/testing/environment_variable.h"
#include "quillhaven/platform/files/testing/other_user.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform {
namespace {

using testing::EnvironmentVariable;
using testing::isTrueForUser;
using testing::TemporaryFolder;

TEST(DocumentsFolder, IsWhatTheUserSays) {
  const TemporaryFolder folder;
  const struct {
    std::string_view file, expected;
  } cases[] = {
      {"XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n", "/home/me/Documents"},
      {"# comment\nXDG_DESKTOP_DIR=\"$HOME/D\"\n"
       "\t XDG_DOCUMENTS_DIR = \"/data/My \\\"Docs\\\"/\" # mine\n",
       "/data/My \"Docs\""},
      {"XDG_DOCUMENTS_DIR=\"$HOME/\"", "/home/me"},
      {"XDG_DOCUMENTS_DIR=\"/a\"\nXDG_DOCUMENTS_DIR=\"/b\"", "/b"},
      {"XDG_DOCUMENTS_DIR=\"/a\"\nXDG_DOCUMENTS_DIR=\"b\"", "/a"},
      {"XDG_DOCUMENTS_DIR=\"$HOMER/a\"", ""},
      {"XDG_DOCUMENTS_DIR=/a", ""},
      {"#XDG_DOCUMENTS_DIR=\"/a\"", ""},
      {"XDG_DOCUMENTS_DIRS=\"/a\"", ""},
      {"XDG_DOCUMENTS_DIR", ""},
      {"", ""},
  };
  const EnvironmentVariable home("HOME", "/home/me");
  const EnvironmentVariable configuration("XDG_CONFIG_HOME", folder.path());
  EXPECT_EQ(documentsFolder(), "");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    folder.write("user-dirs.dirs", c.file);
    EXPECT_EQ(documentsFolder(), c.expected);
  }
}

TEST(AccountHomeFolder, ComesFromTheUserDatabase) {
  const EnvironmentVariable home("HOME", "/nowhere");
  ASSERT_TRUE(accountHomeFolder());
  EXPECT_NE(*accountHomeFolder(), "/nowhere");
  if (::geteuid() != 0) GTEST_SKIP() << "takes the superuser";
  EXPECT_EQ(accountHomeFolder(), "/root");
  EXPECT_TRUE(isTrueForUser(testing::kUnknownUser, [] {
    ::unsetenv("HOME");
    return !accountHomeFolder() && dataFolder().empty() &&
           documentsFolder().empty();
  }));
}

}  // namespace
}  // namespace quillhaven::platform
