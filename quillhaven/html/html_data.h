// Converts the bytes of an HTML document into readable plain text, with list
// markers and line breaks.
#ifndef QUILLHAVEN_HTML_HTML_DATA_H_
#define QUILLHAVEN_HTML_HTML_DATA_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::html {

// What a caller may say about an HTML document.
struct HTMLDataOptions {
  // IANA charset name of the bytes; absent means UTF-8.
  std::optional<std::string> textEncodingName;
};

// Attributes of a tag, by their names as written.
using TagAttributes = std::map<std::string, std::string, std::less<>>;

// Returns the text of the HTML document in `htmlBytes`: from "<body" on if
// there is one, a line feed after text that no inline tag follows, U+2028
// before it where "br" follows, items of lists marked "\t1.\t" or "\t•\t".
// Bytes that do not convert give the empty text. `documentAttributes` may be
// null and is never filled; it is there for callers written against the
// platform's operation. Thread-safe; time grows linearly with the input.
[[nodiscard]] std::string stringWithHTMLData(
    std::string_view htmlBytes, const HTMLDataOptions& options = {},
    TagAttributes* documentAttributes = nullptr);

// The same for text that is already decoded; `html` must be valid UTF-8.
[[nodiscard]] std::string stringWithHTMLText(std::string_view html);

// Returns the attributes of a tag ("<a href="x">", the closing ">" optional),
// or nothing when there are none. Reading stops at the first attribute without
// a quoted value; of equal names the last one counts.
[[nodiscard]] std::optional<TagAttributes> dictionaryOfAttributesFromTag(
    std::string_view tag);

// Returns the value of the hexadecimal number at the start of `text` (white
// space and "0x" may precede it), 0 when there is none, 2^32 - 1 when it is
// larger than that.
[[nodiscard]] std::uint32_t integerValueFromHex(std::string_view text);

// True for "font", "b", "strong", "em", "i", "sub", "sup", "u" and "a", in any
// letter case.
[[nodiscard]] bool isInlineTag(std::string_view tagName);

}  // namespace quillhaven::html

#endif  // QUILLHAVEN_HTML_HTML_DATA_H_
