// Feeds the readers of property lists, XML and binary.
#include <cstddef>
#include <string>
#include <variant>

#include "fuzz/fuzz_target.h"
#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::fuzz {
namespace {

using platform::PropertyList;

// Checks every value; returns how many there are.
std::size_t checked(const PropertyList& value, std::size_t depth) {
  require(depth <= platform::kMaximumPropertyListDepth, "depth is bounded");
  std::size_t count = 1;
  if (const auto text = value.string()) requireUTF8(*text);
  if (const auto* array = value.array()) {
    for (const PropertyList& element : *array) {
      count += checked(element, depth + 1);
    }
  }
  if (const auto* dictionary = value.dictionary()) {
    for (const auto& [key, element] : *dictionary) {
      requireUTF8(key);
      count += checked(element, depth + 1);
    }
  }
  return count;
}

// Numbers that are none never equal themselves, and the XML form holds whole
// seconds; all else comes back.
bool comesBackEqual(const PropertyList& value) {
  if (const auto number = value.real()) return *number == *number;
  if (const auto date = value.date()) {
    return date->time_since_epoch().count() % 1000000 == 0;
  }
  if (const auto* array = value.array()) {
    for (const PropertyList& element : *array) {
      if (!comesBackEqual(element)) return false;
    }
  }
  if (const auto* dictionary = value.dictionary()) {
    for (const auto& [key, element] : *dictionary) {
      if (!comesBackEqual(element)) return false;
    }
  }
  return true;
}

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  using namespace quillhaven::platform;
  const auto value = propertyListFromBytes(inputBytes(data, size));
  if (!value) return 0;
  require(checked(*value, 0) <= size + 4096, "values are bounded by the bytes");
  const auto xml = xmlFromPropertyList(*value);
  // A long list deep inside takes more indentation than a file may have.
  constexpr std::size_t kCertainlyWritable = 64 * 1024;
  require(xml || size > kCertainlyWritable, "what is read can be written");
  if (!xml) return 0;
  const auto again = propertyListFromBytes(*xml);
  require(again.has_value(), "what is written can be read");
  require(!comesBackEqual(*value) || *again == *value, "values come back");
  return 0;
}
