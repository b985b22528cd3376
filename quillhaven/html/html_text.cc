#include "quillhaven/html/html_text.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "quillhaven/html/html_entities.h"
#include "quillhaven/html/internal/collected_stretches.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::html {
namespace {

using platform::internal::ByteVector;
using platform::internal::equals;
using platform::internal::isBetween;
using platform::internal::kVectorSize;

// The line breaks of these conversions: "\n", "\r", form feed, U+0085, U+2028
// and U+2029 (no vertical tab). Returns the length of the one at `at`, or 0.
std::size_t lineBreakLength(std::string_view text, std::size_t at) {
  const unsigned char byte = platform::internal::byteAt(text, at);
  if (byte < 0x80) return byte == '\n' || byte == '\f' || byte == '\r' ? 1 : 0;
  return platform::internal::wideNewlineLength(text, at);
}

// The white space of these conversions: blank, tab and the line breaks.
std::size_t whiteLength(std::string_view text, std::size_t at) {
  const unsigned char byte = platform::internal::byteAt(text, at);
  return byte == ' ' || byte == '\t' ? 1 : lineBreakLength(text, at);
}

std::size_t skipWhite(std::string_view text, std::size_t at) {
  while (const std::size_t length = whiteLength(text, at)) at += length;
  return at;
}

// Returns the position after the next `string` at `from` or later, or the end.
std::size_t skipPast(std::string_view text, std::string_view string,
                     std::size_t from) {
  const std::size_t at = text.find(string, from);
  return at == std::string_view::npos ? text.size() : at + string.size();
}

// Collects text whose runs of white space become one blank, none at its start.
// Never longer than what was read, so its room is made once.
class CollapsingOutput {
 public:
  explicit CollapsingOutput(std::string_view text)
      : text_(text), out_(text.size() + kVectorSize, '\0') {}

  // A blank counts only between text, not before it nor at the end of `text`.
  void appendBlank(std::size_t at) {
    if (size_ != 0 && at < text_.size()) out_[size_++] = ' ';
  }

  // Copies from `at` on up to the next "<" (if `stopsAtTags`) or white space
  // that is more than a lone blank, and returns where it stopped.
  template <bool stopsAtTags>
  std::size_t copyText(std::size_t at) {
    at = copyVectors<stopsAtTags>(at);
    while (at < text_.size()) {
      const char c = text_[at];
      if ((stopsAtTags && c == '<') || whiteLength(text_, at) != 0) break;
      out_[size_++] = c;
      ++at;
    }
    return at;
  }

  std::string take() {
    out_.resize(size_);
    return std::move(out_);
  }

 private:
  // Sixteen bytes at a time while they hold nothing to stop at. A lone blank
  // within text is text; so the first copy must not begin with one.
  template <bool stopsAtTags>
  std::size_t copyVectors(std::size_t at) {
    if (size_ == 0 && whiteLength(text_, at) != 0) return at;
    while (at + kVectorSize < text_.size()) {
      const char* const data = text_.data() + at;
      const ByteVector bytes = platform::internal::loadBytes(data);
      const ByteVector next = platform::internal::loadBytes(data + 1);
      auto stop = isBetween(bytes, '\t', '\r') | equals(bytes, 0xC2) |
                  equals(bytes, 0xE2) |
                  (equals(bytes, ' ') &
                   (equals(next, ' ') | isBetween(next, '\t', '\r') |
                    equals(next, 0xC2) | equals(next, 0xE2)));
      if constexpr (stopsAtTags) stop |= equals(bytes, '<');
      const unsigned bits = platform::internal::bitsOf(stop);
      std::memcpy(&out_[size_], data, kVectorSize);
      if (bits == 0) {
        size_ += kVectorSize;
        at += kVectorSize;
        continue;
      }
      const auto plain = static_cast<std::size_t>(std::countr_zero(bits));
      size_ += plain;
      at += plain;
      if ((stopsAtTags && text_[at] == '<') || whiteLength(text_, at) != 0) {
        return at;
      }
      // A letter that shares its lead byte with a line break, or a vertical
      // tab.
      const std::size_t length = platform::codePointAt(text_, at).size;
      std::memcpy(&out_[size_], text_.data() + at, length);
      size_ += length;
      at += length;
    }
    return at;
  }

