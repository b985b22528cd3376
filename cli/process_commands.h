// `quillhaven sockets`, `parent`, `arguments` and `pids`: what runs on this
// machine.
#ifndef QUILLHAVEN_CLI_PROCESS_COMMANDS_H_
#define QUILLHAVEN_CLI_PROCESS_COMMANDS_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addSocketsCommand(CommandLine& line);
void addParentCommand(CommandLine& line);
void addArgumentsCommand(CommandLine& line);
void addPIDsCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_PROCESS_COMMANDS_H_
