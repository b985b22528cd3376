#include "quillhaven/html/html_data.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/scanner.h"
#include "quillhaven/platform/text/string_encoding.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::html {
namespace {

using platform::CharacterSet;
using platform::equalsIgnoringASCIICase;

constexpr std::string_view kBullet = "\t\xE2\x80\xA2\t";
constexpr std::string_view kLineSeparator = "\xE2\x80\xA8";

// Converts one document. Only the name of the tag at hand has a say in the
// text, so no stack of open elements is kept.
class HTMLDataConverter {
 public:
  explicit HTMLDataConverter(std::string_view html) : html_(html) {
    const auto body = platform::findIgnoringCase(html, "<body");
    at_ = body ? body->position : 0;
    // Room for more than nearly any document's text: growing would need more.
    out_.reserve(html.size() - at_ + 16);
  }

  std::string convert() {
    while ((at_ = skipNewlines(at_)) < html_.size()) {
      if (html_[at_] == '<') {
        readTag();
      } else {
        readText();
      }
    }
    if (out_.capacity() > 2 * out_.size()) out_.shrink_to_fit();
    return std::move(out_);
  }

 private:
  // What follows a text, as far as it matters.
  enum class Following { kInline, kLineBreak, kBlock };

  // Newline characters are passed over before everything that is read.
  [[nodiscard]] std::size_t skipNewlines(std::size_t at) const {
    while (const std::size_t length =
               platform::internal::newlineLength(html_, at)) {
      at += length;
    }
    return at;
  }

  [[nodiscard]] std::size_t find(char c, std::size_t from) const {
    return std::min(html_.find(c, from), html_.size());
  }

  [[nodiscard]] std::size_t skipName(std::size_t at) const {
    while (at < html_.size()) {
      if (platform::isASCIILetter(html_[at]) ||
          platform::isASCIIDigit(html_[at])) {
        ++at;
        continue;
      }
      if (static_cast<unsigned char>(html_[at]) < 0x80) break;
      const platform::CodePoint character = platform::codePointAt(html_, at);
      if (!CharacterSet::alphanumerics().contains(character.value)) break;
      at += character.size;
    }
    return at;
  }

  // Reads the tag whose "<" stands at the position. One without a name
  // ("<!DOCTYPE", "< ") is left, and its rest becomes text. Deliberate.
  void readTag() {
    ++at_;
    const std::size_t slash = skipNewlines(at_);
    const bool isClosing = slash < html_.size() && html_[slash] == '/';
    if (isClosing) at_ = slash + 1;
    const std::size_t nameStart = skipNewlines(at_);
    const std::size_t nameEnd = skipName(nameStart);
    if (nameEnd == nameStart) return;

    const std::size_t end = find('>', nameEnd);
    at_ = std::min(end + 1, html_.size());
    takeListTag(html_.substr(nameStart, nameEnd - nameStart), isClosing);
  }

  void takeListTag(std::string_view name, bool isClosing) {
    if (name.size() != 2) return;
    if (equalsIgnoringASCIICase(name, "li")) {
      isInsideItem_ = !isClosing;
      if (isClosing && counter_ != 0) ++counter_;
    } else if (!isClosing && equalsIgnoringASCIICase(name, "ol")) {
      counter_ = 1;
    } else if (!isClosing && equalsIgnoringASCIICase(name, "ul")) {
      counter_ = 0;
    }
  }

  void readText() {
    const std::size_t end = find('<', at_);
    if (isInsideItem_) appendMarker();
    isInsideItem_ = false;  // only the first text of an item is marked
    const std::size_t start = out_.size();
    out_.append(html_, at_, end - at_);
    std::replace(out_.begin() + static_cast<std::ptrdiff_t>(start), out_.end(),
                 '\n', ' ');
    at_ = end;
    switch (following(end)) {
      case Following::kLineBreak:
        out_.append(kLineSeparator);
        [[fallthrough]];
      case Following::kBlock:
        out_.push_back('\n');
        break;
      case Following::kInline:
        break;
    }
  }

  void appendMarker() {
    if (counter_ == 0) {
      out_.append(kBullet);
      return;
    }
    char digits[24];
    char* const end =
        std::to_chars(digits, digits + sizeof digits, counter_).ptr;
    out_.append("\t").append(digits, end).append(".\t");
  }

