// `quillhaven track`.
#ifndef QUILLHAVEN_CLI_TRACK_COMMAND_H_
#define QUILLHAVEN_CLI_TRACK_COMMAND_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addTrackCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_TRACK_COMMAND_H_
