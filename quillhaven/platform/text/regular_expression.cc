#include "quillhaven/platform/text/regular_expression.h"

#include <unicode/regex.h>
#include <unicode/utext.h>

#include <utility>

#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::platform {
namespace {

struct UTextCloser {
  void operator()(UText* text) const { utext_close(text); }
};
using UTextPtr = std::unique_ptr<UText, UTextCloser>;

// A view of UTF-8 for ICU; its native indexes are byte positions.
UTextPtr openUTF8(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  return UTextPtr(utext_openUTF8(
      nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status));
}

std::unique_ptr<icu::RegexMatcher> matcherOver(const icu::RegexPattern& pattern,
                                               UText* text) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::RegexMatcher> matcher(pattern.matcher(status));
  matcher->reset(text);
  return matcher;
}

}  // namespace

struct RegularExpression::Compiled {
  std::unique_ptr<icu::RegexPattern> pattern;
};

RegularExpression::RegularExpression(std::unique_ptr<const Compiled> compiled)
    : compiled_(std::move(compiled)) {}

std::optional<RegularExpression> RegularExpression::compiled(
    std::string_view pattern, Options options) {
  const UTextPtr source = openUTF8(pattern);
  const std::uint32_t flags =
      options == Options::kIgnoringCase ? UREGEX_CASE_INSENSITIVE : 0;
  UErrorCode status = U_ZERO_ERROR;
  UParseError where;
  std::unique_ptr<icu::RegexPattern> result(
      icu::RegexPattern::compile(source.get(), flags, where, status));
  if (U_FAILURE(status)) return std::nullopt;
  return RegularExpression(
      std::make_unique<const Compiled>(Compiled{std::move(result)}));
}

RegularExpression::RegularExpression(std::string_view pattern,
                                     Options options) {
  auto result = compiled(pattern, options);
  if (!result) {
    fatalError("malformed regular expression: " + std::string(pattern));
  }
  compiled_ = std::move(result->compiled_);
}

RegularExpression::RegularExpression(RegularExpression&&) noexcept = default;
RegularExpression& RegularExpression::operator=(RegularExpression&&) noexcept =
    default;
RegularExpression::~RegularExpression() = default;

bool RegularExpression::matches(std::string_view text) const {
  const UTextPtr input = openUTF8(text);
  UErrorCode status = U_ZERO_ERROR;
  return matcherOver(*compiled_->pattern, input.get())->matches(status) &&
         U_SUCCESS(status);
}

std::optional<RegularExpressionMatch> RegularExpression::firstMatch(
    std::string_view text, std::size_t from) const {
  const UTextPtr input = openUTF8(text);
  const auto matcher = matcherOver(*compiled_->pattern, input.get());
  UErrorCode status = U_ZERO_ERROR;
  if (!matcher->find(static_cast<std::int64_t>(from), status) ||
      U_FAILURE(status)) {
    return std::nullopt;
  }
  const auto start = static_cast<std::size_t>(matcher->start64(status));
  const auto end = static_cast<std::size_t>(matcher->end64(status));
  return RegularExpressionMatch{start, end - start};
}

std::string RegularExpression::replacingMatches(
    std::string_view text, std::string_view replacement) const {
  const UTextPtr input = openUTF8(text);
  const auto matcher = matcherOver(*compiled_->pattern, input.get());
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString result = matcher->replaceAll(
      icu::UnicodeString::fromUTF8(icu::StringPiece(
          replacement.data(), static_cast<std::int32_t>(replacement.size()))),
      status);
  if (U_FAILURE(status)) return std::string(text);
  std::string utf8;
  result.toUTF8String(utf8);
  return utf8;
}

}  // namespace quillhaven::platform
