#include "quillhaven/platform/text/internal/encoding_converter.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "quillhaven/platform/text/internal/encoding_units.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform::internal {
namespace {

// ICU counts in 32 bits, so long input goes to it in pieces.
constexpr std::size_t kBytesInPiece = std::size_t{1} << 20;

struct ConverterCloser {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using UConverterPtr = std::unique_ptr<UConverter, ConverterCloser>;

// Leaves the error in place. ICU's own stopping callback passes over the
// characters that may go unseen, such as the soft hyphen.
void U_CALLCONV stopAtMissing(const void*, UConverterFromUnicodeArgs*,
                              const UChar*, std::int32_t, UChar32,
                              UConverterCallbackReason, UErrorCode*) {}

// Leaves the error in place, except where ICU calls a shift irregular that has
// nothing before the next one: encodings put together, as those of the words of
// a header value are, have such places.
void U_CALLCONV stopAtUndefined(const void*, UConverterToUnicodeArgs*,
                                const char*, std::int32_t,
                                UConverterCallbackReason reason,
                                UErrorCode* error) {
  if (reason == UCNV_IRREGULAR) *error = U_ZERO_ERROR;
}

void U_CALLCONV writeQuestionMark(const void*, UConverterFromUnicodeArgs* args,
                                  const UChar*, std::int32_t, UChar32,
                                  UConverterCallbackReason reason,
                                  UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  *error = U_ZERO_ERROR;
  const UChar mark = u'?';
  const UChar* source = &mark;
  ucnv_cbFromUWriteUChars(args, &source, source + 1, 0, error);
}

UConverterPtr openConverter(const Encoding& encoding) {
  UErrorCode error = U_ZERO_ERROR;
  UConverterPtr converter(ucnv_open(encoding.converterName(), &error));
  if (U_FAILURE(error)) return nullptr;
  ucnv_setFallback(converter.get(), false);
  ucnv_setToUCallBack(converter.get(), stopAtUndefined, nullptr, nullptr,
                      nullptr, &error);
  return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

// The converters that this thread used last.
class ConverterCache {
 public:
  // Returns a converter in its first state, or null when ICU's data lack it. It
  // belongs to the cache and is valid until the next call.
  UConverter* converterFor(const Encoding& encoding) {
    for (const Slot& slot : slots_) {
      if (slot.encoding == &encoding) {
        ucnv_reset(slot.converter.get());
        return slot.converter.get();
      }
    }
    UConverterPtr converter = openConverter(encoding);
    if (converter == nullptr) return nullptr;
    Slot& slot = slots_[next_];
    next_ = (next_ + 1) % slots_.size();
    slot = {&encoding, std::move(converter)};
    return slot.converter.get();
  }

 private:
  struct Slot {
    const Encoding* encoding = nullptr;
    UConverterPtr converter;
  };
  // Mail to one person seldom mixes more encodings than these.
  std::array<Slot, 4> slots_;
  std::size_t next_ = 0;  // the slot to be given up next
};

UConverter* cachedConverter(const Encoding& encoding) {
  thread_local ConverterCache cache;
  return cache.converterFor(encoding);
}

// Turn the three controls from and to the places that ICU's tables give them.
void turnFromICU(std::span<char16_t> units) {
  for (char16_t& unit : units) {
    if (unit == 0x1C) {
      unit = 0x1A;
    } else if (unit == 0x7F) {
      unit = 0x1C;
    } else if (unit == 0x1A) {
      unit = 0x7F;
    }
  }
}

void turnToICU(std::span<char16_t> units) {
  for (char16_t& unit : units) {
    if (unit == 0x1A) {
      unit = 0x1C;
    } else if (unit == 0x1C) {
      unit = 0x7F;
    } else if (unit == 0x7F) {
      unit = 0x1A;
    }
  }
}

// Length of the ASCII at the start of `text` that stands for itself.
std::size_t plainPrefixLength(const Encoding& encoding, std::string_view text) {
  return encoding.family == EncodingFamily::multiByte ? asciiPrefixLength(text)
                                                      : 0;
}

// Does the work of encodeWithConverter() for all encodings but HZ.
bool encodeWithICU(const Encoding& encoding, std::string_view text,
                   bool substitute, std::string& bytes) {
  std::size_t at = plainPrefixLength(encoding, text);
  bytes.append(text.substr(0, at));
  if (at == text.size()) return true;

  UConverter* const converter = cachedConverter(encoding);
  if (converter == nullptr) return false;
  UErrorCode error = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter,
                        substitute ? writeQuestionMark : stopAtMissing, nullptr,
                        nullptr, nullptr, &error);
  UnitBlock block;
  std::array<char, 2 * kUnitsInBlock> output;
  while (at < text.size()) {
    const std::size_t count = readUnits(text, at, encoding, substitute, block);
    if (count == 0) return false;
    const UBool isLast = at == text.size() ? 1 : 0;
    if (encoding.is(kTurnedControls)) turnToICU({block.data(), count});
    const char16_t* source = block.data();
    do {
      char* target = output.data();
      error = U_ZERO_ERROR;
      ucnv_fromUnicode(converter, &target, output.data() + output.size(),
                       &source, block.data() + count, nullptr, isLast, &error);
      if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR) return false;
      bytes.append(output.data(), target);
    } while (error == U_BUFFER_OVERFLOW_ERROR);
  }
  return true;
}

// Appends `text` as HZ (RFC 1843), made from its bytes in GBK, the charset that
// ICU reads HZ with. ICU's own writer neither ends the last run of Chinese nor
// leaves ASCII alone.
bool encodeHZ(std::string_view text, bool substitute, std::string& bytes) {
  std::string gbk;
  if (!encodeWithICU(*encodingNumbered(kStringEncodingGBK_95), text, substitute,
                     gbk)) {
    return false;
  }
  bool isChinese = false;
  const auto shift = [&](bool toChinese) {
    if (isChinese != toChinese) bytes += toChinese ? "~{" : "~}";
    isChinese = toChinese;
  };
  for (std::size_t at = 0; at < gbk.size();) {
    const auto lead = static_cast<unsigned char>(gbk[at]);
    const std::size_t size = lead > 0x80 ? 2 : 1;
    const auto trail = static_cast<unsigned char>(gbk[at + size - 1]);
    at += size;
    if (lead >= 0xA1 && lead <= 0xFD && trail >= 0xA1) {
      shift(true);
      bytes +=
          {static_cast<char>(lead & 0x7F), static_cast<char>(trail & 0x7F)};
      continue;
    }
    if (lead >= 0x80 && !substitute) return false;
    shift(false);
    bytes += lead >= 0x80 ? '?' : static_cast<char>(lead);
    if (lead == '~') bytes += '~';
  }
  shift(false);
  return true;
}

// Hands the units of `bytes` to `take` block by block; false when they are not
// all defined, or when `take` returns false.
template <typename Take>
bool convertToUnits(const Encoding& encoding, std::string_view bytes,
                    const Take& take) {
  if (bytes.empty()) return true;
  UConverter* const converter = cachedConverter(encoding);
  if (converter == nullptr) return false;
  UnitBlock block;
  while (!bytes.empty()) {
    const char* source = bytes.data();
    const std::size_t size = std::min(bytes.size(), kBytesInPiece);
    const UBool isLast = size == bytes.size() ? 1 : 0;
    UErrorCode error = U_ZERO_ERROR;
    do {
      char16_t* target = block.data();
      error = U_ZERO_ERROR;
      ucnv_toUnicode(converter, &target, block.data() + block.size(), &source,
                     bytes.data() + size, nullptr, isLast, &error);
      if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR) return false;
      const std::span<char16_t> units(block.data(), target);
      if (encoding.is(kTurnedControls)) turnFromICU(units);
      if (!take(std::u16string_view(units.data(), units.size()))) return false;
    } while (error == U_BUFFER_OVERFLOW_ERROR);
    bytes.remove_prefix(size);
  }
  return true;
}

}  // namespace

bool decodeWithConverter(const Encoding& encoding, std::string_view bytes,
                         std::string& text) {
  const std::size_t plain = plainPrefixLength(encoding, bytes);
  if (bytes.size() >= kLongText) {
    std::size_t size = plain;
    const auto count = [&size](std::u16string_view units) {
      size += textSizeOfUnits(units);
      return true;
    };
    if (!convertToUnits(encoding, bytes.substr(plain), count)) return false;
    text.reserve(text.size() + size);
  }
  text.append(bytes.substr(0, plain));
  bytes.remove_prefix(plain);
  UnitWriter writer(text, encoding);
  const auto write = [&writer](std::u16string_view units) {
    return writer.write(units);
  };
  return convertToUnits(encoding, bytes, write) && writer.isComplete();
}

bool encodeWithConverter(const Encoding& encoding, std::string_view text,
                         bool substitute, std::string& bytes) {
  return encoding.number == kHZGB2312
             ? encodeHZ(text, substitute, bytes)
             : encodeWithICU(encoding, text, substitute, bytes);
}

}  // namespace quillhaven::platform::internal