  // peekNextTag() at `at`, which is a "<" or the end. The answer is the same
  // from every "<" that it passed over, so a run of closing tags is walked
  // once.
  Following following(std::size_t at) {
    if (at >= answeredFrom_ && at <= answeredTo_) return answer_;
    answeredFrom_ = at;
    answeredTo_ = at;
    answer_ = lookAhead(at);
    return answer_;
  }

  Following lookAhead(std::size_t at) {
    while (true) {
      const std::size_t start = skipNewlines(at);
      const std::size_t tag = find('<', start);
      // Past the tail of the closing tag that was passed over last.
      const std::string_view text = html_.substr(start, tag - start);
      if (holdsText(text.substr(text.find('>') + 1))) return Following::kInline;
      if (tag == html_.size()) return Following::kBlock;
      answeredTo_ = tag;
      at = skipNewlines(tag + 1);
      if (at < html_.size() && html_[at] == '/') {
        ++at;
        continue;
      }
      const std::string_view name = html_.substr(at, skipName(at) - at);
      if (equalsIgnoringASCIICase(name, "br")) return Following::kLineBreak;
      return isInlineTag(name) ? Following::kInline : Following::kBlock;
    }
  }

  static bool holdsText(std::string_view text) {
    std::size_t at = 0;
    while (const std::size_t length =
               platform::internal::spaceLength(text, at)) {
      at += length;
    }
    return at < text.size();
  }

  std::string_view html_;
  std::size_t at_;
  std::string out_;
  std::int64_t counter_ = 0;  // 0 marks items with bullets
  bool isInsideItem_ = false;
  // Positions from which following() gives `answer_`.
  std::size_t answeredFrom_ = std::string_view::npos;
  std::size_t answeredTo_ = 0;
  Following answer_ = Following::kBlock;
};

}  // namespace

std::string stringWithHTMLText(std::string_view html) {
  return HTMLDataConverter(html).convert();
}

std::string stringWithHTMLData(std::string_view htmlBytes,
                               const HTMLDataOptions& options,
                               TagAttributes* /*documentAttributes*/) {
  platform::StringEncoding encoding = platform::kStringEncodingUTF8;
  if (options.textEncodingName) {
    encoding = platform::stringEncodingForIANAName(*options.textEncodingName);
  }
  if (encoding == platform::kStringEncodingUTF8) {
    return platform::isValidUTF8(htmlBytes) ? stringWithHTMLText(htmlBytes)
                                            : std::string();
  }
  const auto html = platform::textFromBytes(htmlBytes, encoding);
  return html ? stringWithHTMLText(*html) : std::string();
}

std::optional<TagAttributes> dictionaryOfAttributesFromTag(
    std::string_view tag) {
  static const CharacterSet quotes = CharacterSet::withCharactersIn("'\"");
  const CharacterSet& nameCharacters = CharacterSet::alphanumerics();
  platform::Scanner scanner(tag);
  scanner.skipping(&CharacterSet::whitespaceAndNewlines());
  if (scanner.scanString("<")) scanner.scanCharacters(nameCharacters);

  TagAttributes attributes;
  while (!scanner.isAtEnd()) {
    const auto name = scanner.scanCharacters(nameCharacters);
    scanner.scanString("=");
    // A run of quotes ends at the same run: `a=""b""` has the value `b`, and an
    // empty value reaches on to the next empty one. Deliberate.
    const auto quote = scanner.scanCharacters(quotes);
    if (!quote) break;
    const auto value = scanner.scanUpToString(*quote);
    scanner.scanString(*quote);
    if (name && value) {
      attributes.insert_or_assign(std::string(*name), std::string(*value));
    }
  }
  if (attributes.empty()) return std::nullopt;
  return attributes;
}

std::uint32_t integerValueFromHex(std::string_view text) {
  platform::Scanner scanner(text);
  scanner.skipping(&CharacterSet::whitespaceAndNewlines());
  return scanner.scanHexInteger().value_or(0);
}

bool isInlineTag(std::string_view tagName) {
  static constexpr std::array<std::string_view, 9> kNames = {
      "font", "b", "strong", "em", "i", "sub", "sup", "u", "a"};
  return std::any_of(kNames.begin(), kNames.end(), [&](std::string_view name) {
    return equalsIgnoringASCIICase(tagName, name);
  });
}

}  // namespace quillhaven::html
