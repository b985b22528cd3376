#include "quillhaven/strings/internal/caseless_pattern.h"

#include <algorithm>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::strings::internal {
namespace {

// What a character beyond ASCII folds to, when that is ASCII alone; else empty.
std::string_view asciiFolding(char32_t character) {
  switch (character) {
    case 0x017F:
      return "s";
    case 0x212A:
      return "k";
    case 0x00DF:
    case 0x1E9E:
      return "ss";
    case 0xFB00:
      return "ff";
    case 0xFB01:
      return "fi";
    case 0xFB02:
      return "fl";
    case 0xFB03:
      return "ffi";
    case 0xFB04:
      return "ffl";
    case 0xFB05:
    case 0xFB06:
      return "st";
    default:
      return {};
  }
}

bool isPlain(char c) {
  return platform::isASCIILetter(c) || platform::isASCIIDigit(c) || c == '-' ||
         c == '_' || c == '/';
}

// Returns where the character at `at` ends that "." matches, or kNoMatch.
std::size_t endOfAnyCharacter(std::string_view text, std::size_t at) {
  if (at == text.size() || platform::internal::newlineLength(text, at) != 0) {
    return kNoMatch;
  }
  return at + platform::codePointAt(text, at).size;
}

// The number of bytes that agree from byte `at` on but for letter case.
std::size_t sizeOfCommonASCII(std::string_view text, std::size_t at,
                              std::string_view literal) {
  namespace scan = platform::internal;
  const std::size_t size = std::min(literal.size(), text.size() - at);
  std::size_t same = 0;
  for (; same + scan::kVectorSize <= size; same += scan::kVectorSize) {
    const scan::ByteVector bytes =
        scan::asciiLowered(scan::loadBytes(text.data() + at + same));
    const scan::LaneMask different =
        bytes != scan::loadBytes(literal.data() + same);
    if (scan::bitsOf(different) != 0) break;
  }
  while (same < size &&
         platform::asciiLower(text[at + same]) == literal[same]) {
    ++same;
  }
  return same;
}

}  // namespace

std::size_t endOfLiteral(std::string_view text, std::size_t at,
                         std::string_view literal) {
  const std::size_t same = sizeOfCommonASCII(text, at, literal);
  if (same == literal.size()) return at + same;
  at += same;
  literal.remove_prefix(same);
  while (!literal.empty()) {
    if (at == text.size()) return kNoMatch;
    const char c = text[at];
    if (static_cast<unsigned char>(c) < 0x80) {
      if (platform::asciiLower(c) != literal.front()) return kNoMatch;
      literal.remove_prefix(1);
      ++at;
      continue;
    }
    const platform::CodePoint character = platform::codePointAt(text, at);
    const std::string_view folding = asciiFolding(character.value);
    if (folding.empty() || !literal.starts_with(folding)) return kNoMatch;
    literal.remove_prefix(folding.size());
    at += character.size;
  }
  return at;
}

std::optional<CaselessPattern> CaselessPattern::compiled(
    std::string_view pattern) {
  CaselessPattern result;
  result.literals_.emplace_back();
  while (!pattern.empty()) {
    if (pattern.starts_with("\\.")) {
      result.literals_.back().push_back('.');
      pattern.remove_prefix(1);
    } else if (pattern.front() == '.') {
      result.literals_.emplace_back();
    } else if (isPlain(pattern.front())) {
      result.literals_.back().push_back(platform::asciiLower(pattern.front()));
    } else {
      return std::nullopt;
    }
    pattern.remove_prefix(1);
  }
  return result;
}

bool CaselessPattern::canBeginWith(char c) const {
  const std::string& first = literals_.front();
  return first.empty() || static_cast<unsigned char>(c) >= 0x80 ||
         platform::asciiLower(c) == first.front();
}

std::size_t CaselessPattern::end(std::string_view text, std::size_t at) const {
  at = endOfLiteral(text, at, literals_.front());
  for (std::size_t i = 1; i < literals_.size() && at != kNoMatch; ++i) {
    at = endOfAnyCharacter(text, at);
    if (at != kNoMatch) at = endOfLiteral(text, at, literals_[i]);
  }
  return at;
}

}  // namespace quillhaven::strings::internal
