#include "quillhaven/platform/text/scanner.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <limits>
#include <random>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

char32_t folded(char32_t character) {
  if (character < 0x80) {
    return static_cast<char32_t>(asciiLower(static_cast<char>(character)));
  }
  return static_cast<char32_t>(
      u_foldCase(static_cast<UChar32>(character), U_FOLD_CASE_DEFAULT));
}

// Searches with a rolling hash (Rabin and Karp, 1987) over folded code points:
// linear for every text, but slower than comparing at likely positions. The
// base is random, so that no mail can be made to collide.
std::optional<TextMatch> findByRollingHash(std::string_view text,
                                           std::string_view string,
                                           std::size_t from) {
  static const std::uint64_t base = std::random_device{}() | 0x100000001U;
  std::uint64_t wanted = 0;
  std::uint64_t weightOfFirst = 1;  // base to the power of the count
  std::size_t count = 0;
  for (std::size_t at = 0; at < string.size(); ++count) {
    const CodePoint character = codePointAt(string, at);
    wanted = wanted * base + folded(character.value);
    weightOfFirst *= base;
    at += character.size;
  }

  std::uint64_t hash = 0;
  std::size_t start = from;  // of the window of `count` code points
  std::size_t seen = 0;
  for (std::size_t at = from; at < text.size();) {
    const CodePoint character = codePointAt(text, at);
    hash = hash * base + folded(character.value);
    at += character.size;
    if (++seen > count) {
      const CodePoint first = codePointAt(text, start);
      hash -= weightOfFirst * folded(first.value);
      start += first.size;
    }
    if (seen >= count && hash == wanted) {
      if (const auto size =
              prefixLengthIgnoringCase(text.substr(start), string)) {
        return TextMatch{start, *size};
      }
    }
  }
  return std::nullopt;
}

// The length in whole characters of the longest common start of two texts, the
// letter case of ASCII aside.
std::size_t commonPrefixLength(std::string_view a, std::string_view b) {
  const std::size_t size = std::min(a.size(), b.size());
  std::size_t at = 0;
  for (; at + internal::kVectorSize <= size; at += internal::kVectorSize) {
    const internal::ByteVector left =
        internal::asciiLowered(internal::loadBytes(a.data() + at));
    const internal::ByteVector right =
        internal::asciiLowered(internal::loadBytes(b.data() + at));
    if (internal::bitsOf(left == right) != 0xFFFF) break;
  }
  while (at < size && asciiLower(a[at]) == asciiLower(b[at])) ++at;
  if (at == b.size()) return at;
  while (at > 0 && (static_cast<unsigned char>(b[at]) & 0xC0) == 0x80) --at;
  return at;
}

// Compares like prefixLengthIgnoringCase() and adds the work done to `steps`.
std::optional<std::size_t> comparePrefix(std::string_view text,
                                         std::string_view string,
                                         std::size_t& steps) {
  // Most texts that match are written the same.
  std::size_t at = commonPrefixLength(text, string);
  std::size_t wanted = at;
  steps += at / internal::kVectorSize;
  while (wanted < string.size()) {
    ++steps;
    if (at >= text.size()) return std::nullopt;
    const auto a = static_cast<unsigned char>(text[at]);
    const auto b = static_cast<unsigned char>(string[wanted]);
    if (a < 0x80 && b < 0x80) {
      if (asciiLower(text[at]) != asciiLower(string[wanted])) {
        return std::nullopt;
      }
      ++at;
      ++wanted;
      continue;
    }
    const CodePoint left = codePointAt(text, at);
    const CodePoint right = codePointAt(string, wanted);
    if (folded(left.value) != folded(right.value)) return std::nullopt;
    at += left.size;
    wanted += right.size;
  }
  return at;
}

// True for characters that fold to nothing but themselves and that nothing else
// folds to, so that a search may look for their byte.
bool isUncased(char c) {
  return static_cast<unsigned char>(c) < 0x80 && !isASCIILetter(c);
}

}  // namespace

std::optional<std::size_t> prefixLengthIgnoringCase(std::string_view text,
                                                    std::string_view string) {
  std::size_t steps = 0;
  return comparePrefix(text, string, steps);
}

