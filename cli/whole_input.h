// What the commands share that turn one whole input into one result.
#ifndef QUILLHAVEN_CLI_WHOLE_INPUT_H_
#define QUILLHAVEN_CLI_WHOLE_INPUT_H_

#include <string>

#include "cli/input_sources.h"

namespace quillhaven::cli {

class Command;

// Adds the argument FILE, a path, which leaves its value in `file`; `purpose`
// is its line of help, such as "what to convert".
void addFileArgument(Command& command, std::string& file,
                     const std::string& purpose);

// Returns the input that `file`, a path or "-", names.
[[nodiscard]] Input inputNamed(const std::string& file);

// Reads `input` whole; says why when that fails and returns false.
[[nodiscard]] bool readWhole(WholeReader& reader, const Input& input);

// The same for text in UTF-8.
[[nodiscard]] bool readWholeText(WholeReader& reader, const Input& input);

// Writes `result` exactly and returns the exit status; a terminal gets the line
// break that brings the prompt to a line of its own.
[[nodiscard]] int writeWhole(std::string result);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_WHOLE_INPUT_H_
