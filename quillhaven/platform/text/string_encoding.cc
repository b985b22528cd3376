#include "quillhaven/platform/text/string_encoding.h"

#include <cassert>
#include <cstddef>

#include "quillhaven/platform/text/internal/encoding_converter.h"
#include "quillhaven/platform/text/internal/encoding_table.h"
#include "quillhaven/platform/text/internal/encoding_units.h"
#include "quillhaven/platform/text/internal/single_byte_encoding.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

using internal::Encoding;
using internal::EncodingFamily;
using internal::SingleByteTable;
using internal::UnitBlock;

// The `width` bytes at `at` as a number.
char32_t wideUnitAt(std::string_view bytes, std::size_t at, std::size_t width,
                    bool isLittleEndian) {
  char32_t unit = 0;
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t place = isLittleEndian ? at + width - 1 - i : at + i;
    unit = unit << 8 | static_cast<unsigned char>(bytes[place]);
  }
  return unit;
}

void appendWideUnit(std::string& bytes, char32_t unit, std::size_t width,
                    bool isLittleEndian) {
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t place = isLittleEndian ? i : width - 1 - i;
    bytes.push_back(static_cast<char>(unit >> (8 * place) & 0xFF));
  }
}

std::size_t unitWidth(const Encoding& encoding) {
  return encoding.family == EncodingFamily::utf16 ? 2 : 4;
}

// Tells the byte order of `bytes`, and takes a mark that said so off them.
bool takeByteOrder(const Encoding& encoding, std::string_view& bytes) {
  const std::size_t width = unitWidth(encoding);
  if (!encoding.is(internal::kByteOrderMark) || bytes.size() < width) {
    return encoding.is(internal::kLittleEndian);
  }
  for (const bool isLittleEndian : {false, true}) {
    if (wideUnitAt(bytes, 0, width, isLittleEndian) == 0xFEFF) {
      bytes.remove_prefix(width);
      return isLittleEndian;
    }
  }
  return false;
}

bool decodeUTF16(const Encoding& encoding, std::string_view bytes,
                 std::string& text) {
  const bool isLittleEndian = takeByteOrder(encoding, bytes);
  if (bytes.size() % 2 != 0) return false;
  const auto forEachBlock = [&](const auto& take) {
    UnitBlock block;
    std::size_t count = 0;
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
      block[count++] =
          static_cast<char16_t>(wideUnitAt(bytes, at, 2, isLittleEndian));
      if (count == block.size() || at + 2 == bytes.size()) {
        if (!take(std::u16string_view(block.data(), count))) return false;
        count = 0;
      }
    }
    return true;
  };
  if (bytes.size() >= internal::kLongText) {
    std::size_t size = 0;
    forEachBlock([&size](std::u16string_view units) {
      size += internal::textSizeOfUnits(units);
      return true;
    });
    text.reserve(text.size() + size);
  }
  internal::UnitWriter writer(text, encoding);
  const auto write = [&writer](std::u16string_view units) {
    return writer.write(units);
  };
  return forEachBlock(write) && writer.isComplete();
}

bool decodeUTF32(const Encoding& encoding, std::string_view bytes,
                 std::string& text) {
  const bool isLittleEndian = takeByteOrder(encoding, bytes);
  if (bytes.size() % 4 != 0) return false;
  if (bytes.size() >= internal::kLongText) {
    text.reserve(text.size() + bytes.size());  // no character takes more
  }
  for (std::size_t at = 0; at < bytes.size(); at += 4) {
    const char32_t value = wideUnitAt(bytes, at, 4, isLittleEndian);
    if (value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return false;
    appendCodePoint(text, value);
  }
  return true;
}

// Appends `text` as UTF-16 or UTF-32.
void encodeWide(const Encoding& encoding, std::string_view text,
                std::string& bytes) {
  const std::size_t width = unitWidth(encoding);
  const bool isLittleEndian = encoding.is(internal::kLittleEndian);
  if (encoding.is(internal::kByteOrderMark)) {
    appendWideUnit(bytes, 0xFEFF, width, isLittleEndian);
  }
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint character = codePointAt(text, at);
    at += character.size;
    if (width == 4 || character.value < 0x10000) {
      appendWideUnit(bytes, character.value, width, isLittleEndian);
    } else {
      appendWideUnit(bytes, 0xD7C0 + (character.value >> 10), 2,
                     isLittleEndian);
      appendWideUnit(bytes, 0xDC00 | (character.value & 0x3FF), 2,
                     isLittleEndian);
    }
  }
}

