// `quillhaven parse`: parses stored messages.
#ifndef QUILLHAVEN_CLI_PARSE_COMMAND_H_
#define QUILLHAVEN_CLI_PARSE_COMMAND_H_

#include "cli/command.h"

namespace quillhaven::cli {

void addParseCommand(CLI::App& app, Work& work);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_PARSE_COMMAND_H_
