#include "quillhaven/strings/string_helpers.h"

#include <array>
#include <limits>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/grapheme_breaks.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf8.h"
#include "quillhaven/strings/encodings.h"

namespace quillhaven::strings {
namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";  // U+2026

// Which ASCII characters get a backslash in a shell.
constexpr std::array<bool, 128> makeShellTable() {
  std::array<bool, 128> table{};
  for (const char c : std::string_view("\\ ()\"&'!$<>;|*?[]#`\t{}")) {
    table[static_cast<std::size_t>(c)] = true;
  }
  return table;
}

constexpr std::array<bool, 128> kShellTable = makeShellTable();

// A count of characters from a length; a negative one is a fatal error.
std::size_t countFrom(std::int64_t length) {
  if (length < 0) platform::fatalError("length of a truncation is negative");
  return static_cast<std::size_t>(length);
}

}  // namespace

std::string emojiFlag(std::string_view countryCode) {
  constexpr char32_t kShift =
      127397;  // from "A" to REGIONAL INDICATOR SYMBOL A
  constexpr char32_t kLast = 0x10FFFF - kShift;
  std::string flag;
  for (std::size_t at = 0; at < countryCode.size();) {
    const platform::CodePoint scalar = platform::codePointAt(countryCode, at);
    if (scalar.value > kLast) {
      platform::fatalError("character of a country code is out of range");
    }
    platform::appendCodePoint(flag, scalar.value + kShift);
    at += scalar.size;
  }
  return flag;
}

std::uint64_t hexToDecimal(std::string_view text) {
  constexpr std::uint64_t kMaximum = std::numeric_limits<std::uint64_t>::max();
  const auto at = [&](std::size_t i) {
    return i < text.size() ? text[i] : '\0';
  };
  std::size_t next = 0;
  while (at(next) == ' ' || (at(next) >= '\t' && at(next) <= '\r')) ++next;
  const bool isNegative = at(next) == '-';
  if (isNegative || at(next) == '+') ++next;
  // "0x" without a digit after it is the number 0, and so is the result.
  if (at(next) == '0' && platform::asciiLower(at(next + 1)) == 'x') {
    next += 2;
  }
  std::uint64_t value = 0;
  for (; next < text.size(); ++next) {
    const int digit = platform::hexDigitValue(text[next]);
    if (digit < 0) break;
    if (value > kMaximum >> 4) return kMaximum;
    value = value << 4 | static_cast<std::uint64_t>(digit);
  }
  return isNegative ? 0 - value : value;
}

std::optional<std::string> hexString(std::string_view text) {
  if (!platform::isValidUTF8(text)) return std::nullopt;
  return hexDigest(bytesOf(text));
}

std::string replacing(std::string_view text,
                      const platform::CharacterSet& charactersIn,
                      std::string_view replacement) {
  std::string replaced;
  replaced.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const platform::CodePoint character = platform::codePointAt(text, at);
    replaced.append(charactersIn.contains(character.value)
                        ? replacement
                        : text.substr(at, character.size));
    at += character.size;
  }
  return replaced;
}

std::string capitalizingFirstLetter(std::string_view text) {
  const std::string_view first = platform::firstCharacters(text, 1);
  return platform::capitalized(first).append(text.substr(first.size()));
}

std::string trimmedMessageId(std::string_view text) {
  const std::size_t first = text.find_first_not_of("<>");
  if (first == std::string_view::npos) return {};
  return std::string(
      text.substr(first, text.find_last_not_of("<>") + 1 - first));
}

std::string trimmedContentID(std::string_view text) {
  constexpr std::string_view kScheme = "cid:";
  std::string trimmed(text);
  std::erase_if(trimmed, [](char c) { return c == '<' || c == '>'; });
  if (trimmed.starts_with(kScheme)) trimmed.erase(0, kScheme.size());
  return trimmed;
}

std::string truncating(std::string_view text, std::int64_t length,
                       std::string_view trailing) {
  const std::string_view kept =
      platform::firstCharacters(text, countFrom(length));
  if (kept.size() == text.size()) return std::string(text);
  std::string truncated = trimmingTrailingWhitespace(kept);
  truncated.append(trailing);
  return truncated;
}

std::string stringByTruncatingToLength(std::string_view text,
                                       std::int64_t length) {
  return truncating(text, length, kEllipsis);
}

std::string truncatingMiddle(std::string_view text, std::int64_t length) {
  const std::size_t count = countFrom(length);
  if (platform::firstCharacters(text, count).size() == text.size()) {
    return std::string(text);
  }
  const std::string_view tail = platform::lastCharacters(text, count / 2);
  std::string truncated =
      trimmingTrailingWhitespace(platform::firstCharacters(text, count / 2));
  truncated.append(kEllipsis).append(platform::internal::trimmedBlanks(tail));
  return truncated;
}

// The backslash is one of the characters, yet those that are added are not
// escaped again.
std::string shellEscaped(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size() + text.size() / 8);
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < kShellTable.size() && kShellTable[byte]) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::optional<std::string> presence(std::string_view text) {
  if (text.empty()) return std::nullopt;
  return std::string(text);
}

}  // namespace quillhaven::strings