// Appends the text of `bytes`; where that fails, possibly a part of it.
bool decode(const Encoding& encoding, std::string_view bytes,
            std::string& text) {
  switch (encoding.family) {
    case EncodingFamily::utf8:
      if (!isValidUTF8(bytes)) return false;
      text.append(bytes);
      return true;
    case EncodingFamily::utf16:
      return decodeUTF16(encoding, bytes, text);
    case EncodingFamily::utf32:
      return decodeUTF32(encoding, bytes, text);
    case EncodingFamily::singleByte:
      return SingleByteTable::of(encoding).decode(bytes, text);
    case EncodingFamily::multiByte:
    case EncodingFamily::shifting:
      break;
  }
  return internal::decodeWithConverter(encoding, bytes, text);
}

std::optional<std::string> encode(std::string_view text, StringEncoding number,
                                  bool substitute) {
  assert(isValidUTF8(text));
  const Encoding* const encoding = internal::encodingNumbered(number);
  if (encoding == nullptr) return std::nullopt;
  std::string bytes;
  bool isDone = true;
  switch (encoding->family) {
    case EncodingFamily::utf8:
      bytes = text;
      break;
    case EncodingFamily::utf16:
    case EncodingFamily::utf32:
      encodeWide(*encoding, text, bytes);
      break;
    case EncodingFamily::singleByte:
      isDone = SingleByteTable::of(*encoding).encode(text, substitute, bytes);
      break;
    case EncodingFamily::multiByte:
    case EncodingFamily::shifting:
      isDone =
          internal::encodeWithConverter(*encoding, text, substitute, bytes);
      break;
  }
  if (!isDone) return std::nullopt;
  return bytes;
}

}  // namespace

StringEncoding stringEncodingForIANAName(std::string_view name) {
  const Encoding* const encoding = internal::encodingNamed(name);
  return encoding != nullptr ? encoding->number : kStringEncodingInvalid;
}

std::optional<std::string> ianaNameForStringEncoding(StringEncoding encoding) {
  const Encoding* const known = internal::encodingNumbered(encoding);
  if (known == nullptr) return std::nullopt;
  return known->name;
}

bool appendTextFromBytes(std::string& text, std::string_view bytes,
                         StringEncoding encoding) {
  const Encoding* const known = internal::encodingNumbered(encoding);
  if (known == nullptr) return false;
  const std::size_t sizeBefore = text.size();
  if (decode(*known, bytes, text)) return true;
  text.resize(sizeBefore);
  return false;
}

std::optional<std::string> textFromBytes(std::string_view bytes,
                                         StringEncoding encoding) {
  std::string text;
  if (!appendTextFromBytes(text, bytes, encoding)) return std::nullopt;
  return text;
}

std::optional<std::string> bytesFromText(std::string_view text,
                                         StringEncoding encoding) {
  return encode(text, encoding, false);
}

std::optional<std::string> bytesFromTextLossy(std::string_view text,
                                              StringEncoding encoding) {
  return encode(text, encoding, true);
}

bool certainlySurvivesEncoding(std::string_view text, StringEncoding encoding) {
  const Encoding* const known = internal::encodingNumbered(encoding);
  if (known == nullptr) return false;
  switch (known->family) {
    case EncodingFamily::utf8:
    case EncodingFamily::utf16:
    case EncodingFamily::utf32:
      return true;
    case EncodingFamily::singleByte:
      return SingleByteTable::of(*known).holds(text);
    case EncodingFamily::multiByte:
      return asciiPrefixLength(text) == text.size();
    case EncodingFamily::shifting:
      break;
  }
  // The rest of ASCII is written so that it comes back, if not as it is.
  return asciiPrefixLength(text) == text.size() &&
         text.find_first_of("\x1B\x0E\x0F") == std::string_view::npos;
}

}  // namespace quillhaven::platform
