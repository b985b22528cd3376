#include "quillhaven/platform/process/workspace.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/internal/desktop_command.h"
#include "quillhaven/platform/process/testing/application_bundles.h"
#include "quillhaven/platform/process/testing/process_state.h"

namespace quillhaven::platform {
namespace {

using namespace std::chrono_literals;
using testing::EndOf;
using testing::makeBundle;
using testing::settle;
using testing::TemporaryFolder;
using testing::turnUntil;
using testing::withArguments;
using Options = WorkspaceLaunchOptions;

// Long enough for a test to see that nothing has come of it.
constexpr WorkspaceSettings kPatient{.silentLaunchLimit = 10min,
                                     .bareLaunchLimit = 10min};
constexpr const char* kIdentifier = "com.example.quillhaven.test";

// Neither a display nor a bus.
class WorkspaceTest : public ::testing::Test {
 protected:
  WorkspaceTest() {
    for (const char* const variable :
         {"DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
      ::unsetenv(variable);
    }
    ::setenv("NOTIFY_SOCKET", "/nowhere", 1);  // of the host itself
  }

  const TemporaryFolder folder_;
  const std::string url_ = makeBundle(folder_, "App", kIdentifier);
  const std::unique_ptr<Workspace> workspace_ = makeWorkspace(kPatient);

  std::shared_ptr<RunningApplication> launch(
      std::vector<std::string> arguments) {
    return workspace_->launchApplicationAtURL(
        url_, Options::kNewInstance, withArguments(std::move(arguments)));
  }
  [[nodiscard]] bool exists(std::string_view name) const {
    return ::access(folder_.path(name).c_str(), F_OK) == 0;
  }
};

TEST_F(WorkspaceTest, SaysWhyAnApplicationCannotBeLaunched) {
  const std::string plist = testing::informationPropertyList("x", "gone");
  folder_.write("Gone.app/Contents/Info.plist", plist);
  folder_.write("Out.app/Contents/Info.plist",
                testing::informationPropertyList("x", "../../../App"));
  folder_.write("Plain.app/Contents/MacOS/Plain", "echo");
  folder_.write("Text.app/Contents/Info.plist",
                testing::informationPropertyList("x", "Text"));
  folder_.writeProgram("Text.app/Contents/MacOS/Text", "echo");
  folder_.write("folder/file", "");
  folder_.write("bad.desktop", "no entry");
  folder_.write("missing.desktop",
                "[Desktop Entry]\nType=Application\nName=x\nExec=/no/where\n");
  const struct {
    std::string url;
    int error;
    LaunchConfiguration configuration;
  } cases[] = {
      {folder_.path("App.app"), EINVAL, {}},  // a path
      {"https://example.com/App.app", EINVAL, {}},
      {fileURLFromPath(folder_.path("None.app")), ENOENT, {}},
      {fileURLFromPath(folder_.path("Gone.app")), ENOENT, {}},
      {fileURLFromPath(folder_.path("Out.app")), ENOEXEC, {}},
      {fileURLFromPath(folder_.path("Plain.app")), EACCES, {}},
      {fileURLFromPath(folder_.path("Text.app")), ENOEXEC, {}},
      {fileURLFromPath(folder_.path("folder")), ENOEXEC, {}},
      {fileURLFromPath(folder_.path("folder/file")), ENOEXEC, {}},
      {fileURLFromPath(folder_.path("bad.desktop")), ENOEXEC, {}},
      {fileURLFromPath(folder_.path("missing.desktop")), ENOEXEC, {}},
      {url_, EINVAL, {{LaunchConfigurationKey::kArguments, 1}}},
      {url_, EINVAL, withArguments({std::string("a\0b", 3)})},
  };
  // GLib opens some of its own for the first desktop entry.
  (void)internal::readDesktopCommand(folder_.path("missing.desktop"));
  const std::size_t descriptors = testing::openDescriptorCount();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.url);
    try {
      workspace_->launchApplicationAtURL(c.url, Options::kDefault,
                                         c.configuration);
      ADD_FAILURE() << "was launched";
    } catch (const ApplicationLaunchError& error) {
      EXPECT_EQ(error.code().value(), c.error) << error.what();
      EXPECT_EQ(error.errorCode(), c.error);
      const std::string named =
          pathFromFileURL(c.url).value_or(std::string(c.url));
      EXPECT_EQ(error.application(), named);
      EXPECT_EQ(error.errorDescription(),
                "The application “" + named + "” couldn’t be opened.");
    }
  }
  EXPECT_EQ(testing::openDescriptorCount(), descriptors);
  EXPECT_TRUE(testing::hasNoChildrenSoon());
}

TEST_F(WorkspaceTest, IsToldByTheProgramWhenItIsReady) {
  const auto application = launch(
      {"notify", "STATUS=loading\nREADY=0\nXREADY=1", "write",
       folder_.path("loading"), "await", folder_.path("go"), "notify",
       "STATUS=done\nREADY=1", "barrier", "write", folder_.path("passed")});
  const EndOf end(application);
  ASSERT_TRUE(turnUntil([&] { return exists("loading"); }));
  settle();
  EXPECT_FALSE(application->isFinishedLaunching());
  int changes = 0;
  const auto observation = application->observe(
      RunningApplication::kIsFinishedLaunchingKey,
      KeyValueObservingOptions::kNew, [&](const KeyValueChange& change) {
        ++changes;
        EXPECT_TRUE(std::any_cast<bool>(change.newValue));
      });
  folder_.write("go", "");
  // The program goes on once its barrier was read.
  EXPECT_TRUE(turnUntil([&] { return exists("passed"); }));
  EXPECT_TRUE(application->isFinishedLaunching());
  EXPECT_EQ(changes, 1);
  EXPECT_FALSE(application->isTerminated());
}

// The shell in between stays the application; what it starts speaks for it.
TEST_F(WorkspaceTest, ListensToWhatTheProgramStarted) {
  const std::string url =
      makeBundle(folder_, "Script", "com.example.script",
                 std::string(APPLICATION_PROGRAM) +
                     " notify READY=1 barrier exit 0\n" + "sleep 600\n");
  const auto application =
      workspace_->launchApplicationAtURL(url, Options::kDefault, {});
  const EndOf end(application);
  EXPECT_TRUE(turnUntil([&] { return application->isFinishedLaunching(); }));
  // Found among the processes, too, by another workspace.
  const auto found = makeWorkspace({})->runningApplicationsWithBundleIdentifier(
      "com.example.script");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0]->processIdentifier(), application->processIdentifier());
  EXPECT_TRUE(found[0]->isFinishedLaunching());
  ::kill(-application->processIdentifier(), SIGKILL);  // a session of its own
}

