#include "quillhaven/platform/text/case_mapping.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/ucasemap.h>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

using Mapping = void (*)(const char*, std::uint32_t, icu::StringPiece,
                         icu::ByteSink&, icu::Edits*, UErrorCode&);

std::string mappedByICU(std::string_view text, Mapping mapping) {
  std::string mapped;
  mapped.reserve(text.size());
  icu::StringByteSink<std::string> sink(&mapped);
  UErrorCode status = U_ZERO_ERROR;
  mapping("", 0,
          icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())),
          sink, nullptr, status);
  return mapped;
}

// The text as one word; the signature is that of the other mappings.
void utf8ToCapitalized(const char* locale, std::uint32_t options,
                       icu::StringPiece text, icu::ByteSink& sink,
                       icu::Edits* edits, UErrorCode& status) {
  icu::CaseMap::utf8ToTitle(
      locale, options | U_TITLECASE_WHOLE_STRING | U_TITLECASE_ADJUST_TO_CASED,
      nullptr, text, sink, edits, status);
}

}  // namespace

std::string lowercased(std::string_view text) {
  if (asciiPrefixLength(text) != text.size()) {
    return mappedByICU(text, icu::CaseMap::utf8ToLower);
  }
  std::string mapped(text);
  for (char& c : mapped) c = asciiLower(c);
  return mapped;
}

std::string uppercased(std::string_view text) {
  return mappedByICU(text, icu::CaseMap::utf8ToUpper);
}

std::string capitalized(std::string_view word) {
  return mappedByICU(word, utf8ToCapitalized);
}

}  // namespace quillhaven::platform
