#include "quillhaven/html/html_entities.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <span>

#include "quillhaven/platform/text/scanner.h"
#include "quillhaven/platform/text/utf16.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::html {
namespace {

// The library's two tables have no rows. Deliberate: everything built on the
// escaper, stored drafts included, expects "&", "<" and ">" to stay.
constexpr std::array<HTMLEscapeMap, 0> kUnicodeMap{};
constexpr std::array<HTMLEscapeMap, 0> kASCIIMap{};

// Lengths of a reference, "&" and ";" included, in UTF-16 units.
constexpr std::size_t kShortestReference = 4;
constexpr std::size_t kLongestReference = 10;
constexpr std::int64_t kLargestValue = 0xFFFE;

const HTMLEscapeMap* findRow(std::span<const HTMLEscapeMap> rows,
                             char16_t unit) {
  const auto row =
      std::lower_bound(rows.begin(), rows.end(), unit,
                       [](const HTMLEscapeMap& candidate, char16_t wanted) {
                         return EscapeMapCompare(wanted, candidate) > 0;
                       });
  return row != rows.end() && EscapeMapCompare(unit, *row) == 0 ? &*row
                                                                : nullptr;
}

// Writes units, each escaped where the rules of one call say so.
class UnitEscaper {
 public:
  UnitEscaper(std::span<const HTMLEscapeMap> rows, bool escapingUnicode)
      : rows_(rows), escapingUnicode_(escapingUnicode) {}

  void write(std::string& out, char16_t unit) {
    const HTMLEscapeMap* const row = findRow(rows_, unit);
    if (row == nullptr && (!escapingUnicode_ || unit < 128)) {
      platform::appendUTF16Unit(out, unit, pendingHighSurrogate_);
      return;
    }
    platform::flushUTF16(out, pendingHighSurrogate_);
    if (row != nullptr) {
      out.append(row->sequence);
      return;
    }
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits,
                                   static_cast<unsigned>(unit))
                         .ptr;
    out.append("&#").append(digits, end).push_back(';');
  }

  void finish(std::string& out) {
    platform::flushUTF16(out, pendingHighSurrogate_);
  }

 private:
  std::span<const HTMLEscapeMap> rows_;
  bool escapingUnicode_;
  char16_t pendingHighSurrogate_ = 0;
};

// The end of the reference that begins with the "&" at `start`: the position
// after its ";", or nothing if the next "&" or too many units come first.
std::optional<std::size_t> endOfReference(std::string_view text,
                                          std::size_t start) {
  std::size_t units = 1;
  for (std::size_t at = start + 1; at < text.size();) {
    if (text[at] == '&') return std::nullopt;
    const platform::CodePoint character = platform::codePointAt(text, at);
    units += character.value > 0xFFFF ? 2 : 1;
    if (units > kLongestReference) return std::nullopt;
    at += character.size;
    if (character.value == ';') {
      return units >= kShortestReference ? std::optional(at) : std::nullopt;
    }
  }
  return std::nullopt;
}

// The unit that `reference`, from "&" to ";", stands for. Like the number scans
// of the platform, blanks before the number, a sign and "0x" are taken.
std::optional<char16_t> unitOfReference(std::string_view reference) {
  if (reference[1] != '#') return std::nullopt;
  const bool isHexadecimal = reference[2] == 'x' || reference[2] == 'X';
  const std::size_t prefix = isHexadecimal ? 3 : 2;
  const std::string_view number =
      reference.substr(prefix, reference.size() - prefix - 1);

  platform::Scanner scanner(number);
  scanner.skipping(&platform::CharacterSet::whitespaceAndNewlines());
  std::optional<std::int64_t> value;
  if (isHexadecimal) {
    value = scanner.scanHexInteger();
  } else {
    value = scanner.scanInteger();
  }
  if (!value || scanner.position() != number.size()) return std::nullopt;
  if (*value < 1 || *value > kLargestValue) return std::nullopt;
  return static_cast<char16_t>(*value);
}

}  // namespace

int EscapeMapCompare(char16_t unit, const HTMLEscapeMap& row) {
  if (unit < row.unit) return -1;
  return unit > row.unit ? 1 : 0;
}

std::string gtm_stringByEscapingHTMLUsingTable(std::string_view text,
                                               const HTMLEscapeMap* table,
                                               std::size_t ofSize,
                                               bool escapingUnicode) {
  const std::span<const HTMLEscapeMap> rows(table,
                                            ofSize / sizeof(HTMLEscapeMap));
  std::string out;
  out.reserve(text.size());
  UnitEscaper escaper(rows, escapingUnicode);
  for (std::size_t at = 0; at < text.size();) {
    if (rows.empty()) {
      const std::size_t plain =
          escapingUnicode ? platform::asciiPrefixLength(text.substr(at))
                          : text.size() - at;
      out.append(text, at, plain);
      at += plain;
      if (at == text.size()) break;
    }
    const platform::CodePoint character = platform::codePointAt(text, at);
    at += character.size;
    if (character.value <= 0xFFFF) {
      escaper.write(out, static_cast<char16_t>(character.value));
      continue;
    }
    const char32_t offset = character.value - 0x10000;
    escaper.write(out, static_cast<char16_t>(0xD800 + (offset >> 10)));
    escaper.write(out, static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
  }
  escaper.finish(out);
  return out;
}

std::string gtm_stringByEscapingForHTML(std::string_view text) {
  return gtm_stringByEscapingHTMLUsingTable(text, kUnicodeMap.data(), 0, false);
}

std::string gtm_stringByEscapingForAsciiHTML(std::string_view text) {
  return gtm_stringByEscapingHTMLUsingTable(text, kASCIIMap.data(), 0, true);
}

std::string gtm_stringByUnescapingFromHTML(std::string_view text) {
  std::string out;
  std::size_t copied = 0;
  char16_t pendingHighSurrogate = 0;
  for (std::size_t start = text.find('&'); start != std::string_view::npos;
       start = text.find('&', start + 1)) {
    const auto end = endOfReference(text, start);
    if (!end) continue;
    const auto unit = unitOfReference(text.substr(start, *end - start));
    if (!unit) continue;

    if (copied == 0) out.reserve(text.size());
    if (start > copied) {
      platform::flushUTF16(out, pendingHighSurrogate);
      out.append(text, copied, start - copied);
    }
    platform::appendUTF16Unit(out, *unit, pendingHighSurrogate);
    copied = *end;
  }
  platform::flushUTF16(out, pendingHighSurrogate);
  out.append(text.substr(copied));
  return out;
}

}  // namespace quillhaven::html
