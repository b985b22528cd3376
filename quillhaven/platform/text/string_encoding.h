// String encodings: IANA charset names, the platform's encoding numbers, and
// conversion between bytes in an encoding and text.
#ifndef QUILLHAVEN_PLATFORM_TEXT_STRING_ENCODING_H_
#define QUILLHAVEN_PLATFORM_TEXT_STRING_ENCODING_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// A platform string-encoding number. Hosts store and exchange these numbers, so
// their values never change.
using StringEncoding = std::uint32_t;

inline constexpr StringEncoding kStringEncodingInvalid = 0xFFFFFFFF;
inline constexpr StringEncoding kStringEncodingUTF8 = 0x08000100;
inline constexpr StringEncoding kStringEncodingASCII = 0x0600;
inline constexpr StringEncoding kStringEncodingMacRoman = 0x0000;
inline constexpr StringEncoding kStringEncodingGB_2312_80 = 1584;
inline constexpr StringEncoding kStringEncodingGBK_95 = 1585;
inline constexpr StringEncoding kStringEncodingGB_18030_2000 = 1586;
inline constexpr StringEncoding kStringEncodingEUC_CN = 2352;
inline constexpr StringEncoding kStringEncodingBig5 = 2563;
inline constexpr StringEncoding kStringEncodingBig5_HKSCS_1999 = 2566;
inline constexpr StringEncoding kStringEncodingBig5_E = 2569;

// Returns the encoding with the IANA charset name or alias `name`, or
// kStringEncodingInvalid. Names match without regard to letter case and, as
// users write them, without regard to blanks, "-", "_" and the like: "utf8" is
// "UTF-8". Thread-safe, as is everything here.
[[nodiscard]] StringEncoding stringEncodingForIANAName(std::string_view name);

// Returns the IANA name of `encoding` in lower case ("utf-8"), or nothing for a
// number that is not known. stringEncodingForIANAName() leads back to it.
[[nodiscard]] std::optional<std::string> ianaNameForStringEncoding(
    StringEncoding encoding);

// Appends the text that `bytes` stand for in `encoding`. Returns false, and
// leaves `text` as it was, when the encoding is not known or any byte or
// sequence is not defined in it (the check is strict: nothing is replaced). No
// bytes are the empty text in every known encoding. UTF-16 and UTF-32 follow a
// byte-order mark and are big-endian without one.
[[nodiscard]] bool appendTextFromBytes(std::string& text,
                                       std::string_view bytes,
                                       StringEncoding encoding);

// Returns the text of `bytes`, or nothing where appendTextFromBytes() fails.
[[nodiscard]] std::optional<std::string> textFromBytes(std::string_view bytes,
                                                       StringEncoding encoding);

// Returns `text` in `encoding`, or nothing when the encoding is not known or
// lacks one of the characters. `text` must be valid UTF-8. UTF-16 and UTF-32
// without a byte order in their name are written big-endian behind a byte-order
// mark.
[[nodiscard]] std::optional<std::string> bytesFromText(std::string_view text,
                                                       StringEncoding encoding);

// Returns `text` in `encoding` with "?" for every character (code point) that
// the encoding lacks, or nothing when the encoding is not known.
[[nodiscard]] std::optional<std::string> bytesFromTextLossy(
    std::string_view text, StringEncoding encoding);

// True when `text` survives bytesFromTextLossy() and textFromBytes() with
// `encoding` unchanged. A false answer may be wrong, a true one never is: the
// check costs one pass and no memory, and callers use it to skip both
// conversions.
[[nodiscard]] bool certainlySurvivesEncoding(std::string_view text,
                                             StringEncoding encoding);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_STRING_ENCODING_H_