  std::string_view text_;
  std::string out_;
  std::size_t size_ = 0;
};

// Names of elements whose end does not part words.
bool isInlineName(std::string_view letters) {
  static constexpr std::array<std::string_view, 11> kNames = {
      "a",      "b",    "i",    "q",       "span", "em",
      "strong", "cite", "abbr", "acronym", "label"};
  return std::any_of(kNames.begin(), kNames.end(), [&](std::string_view name) {
    return platform::equalsIgnoringASCIICase(letters, name);
  });
}

// Steps over the tag, comment or script whose "<" stands at `at`.
std::size_t convertTag(std::string_view html, std::size_t at,
                       CollapsingOutput& out) {
  const std::string_view inside = html.substr(at + 1);
  if (inside.starts_with("!--")) return skipPast(html, "-->", at + 4);
  if (inside.starts_with("script")) return skipPast(html, "</script>", at + 7);

  std::size_t end = at + 1;
  if (inside.starts_with('/')) {
    const std::size_t start = ++end;
    while (end < html.size() && platform::isASCIILetter(html[end])) ++end;
    // Only the end of an element parts words, its start does not. Deliberate:
    // previews and search indexes were made so.
    if (!isInlineName(html.substr(start, end - start))) out.appendBlank(end);
  }
  return skipPast(html, ">", end);
}

}  // namespace

std::string stringByConvertingHTMLToPlainText(std::string_view html) {
  CollapsingOutput out(html);
  for (std::size_t at = 0; at < html.size();) {
    at = out.copyText<true>(at);
    if (at == html.size()) break;
    if (html[at] == '<') {
      at = convertTag(html, at, out);
    } else {
      at = skipWhite(html, at);
      out.appendBlank(at);
    }
  }
  std::string text = out.take();
  if (text.find('&') == std::string::npos) return text;
  return stringByDecodingHTMLEntities(text);
}

std::string stringByConvertingPlainTextToHTMLWithParagraphTag(
    std::string_view text, std::string_view tag) {
  if (containsHTMLTag(text)) return std::string(text);
  const std::string encoded = stringByEncodingHTMLEntities(text, true);
  const bool isDiv = tag == "div";
  const bool isParagraph = tag == "p";

  std::string out;
  out.reserve(encoded.size() + encoded.size() / 8 + 16);
  if (isDiv) out.append("<div>");
  if (isParagraph) out.append("<p>");
  const std::string_view all = encoded;
  std::size_t copied = 0;
  for (std::size_t at = all.find('\n'); at != std::string_view::npos;
       at = all.find('\n', copied)) {
    out.append(all, copied, at - copied);
    copied = at + 1;
    // Lines that are empty or hold only blanks and tabs part paragraphs.
    std::size_t end = copied;
    for (std::size_t line = end; isDiv || isParagraph;) {
      while (line < all.size() && (all[line] == ' ' || all[line] == '\t')) {
        ++line;
      }
      if (line == all.size() || all[line] != '\n') break;
      end = ++line;
    }
    if (end == copied) {
      out.append("<br />");
    } else {
      out.append(isDiv ? "</div><div><br /></div><div>" : "</p><p>");
      copied = end;
    }
  }
  out.append(all.substr(copied));
  if (isDiv) out.append("</div>");
  if (isParagraph) out.append("</p>");
  return out;
}

std::string stringByConvertingPlainTextToHTML(std::string_view text) {
  return stringByConvertingPlainTextToHTMLWithParagraphTag(text, "div");
}

std::string stringByDecodingHTMLEntities(std::string_view text) {
  return gtm_stringByUnescapingFromHTML(text);
}

std::string stringByEncodingHTMLEntities(std::string_view text) {
  return gtm_stringByEscapingForAsciiHTML(text);
}

