// `quillhaven open`, `quit` and `wait`: start applications, end them, and wait
// for the end of any process.
#ifndef QUILLHAVEN_CLI_APPLICATION_COMMANDS_H_
#define QUILLHAVEN_CLI_APPLICATION_COMMANDS_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addOpenCommand(CommandLine& line);
void addQuitCommand(CommandLine& line);
void addWaitCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_APPLICATION_COMMANDS_H_
