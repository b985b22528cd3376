// The operations of `quillhaven eval` on lists.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

#include "cli/eval_operation.h"
#include "quillhaven/concurrency/chunked.h"

namespace quillhaven::cli {
namespace {

using nlohmann::json;

std::vector<const json*> elementsOf(const json& value) {
  if (!value.is_array()) {
    throw EvalError(std::string("argument \"elements\" must be a list (got ")
                        .append(value.type_name())
                        .append(")"));
  }
  std::vector<const json*> elements;
  elements.reserve(value.size());
  for (const json& element : value) elements.push_back(&element);
  return elements;
}

// No list is longer than the largest size.
std::ptrdiff_t sizeFrom(const json& value) {
  constexpr auto kLargest = std::numeric_limits<std::ptrdiff_t>::max();
  if (!value.is_number_integer()) {
    throw EvalError(
        std::string("argument \"into\" must be an integer (got ")
            .append(value.is_number() ? value.dump() : value.type_name())
            .append(")"));
  }
  const bool isLarger =
      value.is_number_unsigned() &&
      value.get<std::uint64_t>() > static_cast<std::uint64_t>(kLargest);
  return isLarger ? kLargest : value.get<std::ptrdiff_t>();
}

void cutIntoChunks(const Arguments& arguments, JsonWriter& result) {
  const auto chunks =
      concurrency::chunked(elementsOf(arguments.value("elements")),
                           sizeFrom(arguments.value("into")));
  result.beginArray();
  for (const auto& chunk : chunks) {
    result.beginArray();
    for (const json* const element : chunk) result.literal(element->dump());
    result.endArray();
  }
  result.endArray();
}

constexpr EvalOperation kOperations[] = {
    {"chunked", cutIntoChunks},
};

}  // namespace

std::span<const EvalOperation> concurrencyOperations() { return kOperations; }

}  // namespace quillhaven::cli
