// Runs shell commands through scripts, with administrator rights if need be.
#ifndef QUILLHAVEN_SYSTEM_APPLE_SCRIPT_H_
#define QUILLHAVEN_SYSTEM_APPLE_SCRIPT_H_

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "quillhaven/platform/process/script.h"
#include "quillhaven/system/apple_script_error.h"

namespace quillhaven::system {

using platform::AppleEventDescriptor;
using platform::Elevation;

// Shell commands as scripts:
//
//   using Privileges = AppleScript::Privileges;
//   const auto result = AppleScript::executeShellScript(
//       "systemctl restart mail-relay",
//       Privileges::administrator("Restart the relay"));
//   show(result.stringValue());
//
// Thread-safe.
class AppleScript {
 public:
  // Whose rights a command runs with.
  class Privileges {
   public:
    // An administrator's, after the user agreed. The prompt is put into the
    // script as it is: one with a double quote makes a script that cannot be
    // run, deliberate.
    static Privileges administrator(std::optional<std::string> prompt = {});
    // The user's own.
    static Privileges user();

    // What the script ends in:
    //   with administrator privileges with prompt "Install update"
    [[nodiscard]] std::string clause() const;

   private:
    Privileges(bool isAdministrator, std::optional<std::string> prompt)
        : isAdministrator_(isAdministrator), prompt_(std::move(prompt)) {}

    bool isAdministrator_;
    std::optional<std::string> prompt_;
  };

  // Returns the script that runs `command`, which it holds in Base64, so that
  // it needs no quoting. Throws AppleScriptError for a command that is not
  // UTF-8.
  [[nodiscard]] static std::string shellScriptSource(
      std::string_view command, const Privileges& privileges);

  // Runs that script and returns what the command wrote to its standard output,
  // without one line break at the end. Blocks without a time limit until the
  // command has ended and its output is closed. Throws AppleScriptError when
  // it fails; a status other than 0 is a failure, whose dictionary has it as
  // the error number. The shell splits the command into words before it
  // evaluates them, so line breaks and runs of blanks in it are single blanks.
  static AppleEventDescriptor executeShellScript(
      std::string_view command, const Privileges& privileges,
      const Elevation& elevation = {});
};

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_APPLE_SCRIPT_H_
