// The workspace on a real session bus and a real display with a window manager.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/platform/keychain/testing/secret_service_session.h"
#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/internal/window_system.h"
#include "quillhaven/platform/process/testing/application_bundles.h"
#include "quillhaven/platform/process/testing/process_state.h"
#include "quillhaven/platform/process/workspace.h"

namespace quillhaven::platform {
namespace {

using namespace std::chrono_literals;
using testing::EndOf;
using testing::makeBundle;
using testing::SecretServiceSession;
using testing::settle;
using testing::TemporaryFolder;
using testing::turnUntil;
using Options = WorkspaceLaunchOptions;

constexpr WorkspaceSettings kPatient{.silentLaunchLimit = 10min,
                                     .bareLaunchLimit = 0ms};
constexpr const char* kIdentifier = "com.example.quillhaven-test.App";

class WorkspaceSessionTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    session_ = std::make_unique<SecretServiceSession>(testing::SessionOptions{
        .hasDisplay = true, .hasActivatableServices = false});
    ASSERT_TRUE(turnUntil(windowManagerServes));
  }
  // While it starts, a window manager may lose a window that is mapped then.
  static bool windowManagerServes() {
    const auto application = ChildProcess::launch(
        {.executable = APPLICATION_PROGRAM, .arguments = {"windows", "1"}});
    const auto windows = internal::WindowSystem::connect();
    const bool isServed =
        windows && RunLoop::main().runUntil(
                       [&] {
                         (void)RunLoop::main().runOnce(5ms);
                         return windows->ownersFromBelow().size() == 1;
                       },
                       500ms);
    application->signal(SIGKILL);
    application->wait();
    return isServed &&
           turnUntil([&] { return windows->ownersFromBelow().empty(); });
  }
  static void TearDownTestSuite() { session_.reset(); }

  std::shared_ptr<RunningApplication> launch(
      std::vector<std::string> arguments, Options options = Options::kDefault) {
    return workspace_->launchApplicationAtURL(
        url_, options | Options::kNewInstance,
        {{LaunchConfigurationKey::kArguments, std::move(arguments)},
         {LaunchConfigurationKey::kEnvironment,
          std::map<std::string, std::string>{
              {"APPLICATION_NAME", kIdentifier}}}});
  }
  // Launches and waits until it is ready.
  std::shared_ptr<RunningApplication> launchAndWait(
      std::vector<std::string> arguments) {
    auto application = launch(std::move(arguments));
    EXPECT_TRUE(turnUntil([&] { return application->isFinishedLaunching(); }));
    return application;
  }

  static std::unique_ptr<SecretServiceSession> session_;
  const TemporaryFolder folder_;
  const std::string url_ = makeBundle(folder_, "App", kIdentifier);
  const std::unique_ptr<Workspace> workspace_ = makeWorkspace(kPatient);
};

std::unique_ptr<SecretServiceSession> WorkspaceSessionTest::session_;

TEST_F(WorkspaceSessionTest, SeesSignsOfBeingReady) {
  const struct {
    std::string sign;
    std::vector<std::string> arguments;
  } cases[] = {
      {"name", {"await", folder_.path("go"), "serve", ""}},
      {"name of a child", {"await", folder_.path("go"), "child", "serve", ""}},
      {"window", {"await", folder_.path("go"), "windows", "1"}},
      {"window of a child",
       {"await", folder_.path("go"), "child", "windows", "1"}},
      {"notification", {"await", folder_.path("go"), "notify", "READY=1"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sign);
    const auto application = launch(c.arguments);
    const EndOf end(application);
    settle();
    EXPECT_FALSE(application->isFinishedLaunching());
    folder_.write("go", "");
    EXPECT_TRUE(turnUntil([&] { return application->isFinishedLaunching(); }));
    std::filesystem::remove(folder_.path("go"));
    ::kill(-application->processIdentifier(), SIGKILL);
  }
}

TEST_F(WorkspaceSessionTest, TakesNoSignFromOthers) {
  const auto waiting = launch({"await", folder_.path("never")});
  const EndOf end(waiting);
  // Of the same application, but another process.
  const EndOf endOfServer(launchAndWait({"serve", ""}));
  const EndOf endOfViewer(launchAndWait({"windows", "1"}));
  const EndOf endOfStranger(
      launchAndWait({"strange-window", "notify", "READY=1"}));
  (void)RunLoop::main().runUntil([] { return false; }, 100ms);
  EXPECT_FALSE(waiting->isFinishedLaunching());
}

TEST_F(WorkspaceSessionTest, QuitsPreservingTheState) {
  const auto application = launchAndWait({"serve", folder_.path("state")});
  const EndOf end(application);
  application->quitPreservingState(
      [](const QuitRequestError& error) { ADD_FAILURE() << error.what(); });
  EXPECT_TRUE(turnUntil([&] { return application->isTerminated(); }));
  settle();
  EXPECT_EQ(folder_.read("state"), "saved");
}

TEST_F(WorkspaceSessionTest, SaysWhyTheRequestToQuitWasNotDelivered) {
  const struct {
    std::vector<std::string> arguments;
    bool hasOtherInstance;
    QuitRequestError::Case error;
    std::string description;
    bool isWithinTheCall;
  } cases[] = {
      {{"notify", "READY=1"},
       false,
       QuitRequestError::Case::notReachable,
       "Could not get owner of name '" + std::string(kIdentifier) +
           "': no such name",
       true},
      {{"notify", "READY=1"},
       true,
       QuitRequestError::Case::notReachable,
       "The application can’t be reached on the message bus.",
       true},
      {{"serve", ""},
       false,
       QuitRequestError::Case::refused,
       "Unknown action",  // what it says then depends on its locale
       false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.description);
    std::optional<EndOf> endOfOther;
    if (c.hasOtherInstance) endOfOther.emplace(launchAndWait({"serve", ""}));
    const auto application = launchAndWait(c.arguments);
    const EndOf end(application);
    std::vector<QuitRequestError> errors;
    application->quitPreservingState(
        [&](const QuitRequestError& error) { errors.push_back(error); });
    EXPECT_EQ(errors.size(), c.isWithinTheCall ? 1U : 0U);
    ASSERT_TRUE(turnUntil([&] { return !errors.empty(); }));
    settle();
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0].errorCase(), c.error);
    EXPECT_TRUE(errors[0].errorDescription()->starts_with(c.description))
        << *errors[0].errorDescription();
    EXPECT_FALSE(application->isTerminated());
  }
}

