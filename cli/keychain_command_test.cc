// Runs the built program over both stores.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/testing/program.h"
#include "quillhaven/platform/keychain/testing/secret_service_session.h"

namespace quillhaven::cli {
namespace {

using platform::testing::SecretServiceSession;
using testing::runProgram;
using testing::RunResult;
using testing::TemporaryFolder;
using Arguments = std::vector<std::string>;

const std::string kProgram = QUILLHAVEN_PROGRAM;

// What one run of `quillhaven keychain` takes and gives.
struct Run {
  Arguments arguments;
  std::string_view input;
  int status;
  std::string_view output;
  std::string_view error;  // how it starts
};

void expectRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    Arguments arguments = {"keychain"};
    std::string line;
    for (const std::string& argument : run.arguments) {
      arguments.push_back(argument);
      line += argument + " ";
    }
    SCOPED_TRACE(line);
    const RunResult result = runProgram(kProgram, arguments, run.input);
    EXPECT_EQ(result.status, run.status);
    EXPECT_EQ(result.output, run.output);
    EXPECT_TRUE(result.error.starts_with(run.error)) << result.error;
    EXPECT_EQ(result.error.empty(), run.error.empty()) << result.error;
  }
}

const std::vector<Run> kRuns = {
    {{"--service", "S", "save", "--account", "A"}, "first\n", 0, "", ""},
    {{"--service", "S", "save", "--account", "A"},
     "second",
     1,
     "",
     "quillhaven: Keychain Error: (-25299) -- "},
    {{"--service", "S", "get", "--account", "A"}, "", 0, "first\n", ""},
    {{"--service", "S", "exists", "--account", "A"}, "", 1, "false\n", ""},
    {{"update", "--account", "A", "--service", "S"}, "2\r\n", 0, "", ""},
    {{"--account", "A", "get", "--service", "S"}, "", 0, "2\n", ""},
    {{"--service", "S", "get", "--account", "A", "--synchronizable"},
     "",
     1,
     "",
     "quillhaven: there is no such password"},
    {{"--service", "S", "update", "--synchronizable"},
     "x",
     1,
     "",
     "quillhaven: Keychain Error: (-25300) -- "},
    {{"--service", "S", "save", "--synchronizable"}, "one\n\n", 0, "", ""},
    {{"--service", "S", "save", "--synchronizable"},
     "two\nlines\n\n",
     0,
     "",
     ""},
    {{"--service", "S", "exists", "--synchronizable"}, "", 0, "true\n", ""},
    // An absent account is the service's name.
    {{"--service", "S", "get", "--synchronizable", "--account", "S"},
     "",
     0,
     "two\nlines\n\n",
     ""},
    {{"--service", "S", "save", "--account", ""}, "", 0, "", ""},
    {{"--service", "S", "get", "--account", ""}, "", 0, "\n", ""},
    {{"--service", "S", "save", "--account", "[é]"},
     "\xFF",
     1,
     "",
     "quillhaven: the password is not valid UTF-8"},
    {{"--service", "S", "save", "--account", "[é]"}, "b", 0, "", ""},
    {{"--service", "S", "get", "--account", "[é]"}, "", 0, "b\n", ""},
    {{"--service", "S", "remove", "--account", "[é]"}, "", 0, "", ""},
    {{"--service", "S", "remove", "--account", "[é]"}, "", 0, "", ""},
    {{"--service", "", "get"}, "", 1, "", "quillhaven: Keychain Error: (-50)"},
    {{"--service", "S", "reset"}, "", 0, "", ""},
    {{"--service", "S", "get", "--account", "A"},
     "",
     1,
     "",
     "quillhaven: there is no such password"},
    {{"--service", "S", "reset"},
     "",
     1,
     "",
     "quillhaven: Keychain Error: (-25300) -- "},
};

TEST(KeychainCommand, KeepsPasswordsInTheKeychainService) {
  SecretServiceSession session;
  session.startKeyring();
  expectRuns({{{"--which"}, "", 0, "secret-service\n", ""}});
  expectRuns(kRuns);
  // Nobody answers the prompt; locked is not missing.
  expectRuns({{{"--service", "S", "save"}, "p", 0, "", ""},
              {{"lock-unlock"}, "", 1, "", "quillhaven: Keychain Error: (-128"},
              {{"--service", "S", "get"},
               "",
               1,
               "",
               "quillhaven: Keychain Error: (-128) -- "}});
}

// A folder of its own for sealed files, and no session bus.
class SealedFile {
 public:
  SealedFile() {
    ::setenv("XDG_DATA_HOME", folder_.path().c_str(), 1);
    ::setenv("QUILLHAVEN_KEYCHAIN", "sealed-file", 1);
  }
  ~SealedFile() {
    ::unsetenv("XDG_DATA_HOME");
    ::unsetenv("QUILLHAVEN_KEYCHAIN");
  }
  [[nodiscard]] std::string path(std::string_view name) const {
    return folder_.path("quillhaven/keychain/" + std::string(name));
  }

