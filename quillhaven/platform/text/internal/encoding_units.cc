#include "quillhaven/platform/text/internal/encoding_units.h"

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform::internal {
namespace {

// Writes `character` as UTF-8 to `out` and returns the place after it.
char* putCodePoint(char* out, char32_t character) {
  const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | character >> 18);
    put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  }
  return out;
}

}  // namespace

std::size_t textSizeOfUnits(std::u16string_view units) {
  std::size_t size = 0;
  for (const char16_t unit : units) {
    const bool isHalf = unit >= 0xD800 && unit <= 0xDFFF;
    size += unit < 0x80 ? 1U : unit < 0x800 || isHalf ? 2U : 3U;
  }
  return size;
}

bool UnitWriter::write(std::u16string_view units) {
  // A unit makes three bytes at most; the low half of a pair whose high half
  // came with the last call makes four.
  std::array<char, 3 * kUnitsInBlock + 1> bytes;
  char* out = bytes.data();
  for (const char16_t unit : units) {
    char32_t character = unit;
    const bool isLow = unit >= 0xDC00 && unit <= 0xDFFF;
    if (isLow != (high_ != 0)) return false;
    if (isLow) {
      character = 0x10000 + ((high_ - 0xD800) << 10) + (unit - 0xDC00U);
      high_ = 0;
    } else if (unit >= 0xD800 && unit <= 0xDBFF) {
      high_ = unit;
      continue;
    }
    if (!encoding_.mayHold(character)) return false;
    out = putCodePoint(out, character);
  }
  text_.append(bytes.data(), static_cast<std::size_t>(out - bytes.data()));
  return true;
}

std::size_t readUnits(std::string_view text, std::size_t& at,
                      const Encoding& encoding, bool substitute,
                      UnitBlock& block) {
  std::size_t count = 0;
  while (at < text.size() && count + 2 <= block.size()) {
    auto [character, size] = codePointAt(text, at);
    if (!encoding.mayHold(character)) {
      if (!substitute) return 0;
      character = U'?';
    }
    if (character < 0x10000) {
      block[count++] = static_cast<char16_t>(character);
    } else {
      block[count++] = static_cast<char16_t>(0xD7C0 + (character >> 10));
      block[count++] = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
    }
    at += size;
  }
  return count;
}

}  // namespace quillhaven::platform::internal
