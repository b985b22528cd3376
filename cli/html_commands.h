// `quillhaven html-to-text` and `quillhaven text-to-html`.
#ifndef QUILLHAVEN_CLI_HTML_COMMANDS_H_
#define QUILLHAVEN_CLI_HTML_COMMANDS_H_

#include "cli/command_line.h"

namespace quillhaven::cli {

void addHTMLToTextCommand(CommandLine& line);
void addTextToHTMLCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_HTML_COMMANDS_H_
