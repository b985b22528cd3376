// A scanner over text: a position that moves forward as parts are recognised.
#ifndef QUILLHAVEN_PLATFORM_TEXT_SCANNER_H_
#define QUILLHAVEN_PLATFORM_TEXT_SCANNER_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "quillhaven/platform/text/character_set.h"

namespace quillhaven::platform {

// How a scanner, and the searches below, compare letters: by simple case
// folding of code points, or exactly.
enum class CaseSensitivity { kInsensitive, kSensitive };

// A value: copying it and scanning on with the copy looks ahead. Before each
// scan the characters to skip are passed over; a scan that fails leaves the
// position where it was. What it returns are views into the text, which must be
// valid UTF-8 and outlive the scanner. One thread at a time.
class Scanner {
 public:
  // A scanner over `text` that skips nothing and ignores letter case.
  explicit Scanner(std::string_view text) : text_(text) {}

  // The set must outlive the scanner; null skips nothing.
  Scanner& skipping(const CharacterSet* charactersToBeSkipped) {
    skipped_ = charactersToBeSkipped;
    return *this;
  }
  Scanner& comparing(CaseSensitivity caseSensitivity) {
    caseSensitivity_ = caseSensitivity;
    return *this;
  }

  [[nodiscard]] std::string_view text() const { return text_; }
  [[nodiscard]] std::size_t position() const { return at_; }  // in bytes
  void setPosition(std::size_t position) { at_ = position; }
  [[nodiscard]] std::string_view rest() const { return text_.substr(at_); }

  // True when nothing but characters to skip is left.
  [[nodiscard]] bool isAtEnd() const;

  // Each returns what it stepped over, or nothing when that would be empty.
  std::optional<std::string_view> scanString(std::string_view string);
  std::optional<std::string_view> scanUpToString(std::string_view string);
  std::optional<std::string_view> scanCharacters(const CharacterSet& set);
  std::optional<std::string_view> scanUpToCharacters(const CharacterSet& set);

  // A decimal number with an optional sign; saturates.
  std::optional<std::int64_t> scanInteger();
  // A hexadecimal number, optionally after "0x"; saturates at 2^32 - 1.
  std::optional<std::uint32_t> scanHexInteger();

 private:
  [[nodiscard]] std::size_t positionAfterSkipping() const;
  std::optional<std::string_view> take(std::size_t from, std::size_t to);

  std::string_view text_;
  std::size_t at_ = 0;
  const CharacterSet* skipped_ = nullptr;
  CaseSensitivity caseSensitivity_ = CaseSensitivity::kInsensitive;
};

// The number of bytes at the start of `text` that equal `string` by simple case
// folding, or nothing; the lengths may differ ("K" and U+212A KELVIN SIGN).
[[nodiscard]] std::optional<std::size_t> prefixLengthIgnoringCase(
    std::string_view text, std::string_view string);

// A match in a text: where it starts and how many bytes it takes.
struct TextMatch {
  std::size_t position;
  std::size_t size;
};

// Returns the first occurrence of `string`, which must not be empty, at byte
// `from` of `text` or later, by simple case folding. Both are valid UTF-8. Time
// grows linearly with the distance searched, whatever the two hold.
[[nodiscard]] std::optional<TextMatch> findIgnoringCase(std::string_view text,
                                                        std::string_view string,
                                                        std::size_t from = 0);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_SCANNER_H_
