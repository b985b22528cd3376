#include "quillhaven/system/task.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/testing/process_state.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::system {
namespace {

using namespace std::chrono_literals;
using platform::ErrorSlot;
using platform::RunLoop;
using platform::testing::hasNoChildrenSoon;
using platform::testing::openDescriptorCount;
using platform::testing::SignalHandling;
using platform::testing::TemporaryFolder;
using Clock = std::chrono::steady_clock;

constexpr BlockingMode kModes[] = {BlockingMode::runLoop,
                                   BlockingMode::dispatchGroup};

// A shell script with both its output streams collected.
TaskConfiguration collecting(const std::string& script) {
  return {.executable = "/bin/sh",
          .arguments = {"-c", script},
          .standardInput = NullDevice(),
          .standardOutput = Pipe::pipe(),
          .standardError = Pipe::pipe()};
}

class TaskModes : public ::testing::TestWithParam<BlockingMode> {};
INSTANTIATE_TEST_SUITE_P(Both, TaskModes, ::testing::ValuesIn(kModes));

TEST_P(TaskModes, CollectBothStreamsToTheirEnds) {
  const struct {
    std::string script, output, error;
    TerminationReason reason;
    int status;
    std::chrono::milliseconds atLeast{0};
  } cases[] = {
      {"echo a; echo b >&2", "a\n", "b\n", TerminationReason::exit, 0},
      {"exit 3", "", "", TerminationReason::exit, 3},
      {"echo a; kill -9 $$", "a\n", "", TerminationReason::uncaughtSignal, 9},
      // A grandchild keeps a pipe after the task has ended ...
      {"(sleep 0.3; echo late) & echo early; exit 3", "early\nlate\n", "",
       TerminationReason::exit, 3, 300ms},
      {"(sleep 0.3; echo late >&2) >/dev/null & exit 4", "", "late\n",
       TerminationReason::exit, 4, 300ms},
      // ... and a task lives on without its streams.
      {"echo a; exec >&- 2>&-; sleep 0.3; exit 5", "a\n", "",
       TerminationReason::exit, 5, 300ms},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.script);
    Task task(collecting(c.script));
    const auto start = Clock::now();
    const TaskOutput output = task.runAndWait(GetParam());
    EXPECT_GE(Clock::now() - start, c.atLeast);
    ASSERT_TRUE(output.standardOutput && output.standardError);
    EXPECT_EQ(*output.standardOutput, c.output);
    EXPECT_EQ(*output.standardError, c.error);
    EXPECT_EQ(task.terminationReason(), c.reason);
    EXPECT_EQ(task.terminationStatus(), c.status);
    EXPECT_FALSE(task.isRunning());
  }
}

TEST_P(TaskModes, CollectLargeStreamsWhole) {
  constexpr std::size_t kSize = std::size_t{256} << 20;
  Task task({.executable = QUILLHAVEN_PROCESS_TEST_CHILD,
             .arguments = {"both", std::to_string(kSize)},
             .standardOutput = Pipe::pipe(),
             .standardError = Pipe::pipe()});
  const TaskOutput output = task.runAndWait(GetParam());
  const auto isAll = [](const std::optional<Data>& data, char letter) {
    return data && data->size() == kSize &&
           data->bytes().find_first_not_of(letter) == std::string_view::npos;
  };
  EXPECT_TRUE(isAll(output.standardOutput, 'o'));
  EXPECT_TRUE(isAll(output.standardError, 'e'));
}

