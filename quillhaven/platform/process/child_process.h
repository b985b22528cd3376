// Starts programs and learns how they ended.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_CHILD_PROCESS_H_
#define QUILLHAVEN_PLATFORM_PROCESS_CHILD_PROCESS_H_

#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform {

// How a process ended.
struct ExitStatus {
  enum class Reason {
    kExited,    // `value` is its exit status
    kSignaled,  // `value` is the number of the signal that ended it
    // Somebody else took the status: the host ignores SIGCHLD or waits for any
    // child. It may have failed.
    kUnknown,
  };
  Reason reason;
  int value = 0;

  // True for an exit with status 0.
  [[nodiscard]] bool isSuccess() const {
    return reason == Reason::kExited && value == 0;
  }
  bool operator==(const ExitStatus&) const = default;
};

// What a child has as one of its three streams.
struct ChildStream {
  enum class Kind {
    kHosts,       // what this process has there; the null device if nothing
    kNull,        // the null device
    kDescriptor,  // `descriptor`, which stays the caller's
  };
  Kind kind = Kind::kHosts;
  int descriptor = -1;

  static ChildStream null() { return {Kind::kNull}; }
  static ChildStream from(int descriptor) {
    return {Kind::kDescriptor, descriptor};
  }
};

// What to start, and how.
struct LaunchRequest {
  std::string executable;                   // a path; PATH is not searched
  std::vector<std::string> arguments = {};  // without the program's own name
  // Absent: this process's.
  std::optional<std::map<std::string, std::string, std::less<>>> environment =
      {};
  std::string currentDirectory = {};  // empty: this process's
  ChildStream standardInput = {};
  ChildStream standardOutput = {};
  ChildStream standardError = {};
  // In a session of its own: out of reach of this process's terminal.
  bool hasOwnSession = false;
};

// A process that this one has started. It may outlive this object, and leaves
// no zombie then either. Thread-safe.
class ChildProcess {
 public:
  // Starts a process that has its three streams and no other descriptor, all
  // signals at their defaults and none blocked. Throws std::system_error with
  // the errno that names what is wrong: ENOENT for a missing program, EACCES
  // for a folder or one that is not executable, ENOEXEC for a script without
  // "#!", EINVAL for text with a NUL in it.
  static std::unique_ptr<ChildProcess> launch(const LaunchRequest& request);

  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  [[nodiscard]] pid_t processIdentifier() const { return pid_; }

  // A descriptor that becomes readable when the process ends, as long as this
  // object lives; absent when there was none left for it.
  [[nodiscard]] std::optional<int> exitDescriptor() const;

  // Returns how the process ended, or nothing while it runs. Never waits.
  [[nodiscard]] std::optional<ExitStatus> poll();

  // The same, after waiting for the end without a time limit.
  ExitStatus wait();

  // Sends a signal; false when the process has ended or the call failed.
  bool signal(int number);

 private:
  ChildProcess(pid_t pid, UniqueFd processFd)
      : pid_(pid), processFd_(std::move(processFd)) {}

  const pid_t pid_;
  UniqueFd processFd_;
  std::mutex lock_;
  std::optional<ExitStatus> status_;  // guarded by lock_; set when reaped
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_CHILD_PROCESS_H_
