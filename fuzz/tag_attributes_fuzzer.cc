// Feeds the small operations on tags with the text of one.
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "fuzz/fuzz_target.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/scanner.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::fuzz {
namespace {

using namespace html;

// Texts up to this size are peeked into at every character.
constexpr std::size_t kLargestTextForPeeking = 256;

void checkAttributes(std::string_view tag) {
  const auto attributes = dictionaryOfAttributesFromTag(tag);
  if (!attributes) return;
  require(!attributes->empty(), "no attributes are no dictionary");
  for (const auto& [name, value] : *attributes) {
    requireUTF8(name);
    requireUTF8(value);
    require(!name.empty(), "every attribute has a name");
    require(tag.find(name) != std::string_view::npos &&
                tag.find(value) != std::string_view::npos,
            "names and values stand in the tag");
  }
}

void checkHex(std::string_view text) {
  const auto value = integerValueFromHex(text);
  char digits[11];
  std::snprintf(digits, sizeof digits, "0x%X", value);
  require(integerValueFromHex(digits) == value, "a number reads as written");
}

void checkPeeking(std::string_view text, std::size_t position) {
  platform::Scanner scanner(text);
  scanner.setPosition(position);
  const auto name = peekNextTag(scanner);
  if (!name) return;
  requireUTF8(*name);
  require(!name->empty(), "no name is nothing");
  require(platform::lowercased(*name) == *name, "names are lower-case");
}

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  namespace platform = quillhaven::platform;
  const std::string_view text = inputBytes(data, size);
  if (!platform::isValidUTF8(text)) return 0;

  checkAttributes(text);
  checkHex(text);
  require(isInlineTag(text) == isInlineTag(platform::lowercased(text)),
          "letter case does not make a tag inline");
  const std::size_t end = size <= kLargestTextForPeeking ? size : 0;
  for (std::size_t at = 0; at < end;
       at += platform::codePointAt(text, at).size) {
    checkPeeking(text, at);
  }
  checkPeeking(text, end);
  return 0;
}
