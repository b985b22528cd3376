// `quillhaven gallery`; in a build without the user interface there is none.
#ifndef QUILLHAVEN_CLI_GALLERY_COMMAND_H_
#define QUILLHAVEN_CLI_GALLERY_COMMAND_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addGalleryCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_GALLERY_COMMAND_H_
