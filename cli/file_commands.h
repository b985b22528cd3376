// `quillhaven next-path` and `login-item`: free file names, and what starts at
// login.
#ifndef QUILLHAVEN_CLI_FILE_COMMANDS_H_
#define QUILLHAVEN_CLI_FILE_COMMANDS_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addNextPathCommand(CommandLine& line);
void addLoginItemCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_FILE_COMMANDS_H_
