#include "quillhaven/system/task.h"

#include <chrono>
#include <csignal>
#include <exception>
#include <system_error>
#include <utility>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/process/pipe_reader.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::system {
namespace {

using platform::ChildProcess;
using platform::ChildStream;
using platform::ExitStatus;
using platform::FileEvents;
using platform::PipeReader;
using platform::RunLoop;
using platform::RunLoopSource;

// A lost wake-up costs this much at most.
constexpr std::chrono::seconds kSlice{1};

std::shared_ptr<Pipe> pipeOf(const TaskStream& stream) {
  const auto* const pipe = std::get_if<std::shared_ptr<Pipe>>(&stream);
  return pipe != nullptr ? *pipe : nullptr;
}

// What the child gets; `end` is the one of a pipe that it uses.
ChildStream childStream(const TaskStream& stream,
                        std::optional<int> (Pipe::*end)() const) {
  if (std::holds_alternative<NullDevice>(stream)) return ChildStream::null();
  if (const auto* const descriptor = std::get_if<int>(&stream)) {
    return ChildStream::from(*descriptor);
  }
  if (const auto pipe = pipeOf(stream)) {
    return ChildStream::from(((*pipe).*end)().value_or(-1));
  }
  return {};
}

// Reads one pipe to its end while a run loop turns. Stays where it is.
class Collection {
 public:
  // Starts reading if there is a pipe with a reading end.
  Collection(const RunLoop& loop, std::shared_ptr<Pipe> pipe)
      : pipe_(std::move(pipe)) {
    const auto descriptor =
        pipe_ ? pipe_->fileHandleForReading() : std::nullopt;
    if (!descriptor) return;
    reader_.emplace(*descriptor);
    source_ = loop.watch(*descriptor, FileEvents::kReadable,
                         [this](FileEvents) { readSome(); });
  }
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;

  [[nodiscard]] bool isPending() const { return source_.isValid(); }

  // Returns all that was read, or nothing when the end was not reached. Throws
  // what went wrong meanwhile on our side.
  std::optional<Data> takeData() {
    if (failure_) std::rethrow_exception(failure_);
    if (!isComplete_) return std::nullopt;
    return reader_->takeBytes();
  }

 private:
  // One piece for each turn, so that the loop's other sources get theirs.
  void readSome() {
    auto progress = PipeReader::Progress::kFailed;
    try {
      progress = reader_->readSome();
    } catch (...) {  // out of memory: nothing may leave a source
      failure_ = std::current_exception();
    }
    if (progress == PipeReader::Progress::kMore) return;
    isComplete_ = progress == PipeReader::Progress::kEnd;
    source_.invalidate();
  }

  const std::shared_ptr<Pipe> pipe_;
  std::optional<PipeReader> reader_;
  RunLoopSource source_;
  bool isComplete_ = false;
  std::exception_ptr failure_;
};

}  // namespace

TaskOutput Task::runAndWait(BlockingMode blockingMode) {
  if (child()) platform::fatalError("a task can be run once");
  switch (blockingMode) {
    case BlockingMode::runLoop:
      return runAndTurn(RunLoop::current());
    case BlockingMode::dispatchGroup:
      return runAndTurn(RunLoop::makePrivate());
  }
  platform::fatalError("a blocking mode is runLoop (0) or dispatchGroup (1)");
}

bool Task::launchWaitingWithBlockingMode(
    BlockingMode blockingMode, platform::ErrorSlot* error,
    const CompletionHandler& completionHandler) {
  TaskOutput output;
  try {
    output = runAndWait(blockingMode);
  } catch (const TaskLaunchError& launchError) {
    return platform::failWith(error, launchError);
  }
  if (completionHandler) {
    completionHandler(*this, std::move(output.standardOutput),
                      std::move(output.standardError));
  }
  return true;
}

bool Task::launchWaitingAndReturnError(
    platform::ErrorSlot* error, const CompletionHandler& completionHandler) {
  return launchWaitingWithBlockingMode(BlockingMode::runLoop, error,
                                       completionHandler);
}

TaskOutput Task::runAndTurn(const RunLoop& loop) {
  const auto outputPipe = pipeOf(configuration_.standardOutput);
  const auto errorPipe = pipeOf(configuration_.standardError);
  const bool isShared = outputPipe && outputPipe == errorPipe;
  Collection output(loop, outputPipe);
  Collection error(loop, isShared ? nullptr : errorPipe);
  launch();

  RunLoopSource end;
  if (const auto descriptor = child()->exitDescriptor()) {
    // Readable from then on, so it wakes the loop once.
    end = loop.watch(*descriptor, FileEvents::kReadable,
                     [&end](FileEvents) { end.invalidate(); });
  }
  do {
    do {
      loop.runOnce(kSlice);
    } while (isRunning());
  } while (output.isPending() || error.isPending());

  TaskOutput collected{output.takeData(), error.takeData()};
  if (isShared && collected.standardOutput) {
    collected.standardError.emplace(collected.standardOutput->bytes());
  }
  return collected;
}

void Task::launch() {
  const auto& c = configuration_;
  std::shared_ptr<ChildProcess> launched;
  try {
    launched = ChildProcess::launch(
        {.executable = c.executable,
         .arguments = c.arguments,
         .environment = c.environment,
         .currentDirectory = c.currentDirectory,
         .standardInput =
             childStream(c.standardInput, &Pipe::fileHandleForReading),
         .standardOutput =
             childStream(c.standardOutput, &Pipe::fileHandleForWriting),
         .standardError =
             childStream(c.standardError, &Pipe::fileHandleForWriting)});
  } catch (const std::system_error& error) {
    throw TaskLaunchError(c.executable, error);
  }
  // Our copies would keep the pipes from ever ending.
  if (const auto pipe = pipeOf(c.standardInput)) {
    pipe->closeFileHandleForReading();
  }
  for (const TaskStream* stream : {&c.standardOutput, &c.standardError}) {
    if (const auto pipe = pipeOf(*stream)) pipe->closeFileHandleForWriting();
  }
  const std::lock_guard guard(lock_);
  child_ = std::move(launched);
}

std::shared_ptr<ChildProcess> Task::child() const {
  const std::lock_guard guard(lock_);
  return child_;
}

std::optional<ExitStatus> Task::exitStatus() const {
  const auto process = child();
  return process ? process->poll() : std::nullopt;
}

bool Task::isRunning() const {
  const auto process = child();
  return process && !process->poll();
}

std::optional<pid_t> Task::processIdentifier() const {
  const auto process = child();
  if (!process) return std::nullopt;
  return process->processIdentifier();
}

std::optional<TerminationReason> Task::terminationReason() const {
  const auto status = exitStatus();
  if (!status) return std::nullopt;
  switch (status->reason) {
    case ExitStatus::Reason::kExited:
      return TerminationReason::exit;
    case ExitStatus::Reason::kSignaled:
      return TerminationReason::uncaughtSignal;
    case ExitStatus::Reason::kUnknown:
      break;
  }
  return TerminationReason::unknown;
}

std::optional<int> Task::terminationStatus() const {
  const auto status = exitStatus();
  if (!status || status->reason == ExitStatus::Reason::kUnknown) {
    return std::nullopt;
  }
  return status->value;
}

void Task::terminate() {
  if (const auto process = child()) process->signal(SIGTERM);
}

}  // namespace quillhaven::system