// A file of /proc about a process.
std::string fileOf(std::int32_t pid, const std::string& name) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/" + name,
                     std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(WorkspaceTest, IgnoresNotificationsOfOthers) {
  const auto application =
      launch({"write", folder_.path("up"), "await", folder_.path("go")});
  const EndOf end(application);
  ASSERT_TRUE(turnUntil([&] { return exists("up"); }));
  const std::string environment =
      fileOf(application->processIdentifier(), "environ");
  const std::size_t start = environment.find("NOTIFY_SOCKET=@");
  ASSERT_NE(start, std::string::npos);
  std::string line = environment.substr(start).c_str();
  // A child of this process is none of the application's.
  const pid_t stranger = ::fork();
  if (stranger == 0) {
    ::putenv(line.data());
    ::execl(APPLICATION_PROGRAM, "x", "notify", "READY=1", "barrier", "exit",
            "0", nullptr);
    ::_exit(1);
  }
  int status = -1;
  ASSERT_TRUE(turnUntil(
      [&] { return ::waitpid(stranger, &status, WNOHANG) == stranger; }));
  EXPECT_EQ(status, 0);
  settle();
  EXPECT_FALSE(application->isFinishedLaunching());
}

TEST_F(WorkspaceTest, CountsSilentProgramsAsReadyAfterAWhile) {
  const struct {
    std::vector<std::string> arguments;
    std::chrono::milliseconds limit;
    bool isReady;
  } cases[] = {
      {{}, 30ms, true},
      {{"notify", "STATUS=loading", "barrier", "write", folder_.path("said")},
       2s,
       false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.limit.count());
    const auto impatient =
        makeWorkspace({.silentLaunchLimit = 10min, .bareLaunchLimit = c.limit});
    const auto application = impatient->launchApplicationAtURL(
        url_, Options::kNewInstance, withArguments(c.arguments));
    const EndOf end(application);
    EXPECT_FALSE(application->isFinishedLaunching());
    ASSERT_TRUE(turnUntil(
        [&] { return application->isFinishedLaunching() || exists("said"); }));
    (void)RunLoop::main().runUntil([] { return false; }, c.limit);
    EXPECT_EQ(application->isFinishedLaunching(), c.isReady);
  }
}

