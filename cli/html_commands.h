// `quillhaven html-to-text` and `quillhaven text-to-html`.
#ifndef QUILLHAVEN_CLI_HTML_COMMANDS_H_
#define QUILLHAVEN_CLI_HTML_COMMANDS_H_

#include "cli/command.h"

namespace quillhaven::cli {

void addHTMLToTextCommand(CLI::App& app, Work& work);
void addTextToHTMLCommand(CLI::App& app, Work& work);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_HTML_COMMANDS_H_
