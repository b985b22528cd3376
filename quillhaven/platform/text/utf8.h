// UTF-8: validation, and code points in and out of text.
#ifndef QUILLHAVEN_PLATFORM_TEXT_UTF8_H_
#define QUILLHAVEN_PLATFORM_TEXT_UTF8_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// Stands for a character that text cannot hold (U+FFFD).
inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// True when `bytes` are well-formed UTF-8 (Unicode 15, table 3-7): no
// surrogate, no overlong form, nothing above U+10FFFF. Empty is valid.
[[nodiscard]] bool isValidUTF8(std::string_view bytes);

// Returns `bytes` as text: what is no well-formed UTF-8 becomes U+FFFD, one for
// each maximal subpart of a sequence (Unicode 15, section 3.9): "\xE2\x82" cut
// short gives one, "\xC0\x80" two.
[[nodiscard]] std::string repairedUTF8(std::string_view bytes);

// The number of bytes at the start of `bytes` that are 7-bit ASCII.
[[nodiscard]] std::size_t asciiPrefixLength(std::string_view bytes);

// One code point and the number of bytes it takes, 1 to 4.
struct CodePoint {
  char32_t value;
  std::size_t size;
};

// Returns the code point that starts at byte `at`, which must lie inside `text`
// at the start of a character. `text` must be valid UTF-8.
[[nodiscard]] CodePoint codePointAt(std::string_view text, std::size_t at);

// Returns the code point that ends before byte `at`; `at` must not be 0.
[[nodiscard]] CodePoint codePointBefore(std::string_view text, std::size_t at);

// Appends `value`; a surrogate or a number above U+10FFFF becomes U+FFFD.
void appendCodePoint(std::string& text, char32_t value);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_UTF8_H_
