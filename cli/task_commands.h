// `quillhaven run` and `quillhaven shell`.
#ifndef QUILLHAVEN_CLI_TASK_COMMANDS_H_
#define QUILLHAVEN_CLI_TASK_COMMANDS_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addRunCommand(CommandLine& line);
void addShellCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_TASK_COMMANDS_H_
