// The white-space and newline characters of CharacterSet and of ICU's "\s", as
// tests on UTF-8 bytes. Every function returns the length in bytes of the
// character at `at` if it is one, else 0; `at` may be the end of the text.
#ifndef QUILLHAVEN_PLATFORM_TEXT_INTERNAL_WHITE_SPACE_H_
#define QUILLHAVEN_PLATFORM_TEXT_INTERNAL_WHITE_SPACE_H_

#include <cstddef>
#include <string_view>

#include "quillhaven/platform/text/internal/byte_scan.h"

namespace quillhaven::platform::internal {

inline unsigned char byteAt(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// U+0085, U+2028, U+2029.
inline std::size_t wideNewlineLength(std::string_view text, std::size_t at) {
  const unsigned char lead = byteAt(text, at);
  if (lead == 0xC2) return byteAt(text, at + 1) == 0x85 ? 2 : 0;
  if (lead != 0xE2 || byteAt(text, at + 1) != 0x80) return 0;
  const unsigned char last = byteAt(text, at + 2);
  return last == 0xA8 || last == 0xA9 ? 3 : 0;
}

// The category Zs beyond ASCII: U+00A0, U+1680, U+2000 to U+200A, U+202F,
// U+205F, U+3000.
inline std::size_t wideBlankLength(std::string_view text, std::size_t at) {
  switch (byteAt(text, at)) {
    case 0xC2:
      return byteAt(text, at + 1) == 0xA0 ? 2 : 0;
    case 0xE1:
      return byteAt(text, at + 1) == 0x9A && byteAt(text, at + 2) == 0x80 ? 3
                                                                          : 0;
    case 0xE2: {
      const unsigned char second = byteAt(text, at + 1);
      const unsigned char third = byteAt(text, at + 2);
      const bool isBlank =
          second == 0x80 ? (third >= 0x80 && third <= 0x8A) || third == 0xAF
                         : second == 0x81 && third == 0x9F;
      return isBlank ? 3 : 0;
    }
    case 0xE3:
      return byteAt(text, at + 1) == 0x80 && byteAt(text, at + 2) == 0x80 ? 3
                                                                          : 0;
    default:
      return 0;
  }
}

// CharacterSet::newlines().
inline std::size_t newlineLength(std::string_view text, std::size_t at) {
  const unsigned char byte = byteAt(text, at);
  if (byte < 0x80) return byte >= 0x0A && byte <= 0x0D ? 1 : 0;
  return wideNewlineLength(text, at);
}

// CharacterSet::whitespace().
inline std::size_t blankLength(std::string_view text, std::size_t at) {
  const unsigned char byte = byteAt(text, at);
  if (byte < 0x80) return byte == ' ' || byte == '\t' ? 1 : 0;
  return wideBlankLength(text, at);
}

// CharacterSet::whitespaceAndNewlines() and, by Unicode's property White_Space,
// "\s" of ICU's regular expressions: the two are the same set.
inline std::size_t spaceLength(std::string_view text, std::size_t at) {
  const unsigned char byte = byteAt(text, at);
  if (byte < 0x80) return byte == ' ' || (byte >= 0x09 && byte <= 0x0D) ? 1 : 0;
  const std::size_t length = wideNewlineLength(text, at);
  return length != 0 ? length : wideBlankLength(text, at);
}

// Returns `text` without blanks (CharacterSet::whitespace()) at its ends.
inline std::string_view trimmedBlanks(std::string_view text) {
  std::size_t start = 0;
  while (const std::size_t length = blankLength(text, start)) start += length;
  std::size_t end = text.size();
  while (end > start) {
    std::size_t last = end - 1;
    while (last > start && (byteAt(text, last) & 0xC0) == 0x80) --last;
    if (blankLength(text, last) == 0) break;
    end = last;
  }
  return text.substr(start, end - start);
}

// Returns the position of the first newline character at `from` or later, or
// text.size().
inline std::size_t findNewline(std::string_view text, std::size_t from) {
  while (true) {
    const std::size_t at = findByte(text, from, [](ByteVector bytes) {
      return isBetween(bytes, 0x0A, 0x0D) | equals(bytes, 0xC2) |
             equals(bytes, 0xE2);
    });
    if (at == text.size() || newlineLength(text, at) != 0) return at;
    from = at + 1;
  }
}

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_TEXT_INTERNAL_WHITE_SPACE_H_
