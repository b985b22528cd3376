// `quillhaven keychain`.
#ifndef QUILLHAVEN_CLI_KEYCHAIN_COMMAND_H_
#define QUILLHAVEN_CLI_KEYCHAIN_COMMAND_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addKeychainCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_KEYCHAIN_COMMAND_H_
