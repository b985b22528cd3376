// Runs the command of a script and turns its end into a script's outcome.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_SHELL_COMMAND_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_SHELL_COMMAND_H_

#include <optional>
#include <string>

#include "quillhaven/platform/process/script.h"

namespace quillhaven::platform::internal {

// Both block until the command has ended; neither throws for a command that
// fails or cannot be started.
ScriptOutcome runShellCommand(const std::string& command);
ScriptOutcome runShellCommandElevated(const std::string& command,
                                      const std::optional<std::string>& prompt,
                                      const Elevation& elevation);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_SHELL_COMMAND_H_
