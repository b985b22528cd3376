// The operations whose rules are regular expressions, matched by hand. Tests
// hold each equal to its ICU pattern over generated text.
#include <unicode/uchar.h>

#include "quillhaven/html/html_text.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::html {
namespace {

using platform::CodePoint;
using platform::codePointAt;
using platform::codePointBefore;

// "\w" of ICU.
bool isWordCharacter(char32_t character) {
  if (character < 0x80) {
    const char c = static_cast<char>(character);
    return platform::isASCIILetter(c) || platform::isASCIIDigit(c) || c == '_';
  }
  const auto c = static_cast<UChar32>(character);
  constexpr std::uint32_t kCategories =
      U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK;
  return u_isUAlphabetic(c) != 0 || (U_GET_GC_MASK(c) & kCategories) != 0 ||
         character == 0x200C || character == 0x200D;
}

// Characters that "\b" of ICU looks through: they belong to the one before.
bool isCombining(char32_t character) {
  if (character < 0x80) return false;
  const auto c = static_cast<UChar32>(character);
  return u_hasBinaryProperty(c, UCHAR_GRAPHEME_EXTEND) != 0 ||
         u_charType(c) == U_FORMAT_CHAR;
}

// Whether the character before `at`, combining ones aside, is a word character.
bool followsWordCharacter(std::string_view text, std::size_t at) {
  while (at > 0) {
    const CodePoint before = codePointBefore(text, at);
    if (!isCombining(before.value)) return isWordCharacter(before.value);
    at -= before.size;
  }
  return false;
}

// "." of ICU does not match these.
bool isLineTerminator(char32_t c) {
  return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool holdsLineTerminator(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint character = codePointAt(text, at);
    if (isLineTerminator(character.value)) return true;
    at += character.size;
  }
  return false;
}

// "[\w\-_]" as often as it matches from `at` on; returns the end.
std::size_t skipHostCharacters(std::string_view text, std::size_t at) {
  while (at < text.size()) {
    const CodePoint character = codePointAt(text, at);
    if (character.value != '-' && !isWordCharacter(character.value)) break;
    at += character.size;
  }
  return at;
}

// The end of the address whose "http" stands at `at`, or nothing.
std::optional<std::size_t> endOfAddress(std::string_view text, std::size_t at) {
  std::size_t end = at + 4;
  if (text.substr(end).starts_with('s')) ++end;
  if (!text.substr(end).starts_with("://")) return std::nullopt;
  end += 3;

  const std::size_t firstLabel = skipHostCharacters(text, end);
  if (firstLabel == end) return std::nullopt;
  end = firstLabel;
  while (end < text.size() && text[end] == '.') {
    const std::size_t label = skipHostCharacters(text, end + 1);
    if (label == end + 1) break;
    end = label;
  }
  if (end == firstLabel) return std::nullopt;  // one label is no host

  // The path: everything allowed in it, back to the last character allowed at
  // its end. "%%" and "&amp;" are taken letter by letter, so ";" is allowed.
  constexpr std::string_view kAnywhere = "-.,@?^=%&;:/~+#";
  constexpr std::string_view kNotAtTheEnd = ".,:";
  for (std::size_t next = end; next < text.size();) {
    const CodePoint character = codePointAt(text, next);
    const bool isMark = character.value < 0x80 &&
                        kAnywhere.find(static_cast<char>(character.value)) !=
                            std::string_view::npos;
    if (!isMark && !isWordCharacter(character.value)) break;
    next += character.size;
    if (!isMark || kNotAtTheEnd.find(static_cast<char>(character.value)) ==
                       std::string_view::npos) {
      end = next;
    }
  }
  return end;
}

}  // namespace

// "<([a-z][a-z0-9]*)\b[^>]*>(.*?)</\1>", matched against the whole text.
bool containsHTMLTag(std::string_view text) {
  const auto isLower = [&](std::size_t at) {
    return text[at] >= 'a' && text[at] <= 'z';
  };
  if (text.size() < 2 || text[0] != '<' || !isLower(1)) return false;
  std::size_t nameEnd = 2;
  while (nameEnd < text.size() &&
         (isLower(nameEnd) || platform::isASCIIDigit(text[nameEnd]))) {
    ++nameEnd;
  }
  if (nameEnd == text.size()) return false;
  const char32_t afterName = codePointAt(text, nameEnd).value;
  if (isCombining(afterName) || isWordCharacter(afterName)) return false;

  const std::size_t tagEnd = text.find('>', nameEnd);
  if (tagEnd == std::string_view::npos) return false;
  const std::string_view name = text.substr(1, nameEnd - 1);
  std::string_view rest = text.substr(tagEnd + 1);
  if (rest.size() < name.size() + 3 || !rest.ends_with('>')) return false;
  rest.remove_suffix(1);
  if (!rest.ends_with(name)) return false;
  rest.remove_suffix(name.size());
  if (!rest.ends_with("</")) return false;
  rest.remove_suffix(2);
  return !holdsLineTerminator(rest);
}

// "(?<!=\")\b((http|https):\/\/[\w\-_]+(\.[\w\-_]+)+([\w\-\.,@?^=%%&amp;:/~\+#]*
// [\w\-\@?^=%%&amp;/~\+#])?)", written without the line break.
std::string stringByLinkifyingURLs(std::string_view text) {
  std::string out;
  std::size_t copied = 0;
  for (std::size_t at = text.find("http"); at != std::string_view::npos;) {
    const bool isAttribute = text.substr(0, at).ends_with("=\"");
    std::optional<std::size_t> end;
    if (!isAttribute && !followsWordCharacter(text, at)) {
      end = endOfAddress(text, at);
    }
    if (!end) {
      at = text.find("http", at + 4);
      continue;
    }
    const std::string_view address = text.substr(at, *end - at);
    out.append(text, copied, at - copied);
    out.append("<a href=\"").append(address);
    out.append("\" class=\"linkified\">").append(address).append("</a>");
    copied = *end;
    at = text.find("http", copied);
  }
  out.append(text.substr(copied));
  return out;
}

}  // namespace quillhaven::html
