// `quillhaven bundle`, `quillhaven page` and `quillhaven defaults`.
#ifndef QUILLHAVEN_CLI_IDENTITY_COMMANDS_H_
#define QUILLHAVEN_CLI_IDENTITY_COMMANDS_H_

#include "cli/command.h"

namespace quillhaven::cli {

void addBundleCommand(CLI::App& app, Work& work);
void addPageCommand(CLI::App& app, Work& work);
void addDefaultsCommand(CLI::App& app, Work& work);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_IDENTITY_COMMANDS_H_