std::optional<TextMatch> findIgnoringCase(std::string_view text,
                                          std::string_view string,
                                          std::size_t from) {
  // Try where the first character stands; leave for the rolling hash when the
  // tries cost more than the distance gained.
  std::size_t steps = 0;
  const bool firstIsUncased = isUncased(string.front());
  const bool twoAreUncased =
      string.size() > 1 && firstIsUncased && isUncased(string[1]);
  for (std::size_t at = from; at < text.size();) {
    if (firstIsUncased) {
      at = twoAreUncased ? internal::findPair(text, string[0], string[1], at)
                         : text.find(string[0], at);
      if (at == std::string_view::npos) return std::nullopt;
    }
    if (const auto size = comparePrefix(text.substr(at), string, steps)) {
      return TextMatch{at, *size};
    }
    at += codePointAt(text, at).size;
    if (steps > 4096 + 8 * (at - from)) {
      return findByRollingHash(text, string, at);
    }
  }
  return std::nullopt;
}

std::size_t Scanner::positionAfterSkipping() const {
  std::size_t at = at_;
  if (skipped_ == nullptr) return at;
  while (at < text_.size()) {
    const CodePoint character = codePointAt(text_, at);
    if (!skipped_->contains(character.value)) break;
    at += character.size;
  }
  return at;
}

std::optional<std::string_view> Scanner::take(std::size_t from,
                                              std::size_t to) {
  if (to <= from) return std::nullopt;
  at_ = to;
  return text_.substr(from, to - from);
}

bool Scanner::isAtEnd() const {
  return positionAfterSkipping() == text_.size();
}

std::optional<std::string_view> Scanner::scanString(std::string_view string) {
  const std::size_t from = positionAfterSkipping();
  const std::string_view rest = text_.substr(from);
  if (caseSensitivity_ == CaseSensitivity::kSensitive) {
    return rest.starts_with(string) ? take(from, from + string.size())
                                    : std::nullopt;
  }
  const auto size = prefixLengthIgnoringCase(rest, string);
  return size ? take(from, from + *size) : std::nullopt;
}

std::optional<std::string_view> Scanner::scanUpToString(
    std::string_view string) {
  const std::size_t from = positionAfterSkipping();
  std::size_t to = text_.size();
  if (caseSensitivity_ == CaseSensitivity::kSensitive) {
    to = std::min(to, text_.find(string, from));
  } else if (const auto match = findIgnoringCase(text_, string, from)) {
    to = match->position;
  }
  return take(from, to);
}

std::optional<std::string_view> Scanner::scanCharacters(
    const CharacterSet& set) {
  const std::size_t from = positionAfterSkipping();
  std::size_t to = from;
  while (to < text_.size()) {
    const CodePoint character = codePointAt(text_, to);
    if (!set.contains(character.value)) break;
    to += character.size;
  }
  return take(from, to);
}

std::optional<std::string_view> Scanner::scanUpToCharacters(
    const CharacterSet& set) {
  const std::size_t from = positionAfterSkipping();
  std::size_t to = from;
  while (to < text_.size()) {
    const CodePoint character = codePointAt(text_, to);
    if (set.contains(character.value)) break;
    to += character.size;
  }
  return take(from, to);
}

std::optional<std::int64_t> Scanner::scanInteger() {
  std::size_t at = positionAfterSkipping();
  const bool isNegative = at < text_.size() && text_[at] == '-';
  if (isNegative || (at < text_.size() && text_[at] == '+')) ++at;
  if (at == text_.size() || !isASCIIDigit(text_[at])) return std::nullopt;

  constexpr std::int64_t kMinimum = std::numeric_limits<std::int64_t>::min();
  std::int64_t value = 0;  // negated: that side has one number more
  bool saturated = false;
  for (; at < text_.size() && isASCIIDigit(text_[at]); ++at) {
    const int digit = text_[at] - '0';
    saturated = saturated || value < (kMinimum + digit) / 10;
    if (!saturated) value = value * 10 - digit;
  }
  at_ = at;
  if (isNegative) return saturated ? kMinimum : value;
  if (saturated || value == kMinimum) {
    return std::numeric_limits<std::int64_t>::max();
  }
  return -value;
}

std::optional<std::uint32_t> Scanner::scanHexInteger() {
  std::size_t at = positionAfterSkipping();
  const auto digitAt = [&](std::size_t i) {
    return i < text_.size() ? hexDigitValue(text_[i]) : -1;
  };
  if (digitAt(at) == 0 && at + 1 < text_.size() &&
      asciiLower(text_[at + 1]) == 'x' && digitAt(at + 2) >= 0) {
    at += 2;
  }
  if (digitAt(at) < 0) return std::nullopt;

  std::uint64_t value = 0;
  constexpr std::uint64_t kMaximum = std::numeric_limits<std::uint32_t>::max();
  for (; digitAt(at) >= 0; ++at) {
    value = std::min(kMaximum,
                     value * 16 + static_cast<std::uint64_t>(digitAt(at)));
  }
  at_ = at;
  return static_cast<std::uint32_t>(value);
}

}  // namespace quillhaven::platform
