// The operations of `quillhaven eval` on scripts and their errors.
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "cli/eval_error_answer.h"
#include "cli/eval_operation.h"
#include "quillhaven/system/apple_script.h"

namespace quillhaven::cli {
namespace {

using nlohmann::json;
using platform::ScriptErrorDictionary;
using platform::ScriptValue;
using system::AppleScript;
using system::AppleScriptError;

EvalError wrongValues(std::string_view expected) {
  return EvalError(
      std::string("argument \"associatedValues\" must be ").append(expected));
}

// What a dictionary cannot hold as it is, it holds as JSON.
ScriptValue scriptValueFrom(const json& value) {
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_number_float()) return value.get<double>();
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (value.is_string()) return value.get<std::string>();
  return value.dump();
}

ScriptErrorDictionary dictionaryFrom(const json& object) {
  ScriptErrorDictionary dictionary;
  for (const auto& [key, value] : object.items()) {
    dictionary.emplace(key, scriptValueFrom(value));
  }
  return dictionary;
}

// Returns the list of a case's values, which has `count` of them.
const json& valuesOf(const Arguments& arguments, std::size_t count,
                     std::string_view expected) {
  const json* const values = arguments.optionalValue("associatedValues");
  if (values == nullptr || !values->is_array() || values->size() != count) {
    throw wrongValues(expected);
  }
  return *values;
}

AppleScriptError executionErrorFrom(const Arguments& arguments) {
  constexpr std::string_view kExpected =
      "a list of a string and an object, or the object";
  const json* const given = arguments.optionalValue("associatedValues");
  if (given != nullptr && given->is_object()) {
    // The dictionary alone, which has the message too.
    const auto message = given->find(platform::kScriptErrorBriefMessageKey);
    const bool hasMessage = message != given->end() && message->is_string();
    return AppleScriptError::executionError(
        hasMessage ? message->get<std::string>() : std::string(),
        dictionaryFrom(*given));
  }
  const json& values = valuesOf(arguments, 2, kExpected);
  if (!values[0].is_string() ||
      (!values[1].is_object() && !values[1].is_null())) {
    throw wrongValues(kExpected);
  }
  return AppleScriptError::executionError(values[0].get<std::string>(),
                                          values[1].is_null()
                                              ? ScriptErrorDictionary()
                                              : dictionaryFrom(values[1]));
}

AppleScriptError initializationErrorFrom(const Arguments& arguments) {
  constexpr std::string_view kExpected = "a list of one string";
  const json& values = valuesOf(arguments, 1, kExpected);
  if (!values[0].is_string()) throw wrongValues(kExpected);
  return AppleScriptError::appleScriptObjectInitialization(
      values[0].get<std::string>());
}

AppleScriptError appleScriptErrorFrom(const Arguments& arguments) {
  const std::string_view name = arguments.string("case");
  if (name == "appleScriptObjectInitialization") {
    return initializationErrorFrom(arguments);
  }
  if (name == "executionError") return executionErrorFrom(arguments);
  const bool isCanceled = name == "userCanceled";
  if (!isCanceled && name != "base64Encoding") throw unknownCase(name);
  if (arguments.optionalValue("associatedValues") != nullptr) {
    valuesOf(arguments, 0, "an empty list, as the case has no values");
  }
  return isCanceled ? AppleScriptError::userCanceled()
                    : AppleScriptError::base64Encoding();
}

void appleScriptError(const Arguments& arguments, JsonWriter& result) {
  const AppleScriptError error = appleScriptErrorFrom(arguments);
  result.beginObject();
  writeError(error, result);
  result.endObject();
}

void shellScriptSource(const Arguments& arguments, JsonWriter& result) {
  using Privileges = AppleScript::Privileges;
  std::optional<std::string> prompt;
  if (const auto text = arguments.optionalString("prompt")) prompt = *text;
  const Privileges privileges =
      arguments.optionalBool("administrator").value_or(false)
          ? Privileges::administrator(std::move(prompt))
          : Privileges::user();
  result.value(AppleScript::shellScriptSource(arguments.text(), privileges));
}

constexpr EvalOperation kOperations[] = {
    {"appleScriptError", appleScriptError},
    {"shellScriptSource", shellScriptSource},
};

}  // namespace

std::span<const EvalOperation> scriptOperations() { return kOperations; }

}  // namespace quillhaven::cli
