// What the library knows of each string encoding: one row an encoding, found by
// number or by name.
#ifndef QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_TABLE_H_
#define QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::platform::internal {

// How the bytes of an encoding are read.
enum class EncodingFamily : std::uint8_t {
  utf8,
  utf16,
  utf32,
  singleByte,  // a byte is a character; the first 128 are ASCII
  multiByte,   // ASCII, or a lead byte above 7F and what follows it
  shifting,    // 7 bits, in which some ASCII bytes switch the meaning of others
};

// Properties of an encoding, or-ed together.
inline constexpr std::uint8_t kHoldsC1Controls = 1;   // U+0080 to U+009F
inline constexpr std::uint8_t kHoldsUserDefined = 2;  // U+E000 to U+F84F
inline constexpr std::uint8_t kHoldsPrivateUse = 4;   // these and the others
inline constexpr std::uint8_t kHoldsAll = kHoldsC1Controls | kHoldsPrivateUse;
// ICU's table has the controls 1A, 1C and 7F change places, as on a PC screen.
inline constexpr std::uint8_t kTurnedControls = 8;
inline constexpr std::uint8_t kLittleEndian = 16;
inline constexpr std::uint8_t kByteOrderMark = 32;  // read if there, written

inline constexpr StringEncoding kISO8859Part16 = 0x0210;
inline constexpr StringEncoding kWindows1253 = 0x0503;
inline constexpr StringEncoding kHZGB2312 = 0x0A05;

struct Encoding {
  StringEncoding number;
  EncodingFamily family;
  std::uint8_t traits;
  const char* name;                 // IANA name in lower case
  std::string_view aliases;         // normalized, separated by blanks
  const char* converter = nullptr;  // ICU's name where it is not `name`

  [[nodiscard]] bool is(std::uint8_t trait) const {
    return (traits & trait) != 0;
  }
  [[nodiscard]] const char* converterName() const {
    return converter != nullptr ? converter : name;
  }
  // True unless `character` is of a class that the encoding lacks as a whole.
  // Where ICU fills the gaps of a charset with C1 controls or private-use
  // characters, they are gaps all the same.
  [[nodiscard]] bool mayHold(char32_t character) const {
    if (character < 0xA0) return character < 0x80 || is(kHoldsC1Controls);
    if (character < 0xE000) return true;
    if (character >= 0xF900 && character < 0xF0000) return true;
    return is(kHoldsPrivateUse) ||
           (is(kHoldsUserDefined) && character < 0xF850);
  }
};

inline constexpr std::size_t kEncodingCount = 79;

// Every encoding, by ascending number.
[[nodiscard]] std::span<const Encoding, kEncodingCount> allEncodings();

// Return the encoding with a number, or with a name as
// stringEncodingForIANAName takes it; null if there is none.
[[nodiscard]] const Encoding* encodingNumbered(StringEncoding number);
[[nodiscard]] const Encoding* encodingNamed(std::string_view name);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_TABLE_H_
