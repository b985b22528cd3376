// A regular expression of ICU over UTF-16, with ranges counted in its units:
// what the hand-written matchers must equal, and are measured against.
#ifndef QUILLHAVEN_STRINGS_TESTING_ICU_PATTERN_H_
#define QUILLHAVEN_STRINGS_TESTING_ICU_PATTERN_H_

#include <unicode/brkiter.h>
#include <unicode/regex.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::strings::testing {

inline icu::UnicodeString unitsOf(std::string_view text) {
  return icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

inline std::string textOf(const icu::UnicodeString& units) {
  std::string text;
  units.toUTF8String(text);
  return text;
}

// Returns the number of user-perceived characters, counted by ICU.
inline std::int32_t characterCountByICU(const icu::UnicodeString& units) {
  UErrorCode status = U_ZERO_ERROR;
  thread_local const std::unique_ptr<icu::BreakIterator> characters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(),
                                                  status));
  characters->setText(units);
  std::int32_t count = 0;
  while (characters->next() != icu::BreakIterator::DONE) ++count;
  return count;
}

// One thread at a time.
class ICUPattern {
 public:
  explicit ICUPattern(std::string_view pattern, std::uint32_t flags = 0)
      : matcher_(unitsOf(pattern), flags, status_) {}

  bool matchesWhole(const icu::UnicodeString& units) {
    matcher_.reset(units);
    return matcher_.matches(status_) != 0;
  }

  // Searches the first `limit` units, with the default bounds of a range.
  bool find(const icu::UnicodeString& units, std::int32_t limit) {
    matcher_.reset(units);
    matcher_.region(0, limit, status_);
    return matcher_.find(status_) != 0;
  }
  bool find(const icu::UnicodeString& units) {
    return find(units, units.length());
  }

  // A group of the last match found; nothing if it took no part.
  std::optional<std::string> group(std::int32_t number) {
    if (matcher_.start(number, status_) < 0) return std::nullopt;
    return textOf(matcher_.group(number, status_));
  }

  std::string replacingAll(std::string_view text, const char16_t* replacement) {
    const icu::UnicodeString units = unitsOf(text);
    matcher_.reset(units);
    return textOf(matcher_.replaceAll(replacement, status_));
  }

  [[nodiscard]] bool isWell() const { return U_SUCCESS(status_) != 0; }

 private:
  UErrorCode status_ = U_ZERO_ERROR;
  icu::RegexMatcher matcher_;
};

}  // namespace quillhaven::strings::testing

#endif  // QUILLHAVEN_STRINGS_TESTING_ICU_PATTERN_H_
