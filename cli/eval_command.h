// `quillhaven eval`: lets programs in any language call the library over a pair
// of pipes, a JSON object a line.
#ifndef QUILLHAVEN_CLI_EVAL_COMMAND_H_
#define QUILLHAVEN_CLI_EVAL_COMMAND_H_

#include <string>

#include "cli/command_line.h"
#include "cli/output.h"

namespace quillhaven::cli {

// Lines that nest deeper are refused.
inline constexpr int kMaximumEvalDepth = 512;

// Returns the answer to one input line, without a line feed: an object with
// "result" or "error", and with the line's "id" if it has one. Errors of the
// library are answers too once throwFatalErrors() was called.
[[nodiscard]] std::string evalAnswer(std::string line);

// Answers every line of `input` in order; answers are written before the next
// read waits. Returns the exit status.
[[nodiscard]] int evalLines(int input, Output& output);

void addEvalCommand(CommandLine& line);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_EVAL_COMMAND_H_
