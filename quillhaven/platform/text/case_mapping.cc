#include "quillhaven/platform/text/case_mapping.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>

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

}  // namespace quillhaven::platform
