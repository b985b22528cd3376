#include "quillhaven/platform/files/internal/property_list_xml.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/files/internal/property_list_limits.h"
#include "quillhaven/platform/files/internal/property_list_text.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform::internal {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes a plus sign off, which from_chars() does not know.
std::string_view withoutPlus(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  return text;
}

// Decimal, or hexadecimal after "0x"; a sign may stand before either.
std::optional<PropertyList> integerFrom(std::string_view text) {
  text = trimmed(text);
  const bool isNegative = text.starts_with('-');
  text = isNegative ? text.substr(1) : withoutPlus(text);
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);

  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, isHex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  if (!isNegative) return PropertyList(number);
  constexpr std::uint64_t kLeast = std::uint64_t{1} << 63;
  if (number > kLeast) return std::nullopt;
  return PropertyList(static_cast<std::int64_t>(0 - number));
}

std::optional<PropertyList> realFrom(std::string_view text) {
  text = withoutPlus(trimmed(text));
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return PropertyList(number);
}

std::optional<PropertyList> scalarFrom(std::string_view name,
                                       std::string content) {
  if (name == "string") return PropertyList(std::move(content));
  if (name == "integer") return integerFrom(content);
  if (name == "real") return realFrom(content);
  if (name == "true" || name == "false") {
    if (!trimmed(content).empty()) return std::nullopt;
    return PropertyList(name == "true");
  }
  if (name == "date") {
    if (const auto date = dateFromText(trimmed(content))) return *date;
  } else if (name == "data") {
    if (auto bytes = bytesFromBase64Lines(content)) {
      return PropertyList::Data{std::move(*bytes)};
    }
  }
  return std::nullopt;
}

struct Tag {
  std::string_view name;
  bool isClosing = false;
  bool isEmpty = false;  // "<array/>"
};

// An array or dictionary whose closing tag is still to come.
struct OpenContainer {
  bool isDictionary = false;
  PropertyList::Array array;
  PropertyList::Dictionary dictionary;
  std::optional<std::string> key;  // waits for its value

  // False for a value without a key.
  bool add(PropertyList value) {
    if (!isDictionary) {
      array.push_back(std::move(value));
      return true;
    }
    if (!key) return false;
    dictionary.insert_or_assign(std::move(*key), std::move(value));
    key.reset();
    return true;
  }
};

// Reads one document. Keeps the open containers in a list, so that nesting
// takes no stack. One thread at a time.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text), budget_(text.size()) {}

  std::optional<PropertyList> read();

 private:
  bool startsWith(std::string_view what) const {
    return text_.substr(at_, what.size()) == what;
  }
  bool skipPast(std::string_view what);
  bool skipDocumentType();
  bool skipToTag();
  std::optional<Tag> nextTag();
  std::optional<std::string> content(std::string_view name);
  bool appendReference(std::string& content);
  bool take(const Tag& tag);
  bool open(const Tag& tag);
  bool close(std::string_view name);
  bool takeKey(const Tag& tag);
  bool takeScalar(const Tag& tag);
  bool add(PropertyList value);

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<OpenContainer> open_;
  std::optional<PropertyList> root_;
  PropertyListBudget budget_;
};

std::optional<PropertyList> Reader::read() {
  if (startsWith("\xEF\xBB\xBF")) at_ = 3;
  auto tag = nextTag();
  if (!tag) return std::nullopt;
  const bool isWrapped = tag->name == "plist" && !tag->isClosing;
  if (isWrapped) tag = nextTag();
  while (true) {
    if (!tag || !take(*tag)) return std::nullopt;
    if (root_) break;
    tag = nextTag();
  }
  if (isWrapped) {
    tag = nextTag();
    if (!tag || !tag->isClosing || tag->name != "plist") return std::nullopt;
  }
  // Nothing but comments may follow.
  if (!skipToTag() || at_ < text_.size()) return std::nullopt;
  return std::move(root_);
}

bool Reader::skipPast(std::string_view what) {
  const std::size_t found = text_.find(what, at_);
  if (found == std::string_view::npos) return false;
  at_ = found + what.size();
  return true;
}

// Skips "<!DOCTYPE ...>" with the declarations in brackets that it may hold.
// They have no say: an entity declared there is an unknown one.
bool Reader::skipDocumentType() {
  std::size_t brackets = 0;
  while (at_ < text_.size()) {
    if (startsWith("<!--")) {
      at_ += 4;
      if (!skipPast("-->")) return false;
      continue;
    }
    const char c = text_[at_++];
    if (c == '"' || c == '\'') {
      if (!skipPast(std::string_view(&c, 1))) return false;
    } else if (c == '[') {
      ++brackets;
    } else if (c == ']' && brackets > 0) {
      --brackets;
    } else if (c == '>' && brackets == 0) {
      return true;
    }
  }
  return false;
}

