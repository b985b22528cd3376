// Feeds the light conversions between HTML and plain text with a text.
#include <cstddef>
#include <string>
#include <string_view>

#include "fuzz/fuzz_target.h"
#include "quillhaven/html/html_entities.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/platform/text/regular_expression.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::fuzz {
namespace {

using namespace html;

// Texts up to this size are also given to the patterns that define two of the
// operations; a pattern can take far longer than the operation itself.
constexpr std::size_t kLargestTextForPatterns = 2048;

bool holdsAnyOf(std::string_view text, std::string_view characters) {
  return text.find_first_of(characters) != std::string_view::npos;
}

std::string replacingAll(std::string text, std::string_view what,
                         std::string_view with) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

void checkToPlainText(std::string_view text) {
  const std::string plain = stringByConvertingHTMLToPlainText(text);
  requireUTF8(plain);
  require(plain.size() <= text.size(), "plain text is never longer");

  const std::string stripped = stringByStrippingTags(text);
  requireUTF8(stripped);
  require(stripped.size() <= text.size(), "stripping never adds");
  if (text.find('<') == std::string_view::npos) {
    require(stripped == text, "text without tags is left alone");
  } else {
    require(stringByRemovingNewLinesAndWhitespace(stripped) == stripped,
            "stripping collapses white space");
  }

  const std::string collapsed = stringByRemovingNewLinesAndWhitespace(text);
  requireUTF8(collapsed);
  require(!holdsAnyOf(collapsed, "\n\r\t\f") &&
              collapsed.find("  ") == std::string::npos &&
              !collapsed.starts_with(' ') && !collapsed.ends_with(' '),
          "white space is collapsed");
}

void checkToHTML(std::string_view text) {
  const bool isElement = containsHTMLTag(text);
  for (std::string_view tag : {"div", "p", "span"}) {
    const std::string html =
        stringByConvertingPlainTextToHTMLWithParagraphTag(text, tag);
    requireUTF8(html);
    if (isElement) {
      require(html == text, "an element is left alone");
    } else {
      require(html.find('\n') == std::string::npos, "no line feed is left");
      // Two line feeds become "</div><div><br /></div><div>" at most.
      require(html.size() <= 14 * text.size() + 11, "HTML is bounded");
    }
  }
  const std::string broken = stringWithNewLinesAsBRs(text);
  requireUTF8(broken);
  require(!holdsAnyOf(broken, "\n\r\f"), "every line break is replaced");
  require(broken.size() <= 6 * text.size(), "<br /> for a character");
}

void checkEntities(std::string_view text) {
  require(gtm_stringByEscapingForHTML(text) == text, "the table is empty");
  const std::string escaped = gtm_stringByEscapingForAsciiHTML(text);
  require(platform::asciiPrefixLength(escaped) == escaped.size(),
          "escaped text is ASCII");
  require(escaped.size() <= 4 * text.size(), "escaping is bounded");

  const std::string unescaped = gtm_stringByUnescapingFromHTML(text);
  requireUTF8(unescaped);
  require(unescaped.size() <= text.size(), "unescaping never adds");
  require(stringByDecodingHTMLEntities(text) == unescaped, "one decoder");

  // Escaping and unescaping is the identity; only U+FFFF has a reference that
  // stays, and an ampersand could begin one that was there before.
  const std::string plain = replacingAll(std::string(text), "&", "+");
  require(gtm_stringByUnescapingFromHTML(gtm_stringByEscapingForAsciiHTML(
              plain)) == replacingAll(plain, "\xEF\xBF\xBF", "&#65535;"),
          "unescaping undoes escaping");
}

void checkLinks(std::string_view text) {
  const std::string linkified = stringByLinkifyingURLs(text);
  requireUTF8(linkified);
  require(linkified.size() <= 6 * text.size(), "linkifying is bounded");
  if (text.size() > kLargestTextForPatterns) return;

  static const platform::RegularExpression address(
      R"re((?<!=")\b((http|https)://[\w\-_]+(\.[\w\-_]+)+)re"
      R"re(([\w\-\.,@?^=%%&amp;:/~\+#]*[\w\-\@?^=%%&amp;/~\+#])?))re");
  require(linkified == address.replacingMatches(
                           text, R"(<a href="$1" class="linkified">$1</a>)"),
          "addresses are found as the pattern finds them");
  static const platform::RegularExpression element(
      R"re(<([a-z][a-z0-9]*)\b[^>]*>(.*?)</\1>)re");
  require(containsHTMLTag(text) == element.matches(text),
          "an element is what the pattern matches");
}

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  const std::string_view text = inputBytes(data, size);
  if (!quillhaven::platform::isValidUTF8(text)) return 0;
  checkToPlainText(text);
  checkToHTML(text);
  checkEntities(text);
  checkLinks(text);
  return 0;
}
