// Runs auxiliary programs and collects everything that they write.
#ifndef QUILLHAVEN_SYSTEM_TASK_H_
#define QUILLHAVEN_SYSTEM_TASK_H_

#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "quillhaven/platform/base/localized_error.h"
#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/data.h"
#include "quillhaven/platform/process/pipe.h"
#include "quillhaven/system/task_launch_error.h"

namespace quillhaven::platform {
class RunLoop;
}

namespace quillhaven::system {

using platform::Data;
using platform::Pipe;

// How the caller of a task waits for it.
enum class BlockingMode : int {
  // The calling thread turns its own run loop, so that the loop's other sources
  // are served meanwhile. For the main thread.
  runLoop = 0,
  // The calling thread serves nothing but the task. Never on a thread that the
  // task's completion depends on.
  dispatchGroup = 1,
};

// What a task gets as one of its streams: what this process has there, the null
// device, a pipe, or a descriptor that stays the caller's.
struct HostsStream {};
struct NullDevice {};
using TaskStream =
    std::variant<HostsStream, NullDevice, std::shared_ptr<Pipe>, int>;

// What to run. Everything but the executable may be left out.
struct TaskConfiguration {
  std::string executable;                   // a path; PATH is not searched
  std::vector<std::string> arguments = {};  // without the program's own name
  // Absent: this process's.
  std::optional<std::map<std::string, std::string, std::less<>>> environment =
      {};
  std::string currentDirectory = {};  // empty: this process's
  TaskStream standardInput = {};
  TaskStream standardOutput = {};
  TaskStream standardError = {};
};

// What a task wrote. A stream is absent unless it is a pipe with a reading end,
// and when that pipe could not be read to its end.
struct TaskOutput {
  std::optional<Data> standardOutput = {};
  std::optional<Data> standardError = {};
};

// Why a task is no longer running.
enum class TerminationReason {
  exit,            // of its own accord, with the termination status
  uncaughtSignal,  // by the signal that the termination status names
  // Somebody else took the status: the host ignores SIGCHLD or waits for all
  // children. The task may have failed.
  unknown,
};

// One run of one program:
//
//   const auto pipe = Pipe::pipe();
//   Task task({.executable = "/bin/df",
//              .arguments = {"-h"},
//              .standardOutput = pipe});
//   const TaskOutput output = task.runAndWait(BlockingMode::runLoop);
//   if (task.terminationStatus() == 0) show(output.standardOutput->bytes());
//
// The program inherits its three streams and no other descriptor; its signals
// are at their defaults. A pipe that is both its output and its error is read
// once, and both have all of it. Launching closes this process's copy of the
// pipe's end that the program uses. A task can be run once. One thread at a
// time, but for terminate() and what tells about the run, which are
// thread-safe.
class Task {
 public:
  explicit Task(TaskConfiguration configuration)
      : configuration_(std::move(configuration)) {}
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  // Launches the task, reads its pipes meanwhile and returns what they held
  // once it has ended and both pipes are at their ends, which other processes
  // that hold them may delay; there is no time limit and no limit of size. A
  // status other than 0 is no error. Throws TaskLaunchError, after which the
  // task may be run again. Running it twice, and any other mode, is a fatal
  // error.
  TaskOutput runAndWait(BlockingMode blockingMode);

  // Called on the calling thread with what runAndWait() returns.
  using CompletionHandler =
      std::function<void(Task& task, std::optional<Data> standardOutput,
                         std::optional<Data> standardError)>;

  // Runs as runAndWait() does, then calls the handler if there is one and
  // returns true. Returns false with a TaskLaunchError in `error` and without
  // calling the handler when the task cannot be launched.
  bool launchWaitingWithBlockingMode(
      BlockingMode blockingMode, platform::ErrorSlot* error,
      const CompletionHandler& completionHandler = {});
  // The same in the mode runLoop.
  bool launchWaitingAndReturnError(
      platform::ErrorSlot* error,
      const CompletionHandler& completionHandler = {});

  // False before the launch and after the end.
  [[nodiscard]] bool isRunning() const;
  // Absent before the launch.
  [[nodiscard]] std::optional<pid_t> processIdentifier() const;
  // Absent until the task has ended.
  [[nodiscard]] std::optional<TerminationReason> terminationReason() const;
  // The exit status or the number of a signal; absent until the task has ended,
  // and when the reason is unknown.
  [[nodiscard]] std::optional<int> terminationStatus() const;

  // Asks a running task to end, with SIGTERM; nothing happens to any other.
  void terminate();

 private:
  TaskOutput runAndTurn(const platform::RunLoop& loop);
  void launch();
  [[nodiscard]] std::shared_ptr<platform::ChildProcess> child() const;
  [[nodiscard]] std::optional<platform::ExitStatus> exitStatus() const;

  const TaskConfiguration configuration_;
  mutable std::mutex lock_;
  // Guarded by lock_; null before the launch.
  std::shared_ptr<platform::ChildProcess> child_;
};

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_TASK_H_
