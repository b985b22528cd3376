#include "quillhaven/system/applications.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/testing/application_bundles.h"
#include "quillhaven/platform/process/testing/in_memory_workspace.h"
#include "quillhaven/platform/process/testing/process_state.h"
#include "quillhaven/platform/run_loop/main_queue.h"

namespace quillhaven::system {
namespace {

using namespace std::chrono_literals;
using platform::ChildProcess;
using platform::RunLoop;
using platform::testing::InMemoryApplication;
using platform::testing::InMemoryWorkspace;
using platform::testing::makeBundle;
using platform::testing::openDescriptorCount;
using platform::testing::settle;
using platform::testing::SignalHandling;
using platform::testing::TemporaryFolder;
using platform::testing::turnUntil;
using platform::testing::withArguments;
using Requests = std::vector<std::string>;

constexpr const char* kIdentifier = "com.example.mail";
constexpr const char* kURL = "file:///Applications/Mail.app";

// What is printed to standard output while it lives.
class PrintedText {
 public:
  PrintedText() {
    std::fflush(stdout);
    ::dup2(::fileno(file_.get()), STDOUT_FILENO);
  }
  PrintedText(const PrintedText&) = delete;
  PrintedText& operator=(const PrintedText&) = delete;
  ~PrintedText() {
    std::fflush(stdout);
    ::dup2(kept_.get(), STDOUT_FILENO);
  }
  [[nodiscard]] std::string text() const {
    std::fflush(stdout);
    std::string bytes(4096, '\0');
    const ssize_t size =
        ::pread(::fileno(file_.get()), bytes.data(), bytes.size(), 0);
    bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return bytes;
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const platform::UniqueFd kept_{::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)};
  const std::unique_ptr<std::FILE, Close> file_{std::tmpfile()};
};

class LaunchTest : public ::testing::Test {
 protected:
  std::shared_ptr<RunningApplication> launch() {
    return launchApplication(
        workspace_, kURL, WorkspaceLaunchOptions::kDefault, {},
        [this](const LaunchResult& result) { results_.push_back(result); });
  }

  std::shared_ptr<InMemoryApplication> application_ =
      std::make_shared<InMemoryApplication>(4711, kIdentifier);
  InMemoryWorkspace workspace_;
  std::vector<LaunchResult> results_;

