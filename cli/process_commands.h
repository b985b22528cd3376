// `quillhaven sockets`, `parent`, `arguments` and `pids`: what runs on this
// machine.
#ifndef QUILLHAVEN_CLI_PROCESS_COMMANDS_H_
#define QUILLHAVEN_CLI_PROCESS_COMMANDS_H_

#include "cli/command.h"

namespace quillhaven::cli {

void addSocketsCommand(CLI::App& app, Work& work);
void addParentCommand(CLI::App& app, Work& work);
void addArgumentsCommand(CLI::App& app, Work& work);
void addPIDsCommand(CLI::App& app, Work& work);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_PROCESS_COMMANDS_H_
