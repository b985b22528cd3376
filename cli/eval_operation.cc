#include "cli/eval_operation.h"

#include <array>
#include <limits>
#include <nlohmann/json.hpp>

namespace quillhaven::cli {
namespace {

using nlohmann::json;

constexpr std::uint8_t kNoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> makeBase64Values() {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoDigit);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<unsigned char>(kAlphabet[i])] =
        static_cast<std::uint8_t>(i);
  }
  return values;
}

constexpr std::array<std::uint8_t, 256> kBase64Values = makeBase64Values();

EvalError mistyped(std::string_view name, std::string_view expected,
                   std::string_view got) {
  return EvalError(std::string("argument \"")
                       .append(name)
                       .append("\" must be ")
                       .append(expected)
                       .append(" (got ")
                       .append(got)
                       .append(")"));
}

std::string_view stringIn(const json& value, std::string_view name,
                          std::string_view expected) {
  if (!value.is_string()) throw mistyped(name, expected, value.type_name());
  return value.get_ref<const std::string&>();
}

}  // namespace

double Arguments::number(std::string_view name) const {
  const json& value = required(name);
  if (!value.is_number()) throw mistyped(name, "a number", value.type_name());
  return value.get<double>();
}

std::array<double, 2> Arguments::twoNumbers(std::string_view name) const {
  const json& value = required(name);
  if (!value.is_array() || value.size() != 2 || !value[0].is_number() ||
      !value[1].is_number()) {
    throw mistyped(name, "a list of two numbers", value.type_name());
  }
  return {value[0].get<double>(), value[1].get<double>()};
}

const json* Arguments::optional(std::string_view name) const {
  const auto found = object_.find(name);
  return found == object_.end() ? nullptr : &*found;
}

const json& Arguments::required(std::string_view name) const {
  if (const json* const value = optional(name)) return *value;
  throw EvalError(
      std::string("argument \"").append(name).append("\" is missing"));
}

std::string_view Arguments::string(std::string_view name) const {
  return stringIn(required(name), name, "a string");
}

std::optional<std::string_view> Arguments::stringOrNull(
    std::string_view name) const {
  const json& value = required(name);
  if (value.is_null()) return std::nullopt;
  return stringIn(value, name, "a string or null");
}

std::optional<std::string_view> Arguments::optionalString(
    std::string_view name) const {
  const json* const value = optional(name);
  if (value == nullptr || value->is_null()) return std::nullopt;
  return stringIn(*value, name, "a string");
}

std::optional<bool> Arguments::optionalBool(std::string_view name) const {
  const json* const value = optional(name);
  if (value == nullptr || value->is_null()) return std::nullopt;
  if (value->is_boolean()) return value->get<bool>();
  throw mistyped(name, "true or false", value->type_name());
}

std::uint32_t Arguments::uint32(std::string_view name) const {
  constexpr auto kMaximum = std::numeric_limits<std::uint32_t>::max();
  const json& value = required(name);
  if (value.is_number_unsigned() && value.get<std::uint64_t>() <= kMaximum) {
    return value.get<std::uint32_t>();
  }
  throw mistyped(name, "an integer from 0 to 4294967295",
                 value.is_number() ? value.dump() : value.type_name());
}

std::int32_t Arguments::int32(std::string_view name) const {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      integer(name, Limits::min(), Limits::max(),
              "an integer from -2147483648 to 2147483647"));
}

std::int64_t Arguments::int64(std::string_view name) const {
  using Limits = std::numeric_limits<std::int64_t>;
  return integer(name, Limits::min(), Limits::max(),
                 "an integer from -2^63 to 2^63 - 1");
}

std::int64_t Arguments::integer(std::string_view name, std::int64_t minimum,
                                std::int64_t maximum,
                                std::string_view expected) const {
  constexpr auto kLargest =
      static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const json& value = required(name);
  // A number beyond 2^63 - 1 is unsigned, and would read as a negative one.
  if (value.is_number_integer() &&
      (!value.is_number_unsigned() || value.get<std::uint64_t>() <= kLargest)) {
    const auto number = value.get<std::int64_t>();
    if (number >= minimum && number <= maximum) return number;
  }
  throw mistyped(name, expected,
                 value.is_number() ? value.dump() : value.type_name());
}

std::optional<std::vector<std::optional<std::string_view>>>
Arguments::optionalStrings(std::string_view name) const {
  constexpr std::string_view kExpected = "a list of strings and nulls";
  const json* const list = optional(name);
  if (list == nullptr || list->is_null()) return std::nullopt;
  if (!list->is_array()) throw mistyped(name, kExpected, list->type_name());
  std::vector<std::optional<std::string_view>> strings;
  strings.reserve(list->size());
  for (const json& element : *list) {
    if (element.is_null()) {
      strings.emplace_back();
    } else {
      strings.emplace_back(stringIn(element, name, kExpected));
    }
  }
  return strings;
}

std::vector<std::string_view> Arguments::strings(std::string_view name) const {
  const json& value = required(name);
  if (!value.is_array()) {
    throw mistyped(name, "a list of strings", value.type_name());
  }
  std::vector<std::string_view> list;
  list.reserve(value.size());
  for (const json& element : value) {
    list.push_back(stringIn(element, name, "a list of strings"));
  }
  return list;
}

bool Arguments::boolean(std::string_view name) const {
  const json& value = required(name);
  if (value.is_boolean()) return value.get<bool>();
  throw mistyped(name, "true or false", value.type_name());
}

bool Arguments::isString(std::string_view name) const {
  const json* const value = optional(name);
  return value != nullptr && value->is_string();
}

const json* Arguments::optionalValue(std::string_view name) const {
  const json* const value = optional(name);
  return value != nullptr && value->is_null() ? nullptr : value;
}

std::string Arguments::base64(std::string_view name) const {
  auto bytes = bytesFromBase64(string(name));
  if (bytes) return std::move(*bytes);
  throw EvalError(
      std::string("argument \"").append(name).append("\" is not Base64"));
}

// Bits of the last digit that stand for no byte may be set: encoders differ.
std::optional<std::string> bytesFromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && text.ends_with('=')) {
    text.remove_suffix(1);
    ++padding;
  }
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  unsigned bitCount = 0;
  for (const char c : text) {
    const std::uint8_t digit = kBase64Values[static_cast<unsigned char>(c)];
    if (digit == kNoDigit) return std::nullopt;
    bits = bits << 6 | digit;
    bitCount += 6;
    if (bitCount < 8) continue;
    bitCount -= 8;
    bytes.push_back(static_cast<char>(bits >> bitCount & 0xFF));
  }
  return bytes;
}

}  // namespace quillhaven::cli
