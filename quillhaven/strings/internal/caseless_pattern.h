// Simple patterns matched without regard to letter case, exactly as ICU's
// regular expressions match them.
#ifndef QUILLHAVEN_STRINGS_INTERNAL_CASELESS_PATTERN_H_
#define QUILLHAVEN_STRINGS_INTERNAL_CASELESS_PATTERN_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::strings::internal {

inline constexpr std::size_t kNoMatch = std::string_view::npos;

// Returns where `literal`, lower-case ASCII, ends when it starts at byte `at`
// of `text` but for letter case, or kNoMatch. Full case folding counts, as in
// ICU: U+017F is "s", U+212A is "k" and U+FB06 is "st". A character that folds
// to several letters must be matched whole.
[[nodiscard]] std::size_t endOfLiteral(std::string_view text, std::size_t at,
                                       std::string_view literal);

// A pattern of ASCII letters, digits, "-", "_", "/", "." for any character but
// a line break, and "\." for a dot. Immutable.
class CaselessPattern {
 public:
  // Returns nothing when `pattern` holds anything else.
  [[nodiscard]] static std::optional<CaselessPattern> compiled(
      std::string_view pattern);

  // Returns where the pattern ends that starts at byte `at`, or kNoMatch. There
  // is never more than one such place.
  [[nodiscard]] std::size_t end(std::string_view text, std::size_t at) const;

  // False when nothing that the pattern matches begins with the byte `c`.
  [[nodiscard]] bool canBeginWith(char c) const;

 private:
  // In lower case; any characters stand between two literals.
  std::vector<std::string> literals_;
};

}  // namespace quillhaven::strings::internal

#endif  // QUILLHAVEN_STRINGS_INTERNAL_CASELESS_PATTERN_H_
