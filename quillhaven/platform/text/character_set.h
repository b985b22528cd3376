// Sets of Unicode characters.
#ifndef QUILLHAVEN_PLATFORM_TEXT_CHARACTER_SET_H_
#define QUILLHAVEN_PLATFORM_TEXT_CHARACTER_SET_H_

#include <bitset>
#include <memory>
#include <string_view>

namespace quillhaven::platform {

// An immutable set: a table for ASCII, a Unicode set for the rest. Copies share
// it. Thread-safe.
class CharacterSet {
 public:
  // Horizontal white space: the Unicode category Zs and the tab.
  static const CharacterSet& whitespace();
  // U+000A to U+000D, U+0085, U+2028 and U+2029.
  static const CharacterSet& newlines();
  static const CharacterSet& whitespaceAndNewlines();
  // Letters, marks and numbers (L, M, N).
  static const CharacterSet& alphanumerics();

  // The set of the characters that `characters` (valid UTF-8) holds.
  [[nodiscard]] static CharacterSet withCharactersIn(
      std::string_view characters);

  [[nodiscard]] CharacterSet unionWith(const CharacterSet& other) const;
  [[nodiscard]] CharacterSet inverted() const;

  [[nodiscard]] bool contains(char32_t character) const {
    return character < 0x80 ? ascii_[character]
                            : containsBeyondASCII(character);
  }

  // Returns `text`, valid UTF-8, without the characters of the set at its ends.
  [[nodiscard]] std::string_view trimmed(std::string_view text) const;

 private:
  struct Unicode;
  explicit CharacterSet(std::shared_ptr<const Unicode> unicode);
  [[nodiscard]] bool containsBeyondASCII(char32_t character) const;

  std::bitset<128> ascii_;
  std::shared_ptr<const Unicode> unicode_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_CHARACTER_SET_H_
