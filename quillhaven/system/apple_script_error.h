// Why a shell command could not be run through a script.
#ifndef QUILLHAVEN_SYSTEM_APPLE_SCRIPT_ERROR_H_
#define QUILLHAVEN_SYSTEM_APPLE_SCRIPT_ERROR_H_

#include <string>
#include <string_view>
#include <variant>

#include "quillhaven/platform/base/localized_error.h"
#include "quillhaven/platform/process/script.h"

namespace quillhaven::system {

// The key of the user info of `executionError`, and its domain.
inline constexpr std::string_view kErrorDictionaryKey = "ErrorDictionary";
inline constexpr std::string_view kAppleScriptErrorDomain =
    "QuillhavenUtilitiesAppleScriptErrorDomain";

// What AppleScript::executeShellScript() throws. Immutable.
class AppleScriptError : public platform::LocalizedError {
 public:
  // The user dismissed the question for administrator rights. Code 1.
  struct UserCanceled {
    bool operator==(const UserCanceled&) const = default;
  };
  // The script is none that can be run; a prompt with a quote in it makes such
  // a script. Code 2.
  struct AppleScriptObjectInitialization {
    std::string source;
    bool operator==(const AppleScriptObjectInitialization&) const = default;
  };
  // The command failed, or could not be run. Code 3. The user info holds the
  // dictionary as a JSON object.
  struct ExecutionError {
    std::string briefMessage;  // the recovery suggestion, not localized
    platform::ScriptErrorDictionary errorDictionary;
    bool operator==(const ExecutionError&) const = default;
  };
  // The command is not UTF-8. Code 4.
  struct Base64Encoding {
    bool operator==(const Base64Encoding&) const = default;
  };
  using Case = std::variant<UserCanceled, AppleScriptObjectInitialization,
                            ExecutionError, Base64Encoding>;

  explicit AppleScriptError(Case errorCase);

  static AppleScriptError userCanceled();
  static AppleScriptError appleScriptObjectInitialization(std::string source);
  static AppleScriptError executionError(
      std::string briefMessage,
      platform::ScriptErrorDictionary errorDictionary);
  static AppleScriptError base64Encoding();

  [[nodiscard]] const Case& errorCase() const noexcept { return case_; }

  friend bool operator==(const AppleScriptError& a, const AppleScriptError& b) {
    return a.case_ == b.case_;
  }

 private:
  Case case_;
};

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_APPLE_SCRIPT_ERROR_H_