  void SetUp() override {
    workspace_.launch = [this](auto...) { return application_; };
  }
};

TEST_F(LaunchTest, TellsTheFirstOutcomeOnce) {
  const auto success = [this] { application_->setFinishedLaunching(); };
  const auto notYet = [this] { application_->setFinishedLaunching(false); };
  const auto end = [this] { application_->setTerminated(); };
  const auto nothing = [this] { application_->touch(); };
  using Step = std::function<void()>;
  const struct {
    std::string name;
    std::vector<Step> before, after;
    bool isTold, isToldWithinTheCall, isSuccess;
  } cases[] = {
      {"ready",
       {},
       {nothing, notYet, success, success, end},
       true,
       false,
       true},
      {"ended", {}, {end, end, success}, true, false, false},
      {"was ready", {success}, {success, end}, true, true, true},
      {"had ended", {end}, {end, success}, true, true, false},
      {"had ended after it was ready", {success, end}, {}, true, true, false},
      {"neither", {}, {nothing, notYet}, false, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    application_ = std::make_shared<InMemoryApplication>(4711, kIdentifier);
    results_.clear();
    for (const Step& step : c.before) step();
    EXPECT_EQ(launch(), application_);
    EXPECT_EQ(results_.size(), c.isToldWithinTheCall ? 1U : 0U);
    for (const Step& step : c.after) step();
    ASSERT_EQ(results_.size(), c.isTold ? 1U : 0U);
    if (!c.isTold) {
      application_->setTerminated();
      continue;
    }
    EXPECT_EQ(results_[0].isSuccess(), c.isSuccess);
    if (c.isSuccess) {
      EXPECT_EQ(results_[0].value(), application_);
    } else {
      EXPECT_EQ(results_[0].error(),
                FinishLaunchingError::terminatedBeforeFinishedLaunching());
    }
  }
}

TEST_F(LaunchTest, LetsGoOfEverythingWithTheOutcome) {
  std::weak_ptr<InMemoryApplication> weak = application_;
  launch();
  application_.reset();
  workspace_.launch = nullptr;
  ASSERT_FALSE(weak.expired());  // the launch keeps itself alive
  weak.lock()->setFinishedLaunching();
  results_.clear();
  EXPECT_TRUE(weak.expired());
}

TEST_F(LaunchTest, ThrowsWhatTheWorkspaceThrows) {
  const platform::ApplicationLaunchError refusal(
      "/Applications/Mail.app", std::make_error_code(std::errc::io_error));
  workspace_.launch = [&](std::string_view url, WorkspaceLaunchOptions options,
                          const LaunchConfiguration& configuration)
      -> std::shared_ptr<RunningApplication> {
    EXPECT_EQ(url, kURL);
    EXPECT_EQ(options, WorkspaceLaunchOptions::kNewInstance);
    EXPECT_EQ(configuration.size(), 1U);
    throw refusal;
  };
  const auto handler =
      std::make_shared<std::function<void(const LaunchResult&)>>();
  try {
    launchApplication(workspace_, kURL, WorkspaceLaunchOptions::kNewInstance,
                      withArguments({"a"}),
                      [handler](const LaunchResult&) { FAIL(); });
    ADD_FAILURE() << "no error";
  } catch (const platform::ApplicationLaunchError& error) {
    EXPECT_EQ(error, refusal);
  }
  EXPECT_EQ(handler.use_count(), 1);
}

TEST(Terminate, FallsBackWithALineOnStandardOutput) {
  const struct {
    bool preservingState;
    std::optional<std::string> failure;
    Requests requests;
    std::string printed;
  } cases[] = {
      {false, std::nullopt, {"terminate"}, ""},
      {false, "unused", {"terminate"}, ""},
      {true, std::nullopt, {"quitPreservingState"}, ""},
      {true,
       "No such name",
       {"terminate"},
       "Terminate preserving state failed, falling back to regular "
       "termination: No such name\n"},
  };
  for (const auto& c : cases) {
    const auto application =
        std::make_shared<InMemoryApplication>(1, kIdentifier);
    application->quitFailure = c.failure;
    const PrintedText printed;
    terminate(application, c.preservingState);
    EXPECT_EQ(application->requests, c.requests);
    EXPECT_EQ(printed.text(), c.printed);
  }
  terminate(nullptr, true);
}

TEST(Terminate, SurvivesAnOutputThatNobodyReads) {
  const SignalHandling deadly(SIGPIPE, SIG_DFL);
  std::fflush(stdout);
  const platform::UniqueFd kept(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  ::close(ends[0]);
  ::dup2(ends[1], STDOUT_FILENO);
  ::close(ends[1]);
  const auto application =
      std::make_shared<InMemoryApplication>(1, kIdentifier);
  application->quitFailure = "x";
  terminate(application, true);
  ::dup2(kept.get(), STDOUT_FILENO);
  std::clearerr(stdout);
  EXPECT_EQ(application->requests, Requests{"terminate"});
}

class TerminateAllTest : public ::testing::Test {
 protected:
  std::shared_ptr<InMemoryApplication> add(std::int32_t pid) {
    const auto application =
        std::make_shared<InMemoryApplication>(pid, kIdentifier);
    workspace_.running.push_back(application);
    return application;
  }
  void terminateAll(double graceful, double kill,
                    bool preservingState = false) {
    terminateApplications(workspace_, kIdentifier, preservingState, graceful,
                          kill, [this](const TerminationResult& result) {
                            results_ += result.isSuccess() ? 's' : 't';
                          });
  }
  // Turns the main loop for a while.
  static void turnFor(std::chrono::milliseconds time) {
    (void)RunLoop::main().runUntil([] { return false; }, time);
  }

  InMemoryWorkspace workspace_;
  std::string results_;  // a letter each: success or time out
};

TEST_F(TerminateAllTest, SucceedsAtOnceWithoutApplications) {
  workspace_.running.push_back(
      std::make_shared<InMemoryApplication>(1, "com.example.other"));
  terminateAll(0, 0);
  EXPECT_EQ(results_, "s");
  turnFor(20ms);
  EXPECT_EQ(results_, "s");
  terminateApplications(workspace_, "none", true, 0, 0);
}

TEST_F(TerminateAllTest, AsksInOrderThenWaitsForTheLast) {
  const auto first = add(1);
  const auto second = add(2);
  std::string order;
  first->onRequest = [&](auto) { order += '1'; };
  second->onRequest = [&](auto) { order += '2'; };
  second->quitFailure = "x";
  {
    const PrintedText printed;
    terminateAll(0.02, 10, true);
  }
  EXPECT_EQ(order, "12");
  EXPECT_EQ(first->requests, Requests{"quitPreservingState"});
  EXPECT_EQ(second->requests, Requests{"terminate"});
  first->setTerminated();
  EXPECT_EQ(results_, "");
  // Both get it, the one that has ended as well.
  ASSERT_TRUE(turnUntil([&] { return second->requests.size() == 2; }));
  EXPECT_EQ(first->requests.back(), "forceTerminate");
  EXPECT_EQ(second->requests.back(), "forceTerminate");
  second->touch();  // a change that is none
  EXPECT_EQ(results_, "");
  second->setTerminated();
  EXPECT_EQ(results_, "s");
  second->setTerminated();
  EXPECT_EQ(results_, "s");
}

TEST_F(TerminateAllTest, CallsTheWorkOffOnceAllHaveEnded) {
  // Within the request, before anything is scheduled, and after.
  for (const bool isWithin : {true, false}) {
    workspace_.running.clear();
    results_.clear();
    const auto application = add(1);
    if (isWithin) {
      application->onRequest = [application = application.get()](auto) {
        application->setTerminated();
      };
    }
    terminateAll(0.01, 0.01);
    if (!isWithin) application->setTerminated();
    turnFor(50ms);
    EXPECT_EQ(results_, "s") << isWithin;
    EXPECT_EQ(application->requests, Requests{"terminate"});
    application->onRequest = nullptr;
  }
}

TEST_F(TerminateAllTest, TimesOutAfterTheForceAndMaySucceedLate) {
  const auto application = add(1);
  const auto start = std::chrono::steady_clock::now();
  terminateAll(0.05, 0.1);
  ASSERT_TRUE(turnUntil([&] { return !results_.empty(); }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 150ms);
  EXPECT_EQ(results_, "t");
  EXPECT_EQ(application->requests, (Requests{"terminate", "forceTerminate"}));
  turnFor(30ms);
  EXPECT_EQ(results_, "t");
  application->setTerminated();
  EXPECT_EQ(results_, "ts");
}

TEST_F(TerminateAllTest, TakesAnyNumberOfSeconds) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    double graceful, kill;
    std::string result;
  } cases[] = {
      {-1, -kInfinity, "t"},
      {std::numeric_limits<double>::quiet_NaN(), 0, "t"},
      {1e300, 0, ""},
      {0, kInfinity, ""},
  };
  for (const auto& c : cases) {
    workspace_.running.clear();
    results_.clear();
    const auto application = add(1);
    terminateAll(c.graceful, c.kill);
    turnFor(30ms);
    EXPECT_EQ(results_, c.result) << c.graceful << " " << c.kill;
    application->setTerminated();
  }
}

TEST_F(TerminateAllTest, LetsGoOfTheApplicationsAtTheEnd) {
  const std::weak_ptr<InMemoryApplication> weak = add(1);
  terminateAll(1e9, 1e9);
  weak.lock()->setTerminated();
  workspace_.running.clear();
  EXPECT_TRUE(weak.expired());
}

class ObserverTest : public ::testing::Test {
 protected:
  static std::unique_ptr<ChildProcess> start() {
    return ChildProcess::launch(
        {.executable = "/bin/sleep", .arguments = {"600"}});
  }
  static void end(ChildProcess& child) {
    child.signal(SIGKILL);
    child.wait();
  }
};

TEST_F(ObserverTest, TellsTheExitOnceOnTheMainLoop) {
  const auto child = start();
  std::shared_ptr<KEventTerminationObserver> told;
  int count = 0;
  auto observer = KEventTerminationObserver::observe(
      child->processIdentifier(), [&](const auto& who) {
        EXPECT_TRUE(platform::isMainThread());
        ++count;
        told = who;
        settle();  // the process is not told again in here
      });
  ASSERT_TRUE(observer);
  settle();
  EXPECT_EQ(count, 0);
  end(*child);
  EXPECT_EQ(count, 0);
  ASSERT_TRUE(turnUntil([&] { return count > 0; }));
  settle();
  EXPECT_EQ(count, 1);
  EXPECT_EQ(told, observer);
  EXPECT_EQ(observer->pid(), child->processIdentifier());
}

TEST_F(ObserverTest, TellsAZombieAndNoChild) {
  const pid_t zombie = ::fork();
  if (zombie == 0) ::_exit(0);
  siginfo_t info;
  ASSERT_EQ(
      ::waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT), 0);
  // A grandchild, which is init's or a reaper's now.
  const TemporaryFolder folder;
  const auto shell =
      ChildProcess::launch({.executable = "/bin/sh",
                            .arguments = {"-c", "sleep 600 & echo $! >pid"},
                            .currentDirectory = folder.path()});
  shell->wait();
  const pid_t grandchild = std::stoi(folder.read("pid"));
  int count = 0;
  const auto handler = [&](const auto&) { ++count; };
  const auto first = KEventTerminationObserver::observe(zombie, handler);
  const auto second = KEventTerminationObserver::observe(grandchild, handler);
  ASSERT_TRUE(first && second);
  EXPECT_TRUE(turnUntil([&] { return count == 1; }));
  ::kill(grandchild, SIGKILL);
  EXPECT_TRUE(turnUntil([&] { return count == 2; }));
  EXPECT_EQ(::waitpid(zombie, nullptr, 0), zombie);  // nobody has taken it
}

TEST_F(ObserverTest, IsDisarmedByInvalidatingAndLettingGo) {
  const auto child = start();
  const std::size_t descriptors = openDescriptorCount();
  const auto fail = [](const auto&) { FAIL(); };
  const auto kept =
      KEventTerminationObserver::observe(child->processIdentifier(), fail);
  auto dropped =
      KEventTerminationObserver::observe(child->processIdentifier(), fail);
  EXPECT_EQ(openDescriptorCount(), descriptors + 2);
  kept->invalidate();
  kept->invalidate();
  dropped.reset();
  EXPECT_EQ(openDescriptorCount(), descriptors);
  end(*child);
  settle();
}

TEST_F(ObserverTest, MayGoWithinItsHandler) {
  for (const bool isReset : {true, false}) {
    const auto child = start();
    int count = 0;
    std::shared_ptr<KEventTerminationObserver> observer;
    observer = KEventTerminationObserver::observe(child->processIdentifier(),
                                                  [&](const auto& who) {
                                                    ++count;
                                                    if (isReset) {
                                                      observer.reset();
                                                    } else {
                                                      who->invalidate();
                                                    }
                                                  });
    end(*child);
    ASSERT_TRUE(turnUntil([&] { return count == 1; }));
    settle();
    EXPECT_EQ(count, 1);
  }
}

TEST_F(ObserverTest, PrintsARefusal) {
  const auto child = start();
  const pid_t gone = child->processIdentifier();
  end(*child);
  const std::size_t descriptors = openDescriptorCount();
  for (const std::int32_t pid : {gone, 0}) {
    const PrintedText printed;
    EXPECT_FALSE(KEventTerminationObserver::observe(pid, [](const auto&) {}));
    EXPECT_EQ(printed.text(),
              "Unable to add kevent termination observer, error -1\n");
  }
  EXPECT_EQ(openDescriptorCount(), descriptors);
  EXPECT_DEATH((void)KEventTerminationObserver::observe(-1, {}),
               "the process to observe has a negative ID");
}

TEST_F(ObserverTest, ObservesApplicationsThatRun) {
  const auto child = start();
  int count = 0;
  const auto handler = [&](const auto& observation) {
    EXPECT_TRUE(observation);
    ++count;
  };
  const PrintedText printed;
  InMemoryApplication none(0, kIdentifier);
  EXPECT_FALSE(observeTermination(none, handler));
  InMemoryApplication over(child->processIdentifier(), kIdentifier);
  over.setTerminated();
  EXPECT_FALSE(observeTermination(over, handler));
  EXPECT_EQ(printed.text(), "");
  InMemoryApplication running(child->processIdentifier(), kIdentifier);
  const auto observation = observeTermination(running, handler);
  EXPECT_TRUE(observation);
  end(*child);
  EXPECT_TRUE(turnUntil([&] { return count == 1; }));
}

// A thread of its own for starting and ending, as hosts have.
TEST_F(ObserverTest, ComesAndGoesOnAnyThread) {
  const auto child = start();
  std::atomic<bool> isOver = false;
  std::atomic<int> count = 0;
  std::thread other([&] {
    for (int i = 0; i < 200; ++i) {
      const auto observer = KEventTerminationObserver::observe(
          child->processIdentifier(), [](const auto&) { FAIL(); });
      EXPECT_TRUE(observer);
      const pid_t pid = ::fork();
      if (pid == 0) ::_exit(0);
      const auto fast = KEventTerminationObserver::observe(
          pid, [&](const auto&) { ++count; });
      ::waitpid(pid, nullptr, 0);
    }
    isOver = true;
    RunLoop::main().wakeUp();
  });
  EXPECT_TRUE(turnUntil([&] { return isOver.load(); }));
  other.join();
  EXPECT_LE(count, 200);
  end(*child);
}

TEST_F(ObserverTest, TellsAThousandExitsAtOnceEachOnce) {
  constexpr std::size_t kCount = 1000;
  rlimit limit;
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit raised = {std::min<rlim_t>(limit.rlim_max, 4096),
                         limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &raised), 0);
  const std::size_t descriptors = openDescriptorCount();
  int gate[2];
  ASSERT_EQ(::pipe(gate), 0);
  std::map<pid_t, int> told;
  std::vector<std::shared_ptr<KEventTerminationObserver>> observers;
  for (std::size_t i = 0; i < kCount; ++i) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::close(gate[1]);
      char byte;
      ::_exit(static_cast<int>(::read(gate[0], &byte, 1)));
    }
    ASSERT_GT(pid, 0);
    observers.push_back(KEventTerminationObserver::observe(
        pid, [&](const auto& observer) { ++told[observer->pid()]; }));
    ASSERT_TRUE(observers.back());
  }
  ::close(gate[1]);  // all of them read the end now
  EXPECT_TRUE(turnUntil([&] { return told.size() == kCount; }));
  settle();
  for (const auto& observer : observers) {
    EXPECT_EQ(told[observer->pid()], 1);
    EXPECT_EQ(::waitpid(observer->pid(), nullptr, 0), observer->pid());
  }
  ::close(gate[0]);
  EXPECT_EQ(openDescriptorCount(), descriptors);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