 private:
  TemporaryFolder folder_;
};

TEST(KeychainCommand, KeepsPasswordsInTheSealedFile) {
  const SealedFile file;
  expectRuns({{{"--which"}, "", 0, "sealed-file\n", ""}});
  expectRuns(kRuns);
  expectRuns({{{"--service", "S", "save"}, "p", 0, "", ""},
              {{"lock-unlock"}, "", 0, "", ""}});
  std::filesystem::resize_file(file.path("keychain.sealed"), 100);
  expectRuns({{{"--service", "S", "get"},
               "",
               1,
               "",
               "quillhaven: Keychain Error: (-25295) -- "}});
}

TEST(KeychainCommand, ChoosesTheSealedFileWithoutABus) {
  const SealedFile file;
  const TemporaryFolder empty;
  ::unsetenv("QUILLHAVEN_KEYCHAIN");
  ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
  ::setenv("XDG_RUNTIME_DIR", empty.path().c_str(), 1);
  expectRuns({{{"--which"}, "", 0, "sealed-file\n", ""}});
  ::setenv("QUILLHAVEN_KEYCHAIN", "secret-service", 1);
  expectRuns({{{"--service", "S", "get"},
               "",
               1,
               "",
               "quillhaven: Keychain Error: (-25291) -- "}});
  ::setenv("QUILLHAVEN_KEYCHAIN", "nonsense", 1);
  expectRuns({{{"--which"}, "", 0, "sealed-file\n", "*** Warning: "}});
}

TEST(KeychainCommand, TellsUsageFromWork) {
  const SealedFile file;
  expectRuns({
      {{}, "", 2, "", "quillhaven: name an OPERATION"},
      {{"--service", "S"}, "", 2, "", "quillhaven: name an OPERATION"},
      {{"get"}, "", 2, "", "quillhaven: name a --service"},
      {{"--service", "S", "hunter2"},
       "",
       2,
       "",
       "quillhaven: OPERATION is none of save, update, get, exists, remove, "
       "reset or lock-unlock\nTry"},
      {{"--service", "S", "reset", "--account", "A"},
       "",
       2,
       "",
       "quillhaven: reset deletes all"},
      {{"--service", "S", "save", "hunter2"},
       "",
       2,
       "",
       "quillhaven: unexpected argument; a password is read from standard "
       "input\nTry"},
      {{"--service", "S", "--frob", "get"},
       "",
       2,
       "",
       "quillhaven: unexpected argument"},
  });
  EXPECT_FALSE(std::filesystem::exists(file.path("")));
}

TEST(KeychainCommand, LeavesNoCoreWithThePassword) {
  const SealedFile file;
  const TemporaryFolder folder;
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  ASSERT_EQ(::write(fds[1], "half", 4), 4);
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_CORE, &unlimited);
    if (::chdir(folder.path().c_str()) != 0) ::_exit(1);
    ::dup2(fds[0], STDIN_FILENO);
    ::execl(kProgram.c_str(), "quillhaven", "keychain", "--service", "S",
            "save", nullptr);
    ::_exit(1);
  }
  // It has the first half and waits for the rest.
  int unread = 4;
  for (int i = 0; i < 60000 && unread > 0; ++i) {
    ::poll(nullptr, 0, 1);
    ASSERT_EQ(::ioctl(fds[0], FIONREAD, &unread), 0);
  }
  ::kill(child, SIGABRT);
  int status = 0;
  ::waitpid(child, &status, 0);
  ::close(fds[0]);
  ::close(fds[1]);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_FALSE(WCOREDUMP(status));
}

TEST(KeychainCommand, ShowsNothingOfAPasswordThatIsTyped) {
  // In a session of its own the terminal is the child's controlling one.
  int terminal = -1;
  const SealedFile file;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    ::execl(kProgram.c_str(), "quillhaven", "keychain", "--service", "S",
            "save", nullptr);
    ::_exit(1);
  }
  std::string shown;
  const auto read = [&] {
    char piece[256];
    const ssize_t count = ::read(terminal, piece, sizeof piece);
    if (count > 0) shown.append(piece, static_cast<std::size_t>(count));
    return count > 0;
  };
  while (shown.find("Password: ") == std::string::npos && read()) {
  }
  ASSERT_EQ(::write(terminal, "hunter2\n", 8), 8);
  while (read()) {
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  ::close(terminal);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(shown, "Password: \r\n");
  expectRuns({{{"--service", "S", "get"}, "", 0, "hunter2\n", ""}});
}

}  // namespace
}  // namespace quillhaven::cli
