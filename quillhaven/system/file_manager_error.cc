#include "quillhaven/system/file_manager_error.h"

#include <utility>

#include "quillhaven/platform/base/localization.h"

namespace quillhaven::system {
namespace {

using Operation = FileOperationError::Operation;

platform::ErrorTexts textsOf(Operation operation, const std::string& path,
                             const std::error_code& code) {
  const bool isFolder = operation == Operation::createFolder;
  platform::ErrorTexts texts;
  texts.errorDescription =
      isFolder ? platform::localizedStringWithFormat(
                     "The folder “%@” couldn’t be created.", {path})
               : platform::localizedStringWithFormat(
                     "The attributes of “%@” couldn’t be changed.", {path});
  texts.failureReason = code.message();
  texts.logDescription =
      std::string(isFolder ? "Cannot create the folder \""
                           : "Cannot set the attributes of \"")
          .append(path)
          .append("\": ")
          .append(code.message());
  return texts;
}

}  // namespace

FileManagerError::FileManagerError(Case errorCase)
    : LocalizedError("QuillhavenUtilities.FileManagerError",
                     static_cast<int>(errorCase)),
      case_(errorCase) {}

FileManagerError FileManagerError::applicationSupportDirectoryMissing() {
  return FileManagerError(Case::applicationSupportDirectoryMissing);
}

FileOperationError::FileOperationError(Operation operation, std::string path,
                                       std::error_code code)
    : LocalizedError("NSPOSIXErrorDomain", code.value(),
                     textsOf(operation, path, code)),
      operation_(operation),
      path_(std::move(path)),
      code_(code) {}

}  // namespace quillhaven::system
