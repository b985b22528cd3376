// The string helpers whose rules are regular expressions, quoted here and
// matched by hand. Tests hold both equal over generated text.
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/strings/string_helpers.h"

namespace quillhaven::strings {
namespace {

using platform::isASCIIDigit;
using platform::isASCIIUpper;

bool isASCIILower(char c) { return c >= 'a' && c <= 'z'; }

// Whether `line`, in which "." matches every character, has `open`, something,
// and `close`. The first opening leaves the most room.
bool hasPlaceholder(std::string_view line, std::string_view open,
                    std::string_view close) {
  const std::size_t start = line.find(open);
  return start != std::string_view::npos &&
         line.find(close, start + open.size() + 1) != std::string_view::npos;
}

// "([A-Z]+)([A-Z][a-z]|[0-9])", "$1-$2": whether "-" comes before byte `at`.
bool endsCapitals(std::string_view text, std::size_t at) {
  if (!isASCIIUpper(text[at - 1])) return false;
  return isASCIIDigit(text[at]) ||
         (isASCIIUpper(text[at]) && at + 1 < text.size() &&
          isASCIILower(text[at + 1]));
}

// "([a-z])([A-Z]|[0-9])", "$1-$2": whether "-" comes before byte `at`.
bool endsLowerCase(std::string_view text, std::size_t at) {
  return isASCIILower(text[at - 1]) &&
         (isASCIIUpper(text[at]) || isASCIIDigit(text[at]));
}

}  // namespace

// "\s*$" replaced by nothing. Line breaks are white space, so the first match
// always reaches the end of the text.
std::string trimmingTrailingWhitespace(std::string_view text) {
  std::size_t end = text.size();
  while (end > 0) {
    std::size_t last = end - 1;
    while (last > 0 &&
           (platform::internal::byteAt(text, last) & 0xC0) == 0x80) {
      --last;
    }
    if (platform::internal::spaceLength(text, last) == 0) break;
    end = last;
  }
  return std::string(text.substr(0, end));
}

// "<[^>]+>" replaced by nothing.
std::string strippedFromHTML(std::string_view text) {
  std::string stripped;
  std::size_t copied = 0;
  for (std::size_t open = text.find('<'); open != std::string_view::npos;
       open = text.find('<', open)) {
    const std::size_t close = text.find('>', open + 1);
    if (close == std::string_view::npos) break;
    if (close > open + 1) {  // "<>" is no tag
      stripped.append(text, copied, open - copied);
      copied = close + 1;
    }
    open = close + 1;
  }
  stripped.append(text.substr(copied));
  return stripped;
}

// "\{\{.+?\}\}|\{%.+?%\}" matches somewhere.
bool containsLiquid(std::string_view text) {
  std::size_t at = text.find('{');
  while (at != std::string_view::npos) {
    const std::size_t end = platform::internal::findNewline(text, at);
    const std::string_view line = text.substr(at, end - at);
    if (hasPlaceholder(line, "{{", "}}") || hasPlaceholder(line, "{%", "%}")) {
      return true;
    }
    at = text.find('{', end);
  }
  return false;
}

// The two patterns in turn; what either inserts is nothing to the other.
std::string lowerKebabCased(std::string_view text) {
  std::string parted;
  parted.reserve(text.size() + 8);
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (at > 0 && (endsCapitals(text, at) || endsLowerCase(text, at))) {
      parted += '-';
    }
    parted += text[at];
  }
  return platform::lowercased(parted);
}

}  // namespace quillhaven::strings
