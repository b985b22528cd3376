// `quillhaven parse`: parses stored messages.
#ifndef QUILLHAVEN_CLI_PARSE_COMMAND_H_
#define QUILLHAVEN_CLI_PARSE_COMMAND_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addParseCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_PARSE_COMMAND_H_
