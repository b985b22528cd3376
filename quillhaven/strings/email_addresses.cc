// The rules are regular expressions, quoted beside the code that matches them
// by hand. Tests hold both equal over generated text.
#include "quillhaven/strings/email_addresses.h"

#include <unicode/uchar.h>

#include <array>
#include <cstddef>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/platform/text/grapheme_breaks.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf16.h"
#include "quillhaven/platform/text/utf8.h"
#include "quillhaven/strings/string_helpers.h"

namespace quillhaven::strings {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// The classes of the patterns, as bits.
enum CharacterClass : unsigned char {
  kLabelClass = 1,   // "[A-Za-z0-9-]"
  kLetterClass = 2,  // "[A-Z]", either case
  kDomainClass = 4,  // "[A-Z0-9.-]", either case
  kLocalClass = 8,   // "[A-Z0-9._%+-]", either case
};

constexpr std::array<unsigned char, 256> makeClasses() {
  std::array<unsigned char, 256> classes{};  // nothing beyond ASCII
  for (std::size_t i = 0; i < 128; ++i) {
    const char c = static_cast<char>(i);
    unsigned mask = 0;
    if (platform::isASCIILetter(c)) {
      mask = kLetterClass | kLabelClass | kDomainClass | kLocalClass;
    }
    if (platform::isASCIIDigit(c) || c == '-') {
      mask = kLabelClass | kDomainClass | kLocalClass;
    }
    if (c == '.') mask = kDomainClass | kLocalClass;
    if (c == '_' || c == '%' || c == '+') mask = kLocalClass;
    classes[i] = static_cast<unsigned char>(mask);
  }
  return classes;
}

constexpr std::array<unsigned char, 256> kClasses = makeClasses();

bool isOneOf(char c, CharacterClass characterClass) {
  return (kClasses[static_cast<unsigned char>(c)] & characterClass) != 0;
}

// Without regard to case, "[A-Z]" matches these two as well: U+017F folds to
// "s" and U+212A to "k".
constexpr std::string_view kLongS = "\xC5\xBF";
constexpr std::string_view kKelvin = "\xE2\x84\xAA";

// Length in bytes of one of the two at the start of `text`, or 0.
std::size_t wideLetterLength(std::string_view text) {
  if (text.starts_with(kLongS)) return kLongS.size();
  return text.starts_with(kKelvin) ? kKelvin.size() : 0;
}

// Returns the end of the run of characters of a class at `at`.
std::size_t endOfRun(std::string_view text, std::size_t at,
                     CharacterClass characterClass) {
  while (true) {
    while (at < text.size() && isOneOf(text[at], characterClass)) ++at;
    if (at == text.size()) return at;
    const std::size_t length = wideLetterLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
}

// Returns the start of the run of local characters that ends `text`.
std::size_t startOfLocalRun(std::string_view text) {
  std::size_t start = text.size();
  while (true) {
    while (start > 0 && isOneOf(text[start - 1], kLocalClass)) --start;
    const std::string_view before = text.substr(0, start);
    if (before.ends_with(kLongS)) {
      start -= kLongS.size();
    } else if (before.ends_with(kKelvin)) {
      start -= kKelvin.size();
    } else {
      return start;
    }
  }
}

// "[A-Z]{2,6}" at `at`, as far as it goes; returns the end, or kNone.
std::size_t endOfTopLevelPart(std::string_view text, std::size_t at) {
  constexpr int kFewest = 2;
  constexpr int kMost = 6;
  int letters = 0;
  while (letters < kMost) {
    if (at == text.size()) break;
    const std::size_t length =
        isOneOf(text[at], kLetterClass) ? 1 : wideLetterLength(text.substr(at));
    if (length == 0) break;
    at += length;
    ++letters;
  }
  return letters < kFewest ? kNone : at;
}

// "[A-Z0-9.-]+\.[A-Z]{2,6}" at `at`: the first part takes what it can and gives
// back until the rest matches. Returns the end, or kNone.
std::size_t endOfDomain(std::string_view text, std::size_t at) {
  const std::size_t end = endOfRun(text, at, kDomainClass);
  const std::string_view run = text.substr(at, end - at);
  for (std::size_t dot = run.rfind('.'); dot != kNone && dot > 0;
       dot = run.rfind('.', dot - 1)) {
    const std::size_t found = endOfTopLevelPart(run, dot + 1);
    if (found != kNone) return at + found;
  }
  return kNone;
}

// A match of "^([^<]+ )?<([A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,6})>", to which
// "$" is still to come.
struct FormattedEmail {
  std::optional<std::string_view> name;  // the blank after it included
  std::string_view address;
  std::size_t end;  // after ">"
};

// Whether "$" matches at `at`: at the end, or before a line break that ends the
// text.
bool isAtEnd(std::string_view text, std::size_t at) {
  if (text.substr(at) == "\r\n") return true;
  return at + platform::internal::newlineLength(text, at) == text.size();
}

std::optional<FormattedEmail> formattedEmail(std::string_view text) {
  const std::size_t open = text.find('<');
  if (open == kNone) return std::nullopt;
  std::optional<std::string_view> name;
  if (open > 0) {
    if (open < 2 || text[open - 1] != ' ') return std::nullopt;
    name = text.substr(0, open);
  }
  const std::size_t local = open + 1;
  const std::size_t at = endOfRun(text, local, kLocalClass);
  if (at == local || at == text.size() || text[at] != '@') return std::nullopt;
  const std::size_t domain = at + 1;
  const std::size_t close = endOfRun(text, domain, kDomainClass);
  if (close == text.size() || text[close] != '>') return std::nullopt;
  const std::size_t dot = text.substr(0, close).rfind('.');
  if (dot == kNone || dot <= domain) return std::nullopt;
  if (endOfTopLevelPart(text, dot + 1) != close) return std::nullopt;
  return FormattedEmail{name, text.substr(local, close - local), close + 1};
}

// The first UTF-16 units of `text`, as many as it has user-perceived
// characters.
platform::UTF16Prefix searchedPrefix(std::string_view text) {
  // ASCII has a unit for each, unless two of them are a line break.
  const bool isPlain = platform::asciiPrefixLength(text) == text.size() &&
                       text.find('\r') == kNone;
  if (isPlain) return {text.size(), false};
  const std::size_t count = platform::characterCount(text);
  if (count == platform::lengthInUTF16Units(text)) return {text.size(), false};
  return platform::utf16Prefix(text, count);
}

bool isDecimalDigit(char32_t character) {
  if (character < 0x80) {
    return platform::isASCIIDigit(static_cast<char>(character));
  }
  return u_isdigit(static_cast<UChar32>(character)) != 0;
}

std::string withoutDecimalDigits(std::string_view text) {
  std::string rest;
  for (std::size_t at = 0; at < text.size();) {
    const platform::CodePoint character = platform::codePointAt(text, at);
    if (!isDecimalDigit(character.value)) {
      rest.append(text, at, character.size);
    }
    at += character.size;
  }
  return rest;
}

std::string nameFromLocalPart(std::string_view localPart) {
  const std::string letters = withoutDecimalDigits(localPart);
  std::string name;
  for (std::size_t start = 0;;) {
    const std::size_t end = letters.find_first_of("._-+", start);
    const std::string_view rest = std::string_view(letters).substr(start);
    name += capitalizingFirstLetter(rest.substr(0, end - start));
    if (end == std::string::npos) break;
    name += ' ';
    start = end + 1;
  }
  return std::string(
      platform::CharacterSet::whitespaceAndNewlines().trimmed(name));
}

}  // namespace

// The whole text is "^.+@([A-Za-z0-9-]+\.)+[A-Za-z]{2}[A-Za-z]*$". The domain
// has no "@", so it begins after the last; "." matches no line break.
bool isValidEmail(std::string_view text) {
  const std::size_t at = text.rfind('@');
  if (at == kNone || at == 0) return false;
  const std::size_t topLevel = text.rfind('.');
  if (topLevel == kNone || topLevel < at || text.size() - topLevel < 3) {
    return false;
  }
  for (const char c : text.substr(topLevel + 1)) {
    if (!platform::isASCIILetter(c)) return false;
  }
  std::size_t labelStart = at + 1;
  for (std::size_t i = labelStart; i <= topLevel; ++i) {
    if (isOneOf(text[i], kLabelClass)) continue;
    if (text[i] != '.' || i == labelStart) return false;
    labelStart = i + 1;
  }
  return platform::internal::findNewline(text.substr(0, at), 0) == at;
}

bool isFormattedEmail(std::string_view text) {
  const auto formatted = formattedEmail(text);
  if (!formatted) return false;
  const platform::UTF16Prefix prefix = searchedPrefix(text);
  // Half a character is no end of an address.
  return formatted->end <= prefix.size && !prefix.endsInsidePair &&
         isAtEnd(text.substr(0, prefix.size), formatted->end);
}

// "[A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,6}". A match begins where the run before
// its "@" does; runs are parted by "@", so each is read at most twice.
std::optional<std::string> emailAddress(std::string_view text) {
  std::size_t at = text.find('@');
  if (at == kNone) return std::nullopt;
  text = text.substr(0, searchedPrefix(text).size);
  std::size_t floor = 0;
  for (; at < text.size(); at = text.find('@', at)) {
    const std::size_t start =
        floor + startOfLocalRun(text.substr(floor, at - floor));
    floor = at + 1;
    const std::size_t end = start == at ? kNone : endOfDomain(text, floor);
    if (end != kNone) return std::string(text.substr(start, end - start));
    at = floor;
  }
  return std::nullopt;
}

std::optional<std::string> emailLocalPart(std::string_view text) {
  if (!isValidEmail(text)) return std::nullopt;
  return std::string(text.substr(0, text.find('@')));
}

std::optional<std::string> emailDomain(std::string_view text) {
  if (!isValidEmail(text)) return std::nullopt;
  return std::string(text.substr(text.rfind('@') + 1));
}

std::optional<std::string> emailName(std::string_view text) {
  if (const auto localPart = emailLocalPart(text)) {
    return nameFromLocalPart(*localPart);
  }
  const auto formatted = formattedEmail(text);
  if (!formatted || !isAtEnd(text, formatted->end)) return std::nullopt;
  if (formatted->name) {
    return std::string(platform::CharacterSet::whitespaceAndNewlines().trimmed(
        *formatted->name));
  }
  const auto localPart = emailLocalPart(formatted->address);
  if (!localPart) return std::nullopt;
  return nameFromLocalPart(*localPart);
}

}  // namespace quillhaven::strings
