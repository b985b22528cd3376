// Light conversions between HTML and plain text. They scan and never build a
// tree: what they do with odd markup is fixed, because stored drafts and other
// components rely on it. All are thread-safe, none ever fails, and each takes
// time proportional to the length of its text.
#ifndef QUILLHAVEN_HTML_HTML_TEXT_H_
#define QUILLHAVEN_HTML_HTML_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/scanner.h"

namespace quillhaven::html {

// Returns the text of an HTML fragment: tags, comments and scripts dropped,
// white space collapsed, numeric references replaced. Only closing tags of
// elements that are not inline leave a blank behind: "<p>Hello</p><p>World</p>"
// gives "Hello World ", "Hello<br>World" gives "HelloWorld".
[[nodiscard]] std::string stringByConvertingHTMLToPlainText(
    std::string_view html);

// Returns HTML for plain text, its paragraphs in `tag`, "div" or "p"; with any
// other tag nothing is wrapped around. Line feeds become "<br />", empty lines
// part paragraphs, nothing is escaped. Text that containsHTMLTag() is returned
// unchanged. "a\n\nb" with "p" gives "<p>a</p><p>b</p>".
[[nodiscard]] std::string stringByConvertingPlainTextToHTMLWithParagraphTag(
    std::string_view text, std::string_view tag);

// The same with "div".
[[nodiscard]] std::string stringByConvertingPlainTextToHTML(
    std::string_view text);

// True when the whole text is one element with a lower-case name and one line
// of content: "<b>x</b>", but neither "a <b>x</b>" nor "<B>x</B>".
[[nodiscard]] bool containsHTMLTag(std::string_view text);

// Replaces numeric references; see gtm_stringByUnescapingFromHTML().
[[nodiscard]] std::string stringByDecodingHTMLEntities(std::string_view text);

// Escapes what is not ASCII; see gtm_stringByEscapingForAsciiHTML().
[[nodiscard]] std::string stringByEncodingHTMLEntities(std::string_view text);

// The same, or with `isUnicode` gtm_stringByEscapingForHTML().
[[nodiscard]] std::string stringByEncodingHTMLEntities(std::string_view text,
                                                       bool isUnicode);

// Returns `text` with "<br />" for each line break: "\r\n" at the start of a
// run of breaks is one, every other break character one each.
[[nodiscard]] std::string stringWithNewLinesAsBRs(std::string_view text);

// Returns `text` with every run of white space as one blank, none at the ends.
[[nodiscard]] std::string stringByRemovingNewLinesAndWhitespace(
    std::string_view text);

// Returns `text` with bare "http" and "https" addresses put into anchors of
// class "linkified"; addresses right after `="` are left alone.
[[nodiscard]] std::string stringByLinkifyingURLs(std::string_view text);

// Returns `text` without tags: "a", "span", "strong" and "em" tags without
// attributes vanish, others become a blank; white space is then collapsed.
[[nodiscard]] std::string stringByStrippingTags(std::string_view text);

// Returns the lower-cased name of the next opening tag at or after the
// scanner's position, "b" when text comes first, or nothing when there is
// neither or the tag has no name. Closing tags are passed over. The scanner
// does not move.
[[nodiscard]] std::optional<std::string> peekNextTag(
    const platform::Scanner& scanner);

}  // namespace quillhaven::html

#endif  // QUILLHAVEN_HTML_HTML_TEXT_H_
