#include "cli/eval_error_answer.h"

#include <string>

namespace quillhaven::cli {

void writeError(const platform::LocalizedError& error, JsonWriter& result) {
  result.key("code");
  result.value(error.errorCode());
  result.key("errorDescription");
  result.value(error.errorDescription());
  result.key("recoverySuggestion");
  result.value(error.recoverySuggestion());
  result.key("failureReason");
  result.value(error.failureReason());
  result.key("helpAnchor");
  result.value(error.helpAnchor());
  result.key("domain");
  result.value(error.domain());
}

EvalError unknownCase(std::string_view name) {
  return EvalError(
      std::string("there is no case \"").append(name).append("\""));
}

}  // namespace quillhaven::cli