TEST_F(WorkspaceTest, TellsTheEndOnceAndLeavesNoZombie) {
  const auto application = launch({"exit", "3"});
  int changes = 0;
  const auto observation = application->observe(
      RunningApplication::kIsTerminatedKey, KeyValueObservingOptions::kNone,
      [&](const KeyValueChange&) { ++changes; });
  ASSERT_TRUE(turnUntil([&] { return changes > 0; }));
  settle();
  EXPECT_EQ(changes, 1);
  EXPECT_TRUE(application->isTerminated());
  EXPECT_FALSE(application->isFinishedLaunching());
  EXPECT_FALSE(application->terminate());
  EXPECT_FALSE(application->forceTerminate());
  EXPECT_FALSE(application->bringToFront(true));
  EXPECT_FALSE(application->applicationSerialNumber());
  EXPECT_TRUE(testing::hasNoChildrenSoon());
  EXPECT_EQ(workspace_->runningApplicationWithProcessIdentifier(
                application->processIdentifier()),
            nullptr);
}

TEST_F(WorkspaceTest, ReturnsTheInstanceThatRuns) {
  const std::string other = makeBundle(folder_, "Other", "com.example.other");
  const auto first = workspace_->launchApplicationAtURL(
      url_, Options::kDefault, withArguments({"notify", "READY=1"}));
  const EndOf end(first);
  EXPECT_EQ(
      workspace_->launchApplicationAtURL(url_ + "/", Options::kDefault, {}),
      first);
  ASSERT_TRUE(turnUntil([&] { return first->isFinishedLaunching(); }));
  const auto second = launch({});
  const EndOf endOfSecond(second);
  EXPECT_NE(second->processIdentifier(), first->processIdentifier());
  const auto third =
      workspace_->launchApplicationAtURL(other, Options::kDefault, {});
  const EndOf endOfThird(third);

  const auto found =
      workspace_->runningApplicationsWithBundleIdentifier(kIdentifier);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0], first);
  EXPECT_EQ(found[1], second);  // not the one that another process would see
  EXPECT_FALSE(found[1]->isFinishedLaunching());
  EXPECT_EQ(found[0]->bundleURL(), url_);
  EXPECT_NE(first->applicationSerialNumber(),
            second->applicationSerialNumber());
  EXPECT_TRUE(workspace_->runningApplicationsWithBundleIdentifier("com.example")
                  .empty());
}

TEST_F(WorkspaceTest, TakesNoEditorForTheApplicationItShows) {
  const std::string url =
      makeBundle(folder_, "Shown", "com.example.shown", "sleep 600\n");
  const std::string script = folder_.path("Shown.app/Contents/MacOS/Shown");
  const auto editor =
      ChildProcess::launch({.executable = "/usr/bin/tail",
                            .arguments = {"-f", script},
                            .standardOutput = ChildStream::null()});
  ASSERT_TRUE(turnUntil([&] {
    return fileOf(editor->processIdentifier(), "cmdline").find(script) !=
           std::string::npos;
  }));
  EXPECT_TRUE(
      workspace_->runningApplicationsWithBundleIdentifier("com.example.shown")
          .empty());
  editor->signal(SIGKILL);
  editor->wait();
}

TEST_F(WorkspaceTest, LaunchesDesktopEntries) {
  const std::string path = folder_.write(
      "org.example.Entry.desktop",
      "[Desktop Entry]\nType=Application\nName=Entry\nDBusActivatable=true\n"
      "Path=" +
          folder_.path() +
          "\nExec=\"" APPLICATION_PROGRAM
          "\" notify READY=1 write ./here %U child await ./never\n");
  const std::string url = fileURLFromPath(path);
  const auto application =
      workspace_->launchApplicationAtURL(url, Options::kDefault, {});
  const EndOf end(application);
  ASSERT_TRUE(turnUntil(
      [&] { return application->isFinishedLaunching() && exists("here"); }));
  EXPECT_EQ(application->bundleIdentifier(), "org.example.Entry");
  // The process it has started has the same environment, and is not it.
  const auto found = makeWorkspace({})->runningApplicationsWithBundleIdentifier(
      "org.example.Entry");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0]->processIdentifier(), application->processIdentifier());
  EXPECT_EQ(found[0]->bundleURL(), url);
  ::kill(-application->processIdentifier(), SIGKILL);
}

