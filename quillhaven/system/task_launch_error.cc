#include "quillhaven/system/task_launch_error.h"

#include <utility>

#include "quillhaven/platform/base/localization.h"

namespace quillhaven::system {
namespace {

platform::ErrorTexts textsOf(const std::string& executable,
                             const std::system_error& error) {
  platform::ErrorTexts texts;
  texts.errorDescription = platform::localizedStringWithFormat(
      "The program “%@” couldn’t be started.", {executable});
  texts.failureReason = error.code().message();
  texts.logDescription = error.what();
  return texts;
}

}  // namespace

TaskLaunchError::TaskLaunchError(std::string executable,
                                 const std::system_error& error)
    : LocalizedError("NSPOSIXErrorDomain", error.code().value(),
                     textsOf(executable, error)),
      executable_(std::move(executable)),
      code_(error.code()) {}

}  // namespace quillhaven::system
