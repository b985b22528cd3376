#include "quillhaven/platform/text/internal/single_byte_encoding.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <mutex>
#include <numeric>
#include <string>

#include "quillhaven/platform/text/internal/encoding_units.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform::internal {
namespace {

constexpr char16_t kUndefined = 0xFFFF;

// ICU has no table of ISO 8859-16; these are its bytes from A0 on.
constexpr std::array<char16_t, 96> kUpperISO8859Part16 = {
    0x00A0, 0x0104, 0x0105, 0x0141, 0x20AC, 0x201E, 0x0160, 0x00A7, 0x0161,
    0x00A9, 0x0218, 0x00AB, 0x0179, 0x00AD, 0x017A, 0x017B, 0x00B0, 0x00B1,
    0x010C, 0x0142, 0x017D, 0x201D, 0x00B6, 0x00B7, 0x017E, 0x010D, 0x0219,
    0x00BB, 0x0152, 0x0153, 0x0178, 0x017C, 0x00C0, 0x00C1, 0x00C2, 0x0102,
    0x00C4, 0x0106, 0x00C6, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC,
    0x00CD, 0x00CE, 0x00CF, 0x0110, 0x0143, 0x00D2, 0x00D3, 0x00D4, 0x0150,
    0x00D6, 0x015A, 0x0170, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x0118, 0x021A,
    0x00DF, 0x00E0, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x0107, 0x00E6, 0x00E7,
    0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00ED, 0x00EE, 0x00EF, 0x0111,
    0x0144, 0x00F2, 0x00F3, 0x00F4, 0x0151, 0x00F6, 0x015B, 0x0171, 0x00F9,
    0x00FA, 0x00FB, 0x00FC, 0x0119, 0x021B, 0x00FF,
};

// The code points of the 256 bytes.
using CodePage = std::array<char16_t, 256>;

CodePage codePageFromICU(const char* converterName) {
  CodePage page;
  page.fill(kUndefined);
  UErrorCode error = U_ZERO_ERROR;
  UConverter* const converter = ucnv_open(converterName, &error);
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr,
                      nullptr, &error);
  if (U_SUCCESS(error)) {
    for (std::size_t byte = 0; byte < page.size(); ++byte) {
      const char source = static_cast<char>(byte);
      error = U_ZERO_ERROR;
      char16_t unit = 0;
      ucnv_toUChars(converter, &unit, 1, &source, 1, &error);
      if (U_SUCCESS(error)) page[byte] = unit;
    }
  }
  ucnv_close(converter);
  return page;
}

CodePage codePageOf(const Encoding& encoding) {
  CodePage page;
  if (encoding.number == kISO8859Part16) {
    std::iota(page.begin(), page.begin() + 0xA0, u'\0');
    std::ranges::copy(kUpperISO8859Part16, page.begin() + 0xA0);
    return page;
  }
  page = codePageFromICU(encoding.converterName());
  // The DOS code pages have three controls change places in ICU's tables.
  std::iota(page.begin(), page.begin() + 0x80, u'\0');
  // ICU puts the feminine ordinal sign of windows-1252 into this gap.
  if (encoding.number == kWindows1253) page[0xAA] = kUndefined;
  return page;
}

}  // namespace

const SingleByteTable& SingleByteTable::of(const Encoding& encoding) {
  struct Slot {
    std::once_flag once;
    SingleByteTable table;
  };
  // The slots of the other families cost address space, no memory.
  static std::array<Slot, kEncodingCount> slots;
  assert(encoding.family == EncodingFamily::singleByte);
  const auto index =
      static_cast<std::size_t>(&encoding - allEncodings().data());
  Slot& slot = slots[index];
  std::call_once(slot.once, [&] { slot.table.fill(encoding); });
  return slot.table;
}

void SingleByteTable::fill(const Encoding& encoding) {
  blocksUsed_ = 1;
  const CodePage page = codePageOf(encoding);
  for (std::size_t byte = 0; byte < page.size(); ++byte) {
    const char16_t character = page[byte];
    if (character != kUndefined && encoding.mayHold(character)) {
      define(byte, character);
    }
  }
}

void SingleByteTable::define(std::size_t byte, char32_t character) {
  std::string text;
  appendCodePoint(text, character);
  Character& entry = characters_[byte];
  std::ranges::copy(text, entry.bytes.begin());
  entry.size = static_cast<std::uint8_t>(text.size());

  std::uint8_t& block = blockOf_[character >> 8];
  if (block == 0) block = blocksUsed_++;
  assert(block < kBlockCount);
  // Where two bytes mean the same, the lower one is written.
  std::uint8_t& reverse = blocks_[block][character & 0xFF];
  if (reverse == 0) reverse = static_cast<std::uint8_t>(byte);
}

std::uint8_t SingleByteTable::byteOf(char32_t character) const {
  if (character > 0xFFFF) return 0;
  return blocks_[blockOf_[character >> 8]][character & 0xFF];
}

std::size_t SingleByteTable::textSize(std::string_view bytes) const {
  std::size_t size = 0;
  for (const char byte : bytes) {
    size += characters_[static_cast<unsigned char>(byte)].size;
  }
  return size;
}

bool SingleByteTable::decode(std::string_view bytes, std::string& text) const {
  // After the first other byte some bytes go through the table, ASCII or not,
  // before the next look for a run: runs between single letters are short.
  constexpr std::size_t kStretch = 256;
  std::array<char, 3 * kStretch + 1> buffer;  // whole entries are copied
  if (bytes.size() >= kLongText) text.reserve(text.size() + textSize(bytes));
  while (true) {
    const std::size_t run = asciiPrefixLength(bytes);
    text.append(bytes.substr(0, run));
    bytes.remove_prefix(run);
    if (bytes.empty()) return true;

    const std::string_view stretch = bytes.substr(0, kStretch);
    char* out = buffer.data();
    for (const char byte : stretch) {
      const Character& entry = characters_[static_cast<unsigned char>(byte)];
      if (entry.size == 0) return false;
      static_assert(sizeof entry == 4);
      std::memcpy(out, &entry, sizeof entry);
      out += entry.size;
    }
    text.append(buffer.data(), out);
    bytes.remove_prefix(stretch.size());
  }
}

bool SingleByteTable::encode(std::string_view text, bool substitute,
                             std::string& bytes) const {
  const std::size_t sizeBefore = bytes.size();
  bytes.resize(sizeBefore + text.size());  // no character takes more
  char* out = bytes.data() + sizeBefore;
  std::size_t at = 0;
  while (true) {
    const std::size_t run = asciiPrefixLength(text.substr(at));
    out = std::copy_n(text.data() + at, run, out);
    at += run;
    if (at == text.size()) break;

    while (at < text.size() && static_cast<unsigned char>(text[at]) >= 0x80) {
      const CodePoint character = codePointAt(text, at);
      const std::uint8_t byte = byteOf(character.value);
      if (byte == 0 && !substitute) return false;
      *out++ = byte == 0 ? '?' : static_cast<char>(byte);
      at += character.size;
    }
  }
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return true;
}

bool SingleByteTable::holds(std::string_view text) const {
  std::size_t at = 0;
  while (true) {
    at += asciiPrefixLength(text.substr(at));
    if (at == text.size()) return true;
    while (at < text.size() && static_cast<unsigned char>(text[at]) >= 0x80) {
      const CodePoint character = codePointAt(text, at);
      if (byteOf(character.value) == 0) return false;
      at += character.size;
    }
  }
}

}  // namespace quillhaven::platform::internal
