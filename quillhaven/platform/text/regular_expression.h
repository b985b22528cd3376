// Regular expressions with ICU's syntax and semantics.
#ifndef QUILLHAVEN_PLATFORM_TEXT_REGULAR_EXPRESSION_H_
#define QUILLHAVEN_PLATFORM_TEXT_REGULAR_EXPRESSION_H_

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// The byte range of a match.
struct RegularExpressionMatch {
  std::size_t position;
  std::size_t size;
};

// A compiled pattern. Compile once and share: all its operations are
// thread-safe. Texts are valid UTF-8.
class RegularExpression {
 public:
  enum class Options { kNone, kIgnoringCase };

  // Stops the process when `pattern` is malformed: patterns are program text.
  explicit RegularExpression(std::string_view pattern,
                             Options options = Options::kNone);
  // Returns the pattern compiled, or nothing when it is malformed: for patterns
  // that hold names from a configuration.
  [[nodiscard]] static std::optional<RegularExpression> compiled(
      std::string_view pattern, Options options = Options::kNone);

  RegularExpression(RegularExpression&&) noexcept;
  RegularExpression& operator=(RegularExpression&&) noexcept;
  ~RegularExpression();

  // True when the whole of `text` matches.
  [[nodiscard]] bool matches(std::string_view text) const;

  // Returns the first match at byte `from` or later; nothing if there is none
  // or the match would need more memory than ICU's limit.
  [[nodiscard]] std::optional<RegularExpressionMatch> firstMatch(
      std::string_view text, std::size_t from = 0) const;

  // Returns `text` with every match replaced by `replacement`, in which "$1" is
  // the first group and "\\$" a dollar sign.
  [[nodiscard]] std::string replacingMatches(
      std::string_view text, std::string_view replacement) const;

 private:
  struct Compiled;
  explicit RegularExpression(std::unique_ptr<const Compiled> compiled);

  std::unique_ptr<const Compiled> compiled_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_REGULAR_EXPRESSION_H_
