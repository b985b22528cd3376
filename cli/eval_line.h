// Looks through one input line of `quillhaven eval` before it is read as JSON.
#ifndef QUILLHAVEN_CLI_EVAL_LINE_H_
#define QUILLHAVEN_CLI_EVAL_LINE_H_

#include <string>

namespace quillhaven::cli {

struct EvalLine {
  std::string text;        // with "\ufffd" for every unpaired surrogate escape
  std::string id;          // value of the member "id" as written, or empty
  bool isTooDeep = false;  // objects and arrays nest deeper than allowed
};

// Needs no valid JSON: what it says of other text does not matter. A name spelt
// with escapes is not seen as "id". Takes one pass and keeps no stack.
[[nodiscard]] EvalLine prepareEvalLine(std::string text, int maximumDepth);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_EVAL_LINE_H_
