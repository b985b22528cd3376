#include "quillhaven/platform/process/workspace.h"

#include <utility>

#include "quillhaven/platform/base/localization.h"

namespace quillhaven::platform {
namespace {

ErrorTexts launchTexts(const std::string& application,
                       const std::error_code& code) {
  ErrorTexts texts;
  texts.errorDescription = localizedStringWithFormat(
      "The application “%@” couldn’t be opened.", {application});
  texts.failureReason = code.message();
  texts.logDescription = application + ": " + code.message();
  return texts;
}

}  // namespace

ApplicationLaunchError::ApplicationLaunchError(std::string application,
                                               std::error_code code)
    : LocalizedError("NSPOSIXErrorDomain", code.value(),
                     launchTexts(application, code)),
      application_(std::move(application)),
      code_(code) {}

QuitRequestError::QuitRequestError(Case errorCase, std::string description)
    : LocalizedError("QuillhavenUtilities.QuitRequestError",
                     static_cast<int>(errorCase),
                     ErrorTexts{.errorDescription = std::move(description)}),
      case_(errorCase) {}

std::any RunningApplication::valueForKey(std::string_view key) const {
  if (key == kIsTerminatedKey) return isTerminated();
  if (key == kIsFinishedLaunchingKey) return isFinishedLaunching();
  return KeyValueObservable::valueForKey(key);
}

}  // namespace quillhaven::platform
