// `quillhaven bundle`, `quillhaven page` and `quillhaven defaults`.
#ifndef QUILLHAVEN_CLI_IDENTITY_COMMANDS_H_
#define QUILLHAVEN_CLI_IDENTITY_COMMANDS_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addBundleCommand(CommandLine& line);
void addPageCommand(CommandLine& line);
void addDefaultsCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_IDENTITY_COMMANDS_H_
