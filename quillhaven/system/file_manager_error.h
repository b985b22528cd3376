// Why an operation on files or folders failed.
#ifndef QUILLHAVEN_SYSTEM_FILE_MANAGER_ERROR_H_
#define QUILLHAVEN_SYSTEM_FILE_MANAGER_ERROR_H_

#include <string>
#include <system_error>

#include "quillhaven/platform/base/localized_error.h"

namespace quillhaven::system {

// What the product's own rules say no to. Without texts and user info.
// Immutable.
class FileManagerError : public platform::LocalizedError {
 public:
  enum class Case {
    applicationSupportDirectoryMissing,  // not even a home folder is known
  };

  explicit FileManagerError(Case errorCase);

  static FileManagerError applicationSupportDirectoryMissing();

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

  friend bool operator==(const FileManagerError& a, const FileManagerError& b) {
    return a.case_ == b.case_;
  }

 private:
  Case case_;
};

// The platform refused. The error's code is the errno, such as ENOENT, EACCES
// or EPERM; the description names the file, the failure reason is the
// platform's text; description() has both and is for logs. Immutable.
class FileOperationError : public platform::LocalizedError {
 public:
  enum class Operation { createFolder, setAttributes };

  FileOperationError(Operation operation, std::string path,
                     std::error_code code);

  [[nodiscard]] Operation operation() const noexcept { return operation_; }
  // The file or folder that was refused.
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  [[nodiscard]] const std::error_code& code() const noexcept { return code_; }

  friend bool operator==(const FileOperationError& a,
                         const FileOperationError& b) {
    return a.operation_ == b.operation_ && a.path_ == b.path_ &&
           a.code_ == b.code_;
  }

 private:
  Operation operation_;
  std::string path_;
  std::error_code code_;
};

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_FILE_MANAGER_ERROR_H_
