// `quillhaven track`.
#ifndef QUILLHAVEN_CLI_TRACK_COMMAND_H_
#define QUILLHAVEN_CLI_TRACK_COMMAND_H_

#include "cli/command.h"

namespace quillhaven::cli {

void addTrackCommand(CLI::App& app, Work& work);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_TRACK_COMMAND_H_
