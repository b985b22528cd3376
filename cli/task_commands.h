// `quillhaven run` and `quillhaven shell`.
#ifndef QUILLHAVEN_CLI_TASK_COMMANDS_H_
#define QUILLHAVEN_CLI_TASK_COMMANDS_H_

#include "cli/command.h"

namespace quillhaven::cli {

void addRunCommand(CLI::App& app, Work& work);
void addShellCommand(CLI::App& app, Work& work);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_TASK_COMMANDS_H_