std::string stringByEncodingHTMLEntities(std::string_view text,
                                         bool isUnicode) {
  return isUnicode ? gtm_stringByEscapingForHTML(text)
                   : gtm_stringByEscapingForAsciiHTML(text);
}

std::string stringWithNewLinesAsBRs(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    while (at < text.size() && lineBreakLength(text, at) == 0) {
      at = platform::internal::findByte(text, at + 1, [](ByteVector bytes) {
        return isBetween(bytes, '\n', '\r') | equals(bytes, 0xC2) |
               equals(bytes, 0xE2);
      });
    }
    out.append(text, start, at - start);
    if (text.substr(at).starts_with("\r\n")) {
      out.append("<br />");
      at += 2;
      continue;
    }
    while (const std::size_t length = lineBreakLength(text, at)) {
      out.append("<br />");
      at += length;
    }
  }
  return out;
}

std::string stringByRemovingNewLinesAndWhitespace(std::string_view text) {
  CollapsingOutput out(text);
  for (std::size_t at = 0; at < text.size();) {
    at = out.copyText<false>(at);
    if (at == text.size()) break;
    at = skipWhite(text, at);
    out.appendBlank(at);
  }
  return out.take();
}

std::string stringByStrippingTags(std::string_view text) {
  if (text.find('<') == std::string_view::npos) return std::string(text);

  // Tags that vanish rather than become a blank; of tags that differ in letter
  // case only, the first one in the text decides for all.
  struct Vanishing {
    std::string_view tag;
    std::optional<bool> vanishes;
  };
  std::array<Vanishing, 8> vanishing = {{{"<a>", {}},
                                         {"</a>", {}},
                                         {"<span>", {}},
                                         {"</span>", {}},
                                         {"<strong>", {}},
                                         {"</strong>", {}},
                                         {"<em>", {}},
                                         {"</em>", {}}}};
  internal::StretchRules rules;
  rules.opening = "<";
  rules.ignoringCase = true;
  rules.next = [text](std::size_t from) -> std::optional<internal::Stretch> {
    const std::size_t start = text.find('<', from);
    if (start == std::string_view::npos) return std::nullopt;
    const std::size_t end = text.find('>', start);
    if (end == std::string_view::npos) return std::nullopt;
    return internal::Stretch{start, end + 1};
  };
  rules.replacement = [&vanishing](std::string_view tag) -> std::string_view {
    for (Vanishing& known : vanishing) {
      if (platform::prefixLengthIgnoringCase(tag, known.tag) != tag.size()) {
        continue;
      }
      if (!known.vanishes) known.vanishes = tag == known.tag;
      return *known.vanishes ? "" : " ";
    }
    return " ";
  };
  // A tag cut off by the end of the text is looked for as if it were closed.
  const std::size_t lastEnd = text.rfind('>');
  const std::size_t cutOff =
      text.find('<', lastEnd == std::string_view::npos ? 0 : lastEnd);
  if (cutOff != std::string_view::npos) {
    rules.cutOff = text.substr(cutOff);
  }
  return stringByRemovingNewLinesAndWhitespace(
      internal::replacingStretches(text, rules));
}

std::optional<std::string> peekNextTag(const platform::Scanner& scanner) {
  platform::Scanner ahead = scanner;
  while (true) {
    if (const auto text = ahead.scanUpToString("<")) {
      const std::size_t tagEnd = text->find('>');
      const std::string_view tail =
          tagEnd == std::string_view::npos ? *text : text->substr(tagEnd + 1);
      if (!platform::CharacterSet::whitespaceAndNewlines()
               .trimmed(tail)
               .empty()) {
        return "b";
      }
    }
    ahead.scanString("<");
    if (ahead.scanString("/")) continue;
    const auto name =
        ahead.scanCharacters(platform::CharacterSet::alphanumerics());
    if (!name) return std::nullopt;
    return platform::lowercased(*name);
  }
}

}  // namespace quillhaven::html