TEST_P(TaskModes, LeaveOutWhatIsNoReadablePipe) {
  const TemporaryFolder folder;
  const platform::UniqueFd file(::open(folder.path("file").c_str(),
                                       O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const auto unread = Pipe::pipe();
  unread->closeFileHandleForReading();
  const TaskStream streams[] = {NullDevice(), file.get(), unread};
  for (const TaskStream& stream : streams) {
    SCOPED_TRACE(stream.index());
    TaskConfiguration configuration = collecting("echo b >&2; echo a");
    configuration.standardOutput = stream;
    Task task(configuration);
    const TaskOutput output = task.runAndWait(GetParam());
    EXPECT_FALSE(output.standardOutput);
    ASSERT_TRUE(output.standardError);
    EXPECT_NE(output.standardError->bytes().find("b\n"), std::string::npos);
  }
  char text[8] = {};
  const platform::UniqueFd written(
      ::open(folder.path("file").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(::read(written.get(), text, sizeof text), 2);
}

TEST_P(TaskModes, GiveASharedPipeToBothStreams) {
  TaskConfiguration configuration = collecting("echo a; echo b >&2; echo c");
  configuration.standardError = configuration.standardOutput;
  Task task(configuration);
  const TaskOutput output = task.runAndWait(GetParam());
  ASSERT_TRUE(output.standardOutput && output.standardError);
  EXPECT_EQ(*output.standardOutput, "a\nb\nc\n");
  EXPECT_EQ(*output.standardError, "a\nb\nc\n");
}

TEST_P(TaskModes, SayWhyATaskCannotBeLaunched) {
  const TemporaryFolder folder;
  const std::string path = folder.path("program");
  const auto pipe = Pipe::pipe();
  Task task({.executable = path, .standardOutput = pipe});
  const std::size_t descriptors = openDescriptorCount();
  try {
    task.runAndWait(GetParam());
    ADD_FAILURE() << "was launched";
  } catch (const TaskLaunchError& error) {
    EXPECT_EQ(error.domain(), "NSPOSIXErrorDomain");
    EXPECT_EQ(error.errorCode(), ENOENT);
    EXPECT_EQ(error.errorDescription(),
              "The program “" + path + "” couldn’t be started.");
    EXPECT_EQ(error.failureReason(), "No such file or directory");
    EXPECT_EQ(error.description(), path + ": No such file or directory");
  }
  bool isCalled = false;
  ErrorSlot error;
  EXPECT_FALSE(task.launchWaitingWithBlockingMode(
      GetParam(), &error, [&isCalled](Task&, auto, auto) { isCalled = true; }));
  EXPECT_FALSE(isCalled);
  ASSERT_NE(error.as<TaskLaunchError>(), nullptr);
  EXPECT_EQ(error.as<TaskLaunchError>()->code().value(), ENOENT);
  EXPECT_EQ(openDescriptorCount(), descriptors);
  EXPECT_FALSE(task.processIdentifier() || task.terminationReason());

  // Nothing reads the pipe any more, and the task can be run after all.
  folder.writeProgram("program", "#!/bin/sh\necho now\n");
  const TaskOutput output = task.runAndWait(GetParam());
  EXPECT_EQ(*output.standardOutput, "now\n");
}

TEST_P(TaskModes, LeakNothingInAThousandRuns) {
  const auto runOnce = [](int i) {
    TaskConfiguration configuration = {.executable = "/bin/true",
                                       .standardOutput = Pipe::pipe(),
                                       .standardError = Pipe::pipe()};
    if (i % 10 == 0) configuration.executable = "/nowhere";
    Task task(configuration);
    ErrorSlot error;
    return task.launchWaitingWithBlockingMode(GetParam(), &error);
  };
  static_cast<void>(runOnce(1));  // what the libraries open once
  const std::size_t descriptors = openDescriptorCount();
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(runOnce(i), i % 10 != 0);
  EXPECT_EQ(openDescriptorCount(), descriptors);
  EXPECT_TRUE(hasNoChildrenSoon());
}

TEST_P(TaskModes, EndWellInAHostThatIgnoresItsSignals) {
  const SignalHandling ignoredChildren(SIGCHLD, SIG_IGN);
  const SignalHandling deadlyPipe(SIGPIPE, SIG_DFL);
  // The input of a task that never reads it stays the caller's to write to.
  TaskConfiguration configuration = collecting("echo a; sleep 0.05; exit 3");
  configuration.standardInput = Pipe::pipe();
  Task task(configuration);
  const TaskOutput output = task.runAndWait(GetParam());
  EXPECT_EQ(*output.standardOutput, "a\n");
  EXPECT_EQ(task.terminationReason(), TerminationReason::unknown);
  EXPECT_EQ(task.terminationStatus(), std::nullopt);
}

TEST_P(TaskModes, CanBeTerminatedFromElsewhere) {
  Task task(collecting("echo on; exec sleep 1000"));
  std::thread other([&task] {
    while (!task.isRunning()) std::this_thread::yield();
    task.terminate();
  });
  task.runAndWait(GetParam());
  other.join();
  EXPECT_EQ(task.terminationReason(), TerminationReason::uncaughtSignal);
  EXPECT_EQ(task.terminationStatus(), SIGTERM);
}

TEST(Task, CallsTheCompletionHandlerBeforeItReturns) {
  Task task(collecting("echo a; exit 2"));
  std::vector<std::string> seen;
  EXPECT_TRUE(task.launchWaitingAndReturnError(
      nullptr,
      [&](Task& ended, std::optional<Data> output, std::optional<Data> error) {
        EXPECT_EQ(&ended, &task);
        EXPECT_EQ(ended.terminationStatus(), 2);
        seen = {output->string(), error->string()};
      }));
  EXPECT_EQ(seen, (std::vector<std::string>{"a\n", ""}));
}

TEST(Task, ServesTheRunLoopMeanwhileAndNests) {
  const RunLoop loop = RunLoop::current();
  int beats = 0;
  std::string inner;
  const auto heart = loop.startTimer(
      5ms, [&beats] { ++beats; }, 5ms);
  const auto nested = loop.startTimer(20ms, [&inner] {
    Task task(collecting("sleep 0.3; echo inner"));
    inner = task.runAndWait(BlockingMode::runLoop).standardOutput->string();
  });
  // Ends while the inner one runs, which serves its pipes as well.
  Task task(collecting("sleep 0.1; head -c 5000000 /dev/zero; echo error >&2"));
  const TaskOutput output = task.runAndWait(BlockingMode::runLoop);
  EXPECT_EQ(inner, "inner\n");
  EXPECT_EQ(output.standardOutput->size(), 5000000u);
  EXPECT_EQ(*output.standardError, "error\n");
  EXPECT_GT(beats, 10);
}

TEST(Task, DoesNotServeTheCallersRunLoopFromTheQueue) {
  const RunLoop loop = RunLoop::current();
  int beats = 0;
  const auto heart = loop.startTimer(
      1ms, [&beats] { ++beats; }, 1ms);
  Task task(collecting("sleep 0.05"));
  task.runAndWait(BlockingMode::dispatchGroup);
  EXPECT_EQ(beats, 0);
}

TEST(Task, SleepsWhileAGrandchildHoldsThePipe) {
  const auto processorTime = [] {
    timespec now;
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) +
           std::chrono::nanoseconds(now.tv_nsec);
  };
  Task task(collecting("sleep 0.5 & exit 0"));
  const auto before = processorTime();
  task.runAndWait(BlockingMode::runLoop);
  EXPECT_LT(processorTime() - before, 200ms);
}

TEST(Task, StopsTheProgramOverABrokenRule) {
  platform::setFatalErrorHandler(
      [](std::string_view rule) { throw std::logic_error(std::string(rule)); });
  Task task({.executable = "/bin/true"});
  EXPECT_THROW(task.runAndWait(static_cast<BlockingMode>(2)), std::logic_error);
  EXPECT_FALSE(task.processIdentifier());
  task.runAndWait(BlockingMode::runLoop);
  EXPECT_THROW(task.runAndWait(BlockingMode::runLoop), std::logic_error);
  platform::setFatalErrorHandler({});
}

}  // namespace
}  // namespace quillhaven::system
