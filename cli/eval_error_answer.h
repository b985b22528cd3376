// How `quillhaven eval` answers with a typed error.
#ifndef QUILLHAVEN_CLI_EVAL_ERROR_ANSWER_H_
#define QUILLHAVEN_CLI_EVAL_ERROR_ANSWER_H_

#include <string_view>

#include "cli/eval_operation.h"
#include "quillhaven/platform/base/localized_error.h"

namespace quillhaven::cli {

// Writes the members that the answers about all errors have, into an object
// that is open.
void writeError(const platform::LocalizedError& error, JsonWriter& result);

// What to throw for a case that an enumeration does not have.
[[nodiscard]] EvalError unknownCase(std::string_view name);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_EVAL_ERROR_ANSWER_H_
