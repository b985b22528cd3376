#include "quillhaven/platform/text/utf16.h"

#include <utility>

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {

std::size_t lengthInUTF16Units(std::string_view text) {
  std::size_t units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    // A four-byte sequence is two units; continuation bytes are none.
    units += static_cast<std::size_t>((byte & 0xC0) != 0x80) +
             static_cast<std::size_t>(byte >= 0xF0);
  }
  return units;
}

UTF16Prefix utf16Prefix(std::string_view text, std::size_t units) {
  std::size_t size = 0;
  while (units > 0 && size < text.size()) {
    const std::size_t length = codePointAt(text, size).size;
    const std::size_t needed = length == 4 ? 2 : 1;
    if (needed > units) return {size, true};
    units -= needed;
    size += length;
  }
  return {size, false};
}

void appendUTF16Unit(std::string& text, char16_t unit,
                     char16_t& pendingHighSurrogate) {
  if (unit >= 0xDC00 && unit <= 0xDFFF && pendingHighSurrogate != 0) {
    const char32_t high = std::exchange(pendingHighSurrogate, u'\0');
    appendCodePoint(text, 0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00U));
    return;
  }
  flushUTF16(text, pendingHighSurrogate);
  if (unit >= 0xD800 && unit <= 0xDBFF) {
    pendingHighSurrogate = unit;
  } else {
    appendCodePoint(text, unit);
  }
}

void flushUTF16(std::string& text, char16_t& pendingHighSurrogate) {
  if (pendingHighSurrogate == 0) return;
  pendingHighSurrogate = 0;
  appendCodePoint(text, kReplacementCharacter);
}

}  // namespace quillhaven::platform