TEST(DesktopCommand, ReplacesFieldCodes) {
  const TemporaryFolder folder;
  using Words = std::vector<std::string>;
  const struct {
    std::string keys;
    Words words;
  } cases[] = {
      {"Exec=sh", {}},
      {"Exec=sh %f %F %u %U %d %m", {}},
      {"Exec=sh a%fb %% 5%%", {"ab", "%", "5%"}},
      {"Exec=sh %c\nName[de]=no", {"N"}},
      {"Exec=sh %i", {}},
      {"Exec=sh %i\nIcon=i", {"--icon", "i"}},
      {"Exec=sh \"two words\" \"\" 'one' a\\\\ b",
       {"two words", "", "one", "a b"}},
      {"Exec=sh x%", {"x"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.keys);
    const std::string path = folder.write(
        "x.desktop", "[Desktop Entry]\nType=Application\nName=N\n" + c.keys);
    const auto entry = internal::readDesktopCommand(path);
    ASSERT_TRUE(entry);
    EXPECT_TRUE(entry->command.front().starts_with('/'));
    EXPECT_EQ(Words(entry->command.begin() + 1, entry->command.end()), c.words);
  }
}

TEST_F(WorkspaceTest, PassesNothingOnButThreeStreams) {
  const UniqueFd leaky(::dup(0));  // without close-on-exec
  const auto application = workspace_->launchApplicationAtURL(
      url_, Options::kDefault,
      {{LaunchConfigurationKey::kArguments,
        std::vector<std::string>{"descriptors", folder_.path("descriptors")}},
       {LaunchConfigurationKey::kEnvironment,
        std::map<std::string, std::string>{{"ADDED", "1"}}}});
  const EndOf end(application);
  ASSERT_TRUE(turnUntil([&] { return exists("descriptors"); }));
  EXPECT_EQ(folder_.read("descriptors"), "0 1 2 ");
  std::ifstream file(
      "/proc/" + std::to_string(application->processIdentifier()) + "/environ");
  const std::string environment{std::istreambuf_iterator<char>(file), {}};
  EXPECT_NE(environment.find("ADDED=1"), std::string::npos);
  EXPECT_NE(environment.find("PATH="), std::string::npos);
}

TEST_F(WorkspaceTest, KeepsNoDescriptors) {
  const auto once = [this](int i) {
    const auto application = launch({"notify", "READY=1", "exit", "0"});
    (void)workspace_->runningApplicationWithProcessIdentifier(::getpid());
    if (i % 100 == 0) {
      (void)workspace_->runningApplicationsWithBundleIdentifier(kIdentifier);
    }
    (void)application->bringToFront(true);
    return turnUntil([&] { return application->isTerminated(); });
  };
  ASSERT_TRUE(once(1));
  ASSERT_TRUE(testing::hasNoChildrenSoon() || turnUntil([] {
                settle();
                return ::waitpid(-1, nullptr, WNOHANG) < 0;
              }));
  settle();
  const std::size_t descriptors = testing::openDescriptorCount();
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(once(i));
  ASSERT_TRUE(turnUntil([] {
    siginfo_t info;
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0;
  }));
  settle();
  EXPECT_EQ(testing::openDescriptorCount(), descriptors);
}

// Processes come and go while the table is read; those that run are found, and
// the others are no errors.
TEST_F(WorkspaceTest, FindsApplicationsWhileProcessesVanish) {
  const auto application = launch({});
  const EndOf end(application);
  std::atomic<bool> isOver = false;
  std::thread churn([&isOver] {
    while (!isOver) {
      const pid_t pid = ::fork();
      if (pid == 0) ::_exit(0);
      ::waitpid(pid, nullptr, 0);
    }
  });
  const auto other = makeWorkspace({});
  const auto found = [&other] {
    return other->runningApplicationsWithBundleIdentifier(kIdentifier).size();
  };
  // A launch returns a moment before the program's arguments can be read.
  EXPECT_TRUE(turnUntil([&] { return found() == 1; }));
  for (int i = 0; i < 100; ++i) EXPECT_EQ(found(), 1U);
  isOver = true;
  churn.join();
}

TEST_F(WorkspaceTest, FindsInstalledApplications) {
  const TemporaryFolder home;
  const std::string url =
      makeBundle(home, "Applications/Mine", "com.example.mine", "exit 0");
  home.write(".local/share/applications/org.example.Entry.desktop", "");
  ::setenv("HOME", home.path().c_str(), 1);
  ::unsetenv("XDG_DATA_HOME");
  const auto workspace = makeWorkspace({});
  EXPECT_EQ(
      workspace->URLForApplicationWithBundleIdentifier("com.example.mine"),
      url);
  EXPECT_EQ(
      workspace->URLForApplicationWithBundleIdentifier("org.example.Entry"),
      fileURLFromPath(
          home.path(".local/share/applications/org.example.Entry.desktop")));
  EXPECT_FALSE(
      workspace->URLForApplicationWithBundleIdentifier("../org.example.Entry"));
}

}  // namespace
}  // namespace quillhaven::platform
