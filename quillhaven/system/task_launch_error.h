// Why a task could not be launched.
#ifndef QUILLHAVEN_SYSTEM_TASK_LAUNCH_ERROR_H_
#define QUILLHAVEN_SYSTEM_TASK_LAUNCH_ERROR_H_

#include <string>
#include <system_error>

#include "quillhaven/platform/base/localized_error.h"

namespace quillhaven::system {

// The platform refused to start a program. The error's code is the errno:
// ENOENT for a missing program or working folder, EACCES for a folder or a file
// that may not be executed, ENOEXEC for a script without "#!", others for
// exhausted resources. The description names the program, the failure reason
// is the platform's text; description() has both and is for logs. Immutable.
class TaskLaunchError : public platform::LocalizedError {
 public:
  explicit TaskLaunchError(std::string executable,
                           const std::system_error& error);

  // The program that was to be launched, as the task names it.
  [[nodiscard]] const std::string& executable() const noexcept {
    return executable_;
  }
  [[nodiscard]] const std::error_code& code() const noexcept { return code_; }

  friend bool operator==(const TaskLaunchError& a, const TaskLaunchError& b) {
    return a.code_ == b.code_ && a.executable_ == b.executable_;
  }

 private:
  std::string executable_;
  std::error_code code_;
};

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_TASK_LAUNCH_ERROR_H_