TEST_F(WorkspaceSessionTest, AsksFromOtherThreads) {
  const auto application = launchAndWait({"serve", folder_.path("state")});
  const EndOf end(application);
  std::thread([&] {
    application->quitPreservingState([](const auto&) {});
  }).join();
  EXPECT_TRUE(turnUntil([&] { return application->isTerminated(); }));
  EXPECT_EQ(folder_.read("state"), "saved");
}

TEST_F(WorkspaceSessionTest, BringsWindowsToTheFront) {
  const auto first = launchAndWait({"windows", "3"});
  const EndOf endOfFirst(first);
  const auto second = launchAndWait({"windows", "2"});
  const EndOf endOfSecond(second);
  const auto windowless = launchAndWait({"notify", "READY=1"});
  const EndOf endOfWindowless(windowless);
  for (const bool allWindows : {false, true}) {
    SCOPED_TRACE(allWindows);
    EXPECT_TRUE(first->bringToFront(allWindows));
    EXPECT_TRUE(first->bringToFront(allWindows));  // the active one already
    EXPECT_TRUE(second->bringToFront(allWindows));
    EXPECT_FALSE(windowless->bringToFront(allWindows));
  }
  second->forceTerminate();
  ASSERT_TRUE(turnUntil([&] { return second->isTerminated(); }));
  EXPECT_FALSE(second->bringToFront(true));
}

// The stack from below, each window as the letter of its application.
TEST_F(WorkspaceSessionTest, BringsOneWindowOrAll) {
  const auto first = launchAndWait({"windows", "2"});
  const EndOf endOfFirst(first);
  const auto second = launchAndWait({"windows", "2"});
  const EndOf endOfSecond(second);
  const auto stack = [&] {
    const auto windows = internal::WindowSystem::connect();
    std::string letters;
    for (const std::int32_t pid : windows->ownersFromBelow()) {
      if (pid == first->processIdentifier()) letters.push_back('a');
      if (pid == second->processIdentifier()) letters.push_back('b');
    }
    return letters;
  };
  ASSERT_TRUE(turnUntil([&] { return stack().size() == 4; }));
  ASSERT_TRUE(second->bringToFront(true));
  EXPECT_TRUE(turnUntil([&] { return stack() == "aabb"; })) << stack();
  ASSERT_TRUE(first->bringToFront(false));
  EXPECT_TRUE(turnUntil([&] { return stack() == "abba"; })) << stack();
  ASSERT_TRUE(second->bringToFront(true));
  EXPECT_TRUE(turnUntil([&] { return stack() == "aabb"; })) << stack();
}

TEST_F(WorkspaceSessionTest, KeepsNoDescriptorsOfBusAndDisplay) {
  // Without windows, of which the next would get the number of the last one,
  // and the window manager takes them for one and the same now and then.
  const auto once = [this] {
    const auto application = launch({"notify", "READY=1"});
    EXPECT_TRUE(turnUntil([&] { return application->isFinishedLaunching(); }));
    application->bringToFront(true);
    application->quitPreservingState([](const auto&) {});
    application->terminate();
    EXPECT_TRUE(turnUntil([&] { return application->isTerminated(); }));
    settle();
  };
  once();
  const std::size_t descriptors = testing::openDescriptorCount();
  for (int i = 0; i < 30; ++i) once();
  // A connection is closed by the bus's own thread, somewhat later.
  EXPECT_TRUE(turnUntil([&] {
    return testing::openDescriptorCount() <= descriptors;
  })) << testing::openDescriptorCount()
      << " instead of " << descriptors;
}

// The last one, since it ends the display and the bus.
TEST_F(WorkspaceSessionTest, ZOutlivesDisplayAndBus) {
  const testing::SignalHandling deadly(SIGPIPE, SIG_DFL);
  const auto application = launch({"await", folder_.path("go"), "serve", ""});
  const EndOf end(application);
  settle();
  const auto windows = internal::WindowSystem::connect();
  ASSERT_TRUE(windows);
  session_.reset();
  const auto everyone = [](std::int32_t) { return true; };
  EXPECT_FALSE(windows->bringToFront(everyone, true, 1s));
  EXPECT_FALSE(windows->hasWindow(everyone));
  EXPECT_TRUE(windows->isBroken());
  EXPECT_FALSE(application->bringToFront(true));
  int failures = 0;
  application->quitPreservingState([&](const auto&) { ++failures; });
  settle();
  EXPECT_EQ(failures, 1);
  EXPECT_FALSE(application->isTerminated());
}

}  // namespace
}  // namespace quillhaven::platform
