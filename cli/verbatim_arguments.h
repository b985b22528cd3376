// Arguments that are a command of their own and reach it letter by letter.
#ifndef QUILLHAVEN_CLI_VERBATIM_ARGUMENTS_H_
#define QUILLHAVEN_CLI_VERBATIM_ARGUMENTS_H_

#include <string>
#include <vector>

namespace quillhaven::cli {

// CLI11 looks for options in everything, takes "[a]" for a list and hands what
// stands after "--" to the parent command. So the words of a command that
// another command runs are marked before it reads the line, and unmarked after.
// Returns `arguments`, of which the first names the command; those of commands
// that run others come back with their words marked and without "--".
[[nodiscard]] std::vector<std::string> markVerbatimArguments(
    std::vector<std::string> arguments);

// Returns `words` as they were before they were marked.
[[nodiscard]] std::vector<std::string> unmarkedArguments(
    std::vector<std::string> words);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_VERBATIM_ARGUMENTS_H_