TEST(ProcessSerialNumber, IsTheTwoHalvesOfTheApplications) {
  InMemoryApplication application(1, kIdentifier);
  EXPECT_EQ(processSerialNumber(application), ProcessSerialNumber());
  application.serialNumber = 0x0123456789abcdef;
  EXPECT_EQ(processSerialNumber(application),
            (ProcessSerialNumber{0x01234567, 0x89abcdef}));
}

// With real processes, and neither a bus nor a display.
class RealApplicationsTest : public ::testing::Test {
 protected:
  RealApplicationsTest() {
    for (const char* const variable :
         {"DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
      ::unsetenv(variable);
    }
  }

  std::shared_ptr<RunningApplication> launch(
      std::vector<std::string> arguments) {
    return launchApplication(*workspace_, url_,
                             WorkspaceLaunchOptions::kNewInstance,
                             withArguments(std::move(arguments)),
                             [this](const LaunchResult& result) {
                               EXPECT_TRUE(platform::isMainThread());
                               launched_ += result.isSuccess() ? 's' : 'f';
                             });
  }

  const TemporaryFolder folder_;
  const std::string url_ =
      makeBundle(folder_, "App", "com.example.quillhaven.real");
  const std::unique_ptr<Workspace> workspace_ =
      platform::makeWorkspace({.bareLaunchLimit = 10min});
  std::string launched_;  // a letter each: success or failure
};

TEST_F(RealApplicationsTest, CrashesAndSlowStartsAreToldOnce) {
  const auto slow = launch({"await", folder_.path("go"), "notify", "READY=1"});
  const platform::testing::EndOf end(slow);
  launch({"exit", "3"});
  EXPECT_TRUE(turnUntil([&] { return !launched_.empty(); }));
  EXPECT_EQ(launched_, "f");
  folder_.write("go", "");
  EXPECT_TRUE(turnUntil([&] { return launched_.size() == 2; }));
  EXPECT_EQ(launched_, "fs");
  // The one that runs has finished launching: told within the call.
  const auto again =
      launchApplication(*workspace_, url_, WorkspaceLaunchOptions::kDefault, {},
                        [this](const LaunchResult& result) {
                          launched_ += result.isSuccess() ? 'S' : 'F';
                        });
  EXPECT_EQ(again, slow);
  EXPECT_EQ(launched_, "fsS");
  settle();
}

TEST_F(RealApplicationsTest, ForcesThoseThatIgnoreTheRequest) {
  const auto obedient = launch({"notify", "READY=1"});
  const auto stubborn = launch({"ignore-term", "notify", "READY=1"});
  ASSERT_TRUE(turnUntil([&] { return launched_ == "ss"; }));
  std::string results;
  const PrintedText printed;
  terminateApplications(*workspace_, "com.example.quillhaven.real", true, 0.2,
                        60, [&](const TerminationResult& result) {
                          results += result.isSuccess() ? 's' : 't';
                        });
  EXPECT_TRUE(turnUntil([&] { return obedient->isTerminated(); }));
  EXPECT_FALSE(stubborn->isTerminated());
  EXPECT_TRUE(turnUntil([&] { return !results.empty(); }));
  settle();
  EXPECT_EQ(results, "s");
  EXPECT_TRUE(stubborn->isTerminated());
  const std::string line =
      "Terminate preserving state failed, falling back to regular "
      "termination: The application can’t be reached on the message bus.\n";
  EXPECT_EQ(printed.text(), line + line);
  EXPECT_FALSE(forceActivateBringingAllWindowsFront(*stubborn, true));
  EXPECT_EQ(processSerialNumber(*stubborn), ProcessSerialNumber());
}

}  // namespace
}  // namespace quillhaven::system
