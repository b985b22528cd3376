// The operations of `quillhaven eval`: how one reads its arguments and writes
// its result, and the tables of the families.
#ifndef QUILLHAVEN_CLI_EVAL_OPERATION_H_
#define QUILLHAVEN_CLI_EVAL_OPERATION_H_

#include <array>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/json_writer.h"

namespace quillhaven::cli {

// An input line that cannot be answered with a result; its text is the answer.
class EvalError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The arguments of one input line. Each call throws EvalError when the argument
// is missing or of another type; an optional one may be missing or null. Views
// live as long as the line's object.
class Arguments {
 public:
  // `object` outlives the arguments.
  explicit Arguments(const nlohmann::json& object) : object_(object) {}

  // The argument "text".
  [[nodiscard]] std::string_view text() const { return string("text"); }

  [[nodiscard]] std::string_view string(std::string_view name) const;
  // A string or null; must be there.
  [[nodiscard]] std::optional<std::string_view> stringOrNull(
      std::string_view name) const;
  [[nodiscard]] std::optional<std::string_view> optionalString(
      std::string_view name) const;
  [[nodiscard]] std::optional<bool> optionalBool(std::string_view name) const;
  // A whole number from 0 to 2^32 - 1.
  [[nodiscard]] std::uint32_t uint32(std::string_view name) const;
  // A whole number from -2^31 to 2^31 - 1.
  [[nodiscard]] std::int32_t int32(std::string_view name) const;
  // A list whose elements are strings or null.
  [[nodiscard]] std::optional<std::vector<std::optional<std::string_view>>>
  optionalStrings(std::string_view name) const;
  // A whole number from -2^63 to 2^63 - 1.
  [[nodiscard]] std::int64_t int64(std::string_view name) const;
  // A list of strings.
  [[nodiscard]] std::vector<std::string_view> strings(
      std::string_view name) const;
  [[nodiscard]] double number(std::string_view name) const;
  // A list of exactly two numbers.
  [[nodiscard]] std::array<double, 2> twoNumbers(std::string_view name) const;
  [[nodiscard]] bool boolean(std::string_view name) const;
  // True when the argument is there and is a string.
  [[nodiscard]] bool isString(std::string_view name) const;
  // Any value but null; null when it is missing.
  [[nodiscard]] const nlohmann::json* optionalValue(
      std::string_view name) const;
  // The bytes of an argument in Base64 (RFC 4648, section 4), padded.
  [[nodiscard]] std::string base64(std::string_view name) const;
  // A value of any type; must be there.
  [[nodiscard]] const nlohmann::json& value(std::string_view name) const {
    return required(name);
  }

 private:
  [[nodiscard]] const nlohmann::json& required(std::string_view name) const;
  [[nodiscard]] const nlohmann::json* optional(std::string_view name) const;
  [[nodiscard]] std::int64_t integer(std::string_view name,
                                     std::int64_t minimum, std::int64_t maximum,
                                     std::string_view expected) const;

  const nlohmann::json& object_;
};

// One operation: writes exactly one value. What it throws is reported.
struct EvalOperation {
  std::string_view name;
  void (*run)(const Arguments& arguments, JsonWriter& result);
};

// An operation that calls `function` with the argument "text".
template <auto function>
void onText(const Arguments& arguments, JsonWriter& result) {
  result.value(function(arguments.text()));
}

// The families; each is listed in eval_command.cc.
std::span<const EvalOperation> mailOperations();
std::span<const EvalOperation> htmlOperations();
std::span<const EvalOperation> errorOperations();
std::span<const EvalOperation> stringOperations();
std::span<const EvalOperation> digestOperations();
std::span<const EvalOperation> linkOperations();
std::span<const EvalOperation> concurrencyOperations();
std::span<const EvalOperation> identityOperations();
std::span<const EvalOperation> processOperations();
std::span<const EvalOperation> scriptOperations();
std::span<const EvalOperation> uiOperations();  // none without Qt

// Returns the bytes that `text` encodes, or nothing when it is not Base64 with
// the standard alphabet and its padding, or holds anything else.
[[nodiscard]] std::optional<std::string> bytesFromBase64(std::string_view text);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_EVAL_OPERATION_H_
