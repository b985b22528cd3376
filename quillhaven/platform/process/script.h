// Runs scripts of the one statement that the product uses:
//   do shell script "COMMAND" with administrator privileges with prompt "TEXT"
#ifndef QUILLHAVEN_PLATFORM_PROCESS_SCRIPT_H_
#define QUILLHAVEN_PLATFORM_PROCESS_SCRIPT_H_

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace quillhaven::platform {

// What a script answers with: text in UTF-8.
class AppleEventDescriptor {
 public:
  explicit AppleEventDescriptor(std::string text) : text_(std::move(text)) {}

  [[nodiscard]] const std::string& stringValue() const { return text_; }
  // True for the text "true" in any case.
  [[nodiscard]] bool booleanValue() const;

 private:
  std::string text_;
};

using ScriptValue = std::variant<bool, std::int64_t, double, std::string>;

// Why a script failed, under the keys below and any others.
using ScriptErrorDictionary = std::map<std::string, ScriptValue, std::less<>>;

inline constexpr std::string_view kScriptErrorNumberKey =
    "NSAppleScriptErrorNumber";
inline constexpr std::string_view kScriptErrorMessageKey =
    "NSAppleScriptErrorMessage";
inline constexpr std::string_view kScriptErrorBriefMessageKey =
    "NSAppleScriptErrorBriefMessage";

// Error numbers that are no exit status. Those are positive, and 128 more than
// the number of the signal that ended the command.
inline constexpr std::int64_t kScriptUserCanceled = -128;
// The command could not be started, or how it ended cannot be known.
inline constexpr std::int64_t kScriptErrorGeneral = -2700;
// Administrator rights were refused, or nobody could be asked for them.
inline constexpr std::int64_t kScriptNotAuthorized = -60007;

// How a command comes by administrator rights.
struct Elevation {
  // Runs PROGRAM ARGUMENT... with them, after asking the user; exit status 126
  // means that the user declined. pkexec, or sudo, which shows the prompt
  // itself.
  std::string program = "/usr/bin/pkexec";

  // Shows the script's prompt before a `program` that cannot: a host with
  // windows does so in one of them. Empty: on standard error.
  std::function<void(std::string_view prompt)> showPrompt = {};
};

// Either of the two is present.
struct ScriptOutcome {
  std::optional<AppleEventDescriptor> result;
  std::optional<ScriptErrorDictionary> error;
};

// A script that was understood. Immutable.
class Script {
 public:
  // Returns nothing for any other statement, for one with another clause or the
  // same clause twice, and for a string that is not closed or has an escape
  // other than \" \\ \n \r and \t. Words are read without regard to case.
  [[nodiscard]] static std::optional<Script> fromSource(
      std::string_view source);

  // Runs the command with /bin/sh, its standard input being the null device,
  // and blocks until it has ended and its output is closed, without a time
  // limit. The result is its standard output without one line break at the end;
  // the messages of a failure are its standard error likewise. Bytes that are
  // not UTF-8 are U+FFFD. Thread-safe.
  [[nodiscard]] ScriptOutcome execute(const Elevation& elevation = {}) const;

  // What the source says, escapes resolved.
  [[nodiscard]] const std::string& command() const { return command_; }
  [[nodiscard]] bool hasAdministratorPrivileges() const {
    return isPrivileged_;
  }
  [[nodiscard]] const std::optional<std::string>& prompt() const {
    return prompt_;
  }

 private:
  Script() = default;

  std::string command_;
  bool isPrivileged_ = false;
  std::optional<std::string> prompt_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_SCRIPT_H_
