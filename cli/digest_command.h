// `quillhaven digest`.
#ifndef QUILLHAVEN_CLI_DIGEST_COMMAND_H_
#define QUILLHAVEN_CLI_DIGEST_COMMAND_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addDigestCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_DIGEST_COMMAND_H_