// Skips blanks, comments and declarations up to a tag or the end; false when
// text or something without an end stands before it.
bool Reader::skipToTag() {
  while (true) {
    at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
    if (startsWith("<!--")) {
      at_ += 4;
      if (!skipPast("-->")) return false;
    } else if (startsWith("<?")) {
      if (!skipPast("?>")) return false;
    } else if (startsWith("<!DOCTYPE")) {
      if (!skipDocumentType()) return false;
    } else {
      return at_ == text_.size() || text_[at_] == '<';
    }
  }
}

std::optional<Tag> Reader::nextTag() {
  if (!skipToTag() || at_ == text_.size()) return std::nullopt;
  ++at_;
  Tag tag;
  tag.isClosing = startsWith("/");
  if (tag.isClosing) ++at_;
  const std::size_t start = at_;
  while (at_ < text_.size() && isASCIILetter(text_[at_])) ++at_;
  tag.name = text_.substr(start, at_ - start);
  // Attributes have no say.
  while (at_ < text_.size()) {
    const char c = text_[at_++];
    if (c == '>') {
      tag.isEmpty = text_[at_ - 2] == '/' && !tag.isClosing;
      return tag;
    }
    if ((c == '"' || c == '\'') && !skipPast(std::string_view(&c, 1))) break;
  }
  return std::nullopt;
}

// Reads the text up to the closing tag of `name`, and that tag.
std::optional<std::string> Reader::content(std::string_view name) {
  std::string content;
  while (true) {
    const std::size_t end = text_.find_first_of("<&", at_);
    if (end == std::string_view::npos) return std::nullopt;
    content.append(text_.substr(at_, end - at_));
    at_ = end;
    if (text_[at_] == '&') {
      if (!appendReference(content)) return std::nullopt;
    } else if (startsWith("<!--")) {
      at_ += 4;
      if (!skipPast("-->")) return std::nullopt;
    } else if (startsWith("<![CDATA[")) {
      const std::size_t start = at_ + 9;
      if (!skipPast("]]>")) return std::nullopt;
      content.append(text_.substr(start, at_ - 3 - start));
    } else {
      const auto tag = nextTag();
      if (!tag || !tag->isClosing || tag->name != name) return std::nullopt;
      return content;
    }
  }
}

// Reads "&lt;" and the like, or a character reference.
bool Reader::appendReference(std::string& content) {
  static constexpr struct {
    std::string_view text;
    char character;
  } kEntities[] = {{"&lt;", '<'},
                   {"&gt;", '>'},
                   {"&amp;", '&'},
                   {"&apos;", '\''},
                   {"&quot;", '"'}};
  for (const auto& entity : kEntities) {
    if (!startsWith(entity.text)) continue;
    content.push_back(entity.character);
    at_ += entity.text.size();
    return true;
  }
  if (!startsWith("&#")) return false;
  at_ += 2;
  const bool isHex = startsWith("x");
  if (isHex) ++at_;
  std::uint32_t value = 0;
  const char* const end = text_.data() + text_.size();
  const auto read =
      std::from_chars(text_.data() + at_, end, value, isHex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr == end || *read.ptr != ';' ||
      value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
    return false;
  }
  at_ = static_cast<std::size_t>(read.ptr + 1 - text_.data());
  appendCodePoint(content, value);
  return true;
}

bool Reader::take(const Tag& tag) {
  if (tag.isClosing) return close(tag.name);
  if (tag.name == "array" || tag.name == "dict") return open(tag);
  if (tag.name == "key") return takeKey(tag);
  return takeScalar(tag);
}

bool Reader::open(const Tag& tag) {
  if (open_.size() == kMaximumPropertyListDepth) return false;
  open_.emplace_back().isDictionary = tag.name == "dict";
  return !tag.isEmpty || close(tag.name);
}

bool Reader::close(std::string_view name) {
  if (open_.empty()) return false;
  OpenContainer container = std::move(open_.back());
  open_.pop_back();
  if (!container.isDictionary) {
    return name == "array" && add(std::move(container.array));
  }
  return name == "dict" && !container.key &&
         add(std::move(container.dictionary));
}

bool Reader::takeKey(const Tag& tag) {
  if (open_.empty() || !open_.back().isDictionary || open_.back().key) {
    return false;
  }
  auto key = tag.isEmpty ? std::string() : content(tag.name);
  open_.back().key = std::move(key);
  return open_.back().key.has_value();
}

bool Reader::takeScalar(const Tag& tag) {
  auto text = tag.isEmpty ? std::string() : content(tag.name);
  if (!text) return false;
  auto value = scalarFrom(tag.name, std::move(*text));
  return value && add(std::move(*value));
}

bool Reader::add(PropertyList value) {
  if (!budget_.takeValue()) return false;
  if (!open_.empty()) return open_.back().add(std::move(value));
  root_ = std::move(value);
  return true;
}

}  // namespace

std::optional<PropertyList> propertyListFromXML(std::string_view text) {
  return Reader(text).read();
}

}  // namespace quillhaven::platform::internal
