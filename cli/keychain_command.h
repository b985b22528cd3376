// `quillhaven keychain`.
#ifndef QUILLHAVEN_CLI_KEYCHAIN_COMMAND_H_
#define QUILLHAVEN_CLI_KEYCHAIN_COMMAND_H_

#include "cli/command.h"

namespace quillhaven::cli {

void addKeychainCommand(CLI::App& app, Work& work);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_KEYCHAIN_COMMAND_H_
