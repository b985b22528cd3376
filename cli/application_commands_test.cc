#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "cli/testing/program.h"
#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/testing/application_bundles.h"

namespace quillhaven::cli::testing {
namespace {

using platform::ChildProcess;
using platform::testing::makeBundle;
using Arguments = std::vector<std::string>;

constexpr const char* kIdentifier = "com.example.quillhaven.command";

class ApplicationCommandsTest : public ::testing::Test {
 protected:
  ApplicationCommandsTest() {
    for (const char* const variable :
         {"DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
      ::unsetenv(variable);
    }
    ::setenv("HOME", home_.path().c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
  }

  // Makes a script; returns the path of its bundle.
  [[nodiscard]] std::string bundle(const std::string& name,
                                   const std::string& script) const {
    makeBundle(home_, "Applications/" + name, kIdentifier, script);
    return home_.path("Applications/" + name + ".app");
  }

  const TemporaryFolder home_;
};

RunResult run(Arguments arguments) {
  return runProgram(QUILLHAVEN_PROGRAM, std::move(arguments));
}

TEST_F(ApplicationCommandsTest, OpenQuitAndWait) {
  const std::string path =
      bundle("App", "trap '' TERM\nwhile :; do sleep 0.05; done\n");
  const RunResult opened = run({"open", path});
  ASSERT_EQ(opened.status, 0) << opened.error;
  const pid_t pid = std::stoi(opened.output);
  EXPECT_EQ(opened.output, std::to_string(pid) + "\n");
  EXPECT_EQ(::kill(pid, 0), 0);
  // By its identifier: the one that runs.
  EXPECT_EQ(run({"open", kIdentifier}).output, opened.output);

  Program waiting(QUILLHAVEN_PROGRAM, {"wait", std::to_string(pid)});
  const RunResult quit = run({"quit", "--preserving-state", "--graceful",
                              "0.05", "--kill", "60", kIdentifier});
  EXPECT_EQ(quit.status, 0);
  EXPECT_EQ(quit.error, "");
  EXPECT_EQ(quit.output,
            "Terminate preserving state failed, falling back to regular "
            "termination: The application can’t be reached on the message "
            "bus.\n");
  EXPECT_EQ(waiting.closeInputAndWait(), 0);
  EXPECT_EQ(waiting.output() + waiting.error(), "");
}

TEST_F(ApplicationCommandsTest, SayWhatIsWrong) {
  const std::string crashing = bundle("Crash", "exit 3\n");
  const auto child = ChildProcess::launch({.executable = "/bin/true"});
  const std::string gone = std::to_string(child->processIdentifier());
  child->wait();
  const struct {
    Arguments arguments;
    int status;
    std::string output, error;
  } cases[] = {
      {{"open", crashing},
       1,
       "",
       crashing + ": it has ended before it had finished launching"},
      {{"open", "/no/App.app"}, 1, "", "/no/App.app: No such file"},
      {{"open", "com.example.none"}, 1, "", "no such application"},
      {{"open"}, 2, "", "APP is required"},
      {{"quit", "com.example.none"}, 0, "", ""},
      {{"quit", "x", "--graceful", "-1"}, 2, "", "is no number of seconds"},
      {{"quit", "x", "--kill", "inf"}, 2, "", "is no number of seconds"},
      {{"quit", "x", "--kill", "1s"}, 2, "", "is no number of seconds"},
      {{"wait", gone},
       1,
       "Unable to add kevent termination observer, error -1\n",
       "PID " + gone + ": no such process"},
      {{"wait", "0"}, 2, "", "a number above 0"},
      {{"wait", "-1"}, 2, "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.back());
    const RunResult result = run(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.output, c.output);
    EXPECT_NE(result.error.find(c.error), std::string::npos) << result.error;
    EXPECT_EQ(result.error.empty(), c.status == 0) << result.error;
  }
}

}  // namespace
}  // namespace quillhaven::cli::testing
