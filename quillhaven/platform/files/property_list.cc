#include "quillhaven/platform/files/property_list.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/internal/file_reading.h"
#include "quillhaven/platform/files/internal/property_list_binary.h"
#include "quillhaven/platform/files/internal/property_list_text.h"
#include "quillhaven/platform/files/internal/property_list_xml.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kTail = "</plist>\n";

// Appends one value after the other, each on lines of its own; indented by a
// tab a level. One thread at a time.
class XMLWriter {
 public:
  // False once a limit is passed.
  bool write(const PropertyList& propertyList) {
    if (++values_ > kMaximumPropertyListValues) return false;
    return std::visit([this](const auto& value) { return append(value); },
                      propertyList.value());
  }

  std::string takeText() { return std::move(text_); }

 private:
  bool append(bool truth) { return appendLine(truth ? "<true/>" : "<false/>"); }
  bool append(std::int64_t number) { return appendNumber("integer", number); }
  bool append(std::uint64_t number) { return appendNumber("integer", number); }
  bool append(double number);
  bool append(const std::string& string) {
    return appendElement("string", string);
  }
  bool append(const PropertyList::Data& data);
  bool append(PropertyList::Date date) {
    return appendElement("date", internal::textFromDate(date));
  }
  bool append(const PropertyList::Array& array);
  bool append(const PropertyList::Dictionary& dictionary);

  template <typename Number>
  bool appendNumber(std::string_view name, Number number) {
    char digits[40];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return appendElement(name,
                         {digits, static_cast<std::size_t>(end - digits)});
  }

  void indent() { text_.append(depth_, '\t'); }
  bool appendLine(std::string_view line) {
    indent();
    text_.append(line).push_back('\n');
    return text_.size() <= kMaximumPropertyListSize;
  }
  bool appendElement(std::string_view name, std::string_view content);
  void appendEscaped(std::string_view content);

  std::string text_{kHead};
  std::size_t depth_ = 0;
  std::size_t values_ = 0;
};

// Not the shortest digits but enough of them, and always the same spelling of
// what is no number.
bool XMLWriter::append(double number) {
  if (std::isnan(number)) return appendElement("real", "nan");
  if (std::isinf(number)) {
    return appendElement("real", number < 0 ? "-infinity" : "+infinity");
  }
  return appendNumber("real", number);
}

bool XMLWriter::append(const PropertyList::Data& data) {
  appendLine("<data>");
  internal::appendBase64Lines(text_, data.bytes, std::string(depth_, '\t'));
  return appendLine("</data>");
}

bool XMLWriter::append(const PropertyList::Array& array) {
  if (depth_ == kMaximumPropertyListDepth) return false;
  if (array.empty()) return appendLine("<array/>");
  appendLine("<array>");
  ++depth_;
  for (const PropertyList& element : array) {
    if (!write(element)) return false;
  }
  --depth_;
  return appendLine("</array>");
}

bool XMLWriter::append(const PropertyList::Dictionary& dictionary) {
  if (depth_ == kMaximumPropertyListDepth) return false;
  if (dictionary.empty()) return appendLine("<dict/>");
  appendLine("<dict>");
  ++depth_;
  for (const auto& [key, value] : dictionary) {
    appendElement("key", key);
    if (!write(value)) return false;
  }
  --depth_;
  return appendLine("</dict>");
}

bool XMLWriter::appendElement(std::string_view name, std::string_view content) {
  indent();
  text_.append("<").append(name).append(">");
  appendEscaped(content);
  text_.append("</").append(name).append(">\n");
  return text_.size() <= kMaximumPropertyListSize;
}

// A carriage return as it stands would come back from an XML reader as a line
// feed, and other control characters are not allowed to stand at all.
void XMLWriter::appendEscaped(std::string_view content) {
  for (const char c : content) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '<') {
      text_.append("&lt;");
    } else if (c == '>') {
      text_.append("&gt;");
    } else if (c == '&') {
      text_.append("&amp;");
    } else if (code < 0x20 && c != '\n' && c != '\t') {
      text_.append("&#").append(std::to_string(code)).push_back(';');
    } else {
      text_.push_back(c);
    }
  }
}

}  // namespace

// Not in the header: inlined, these make GCC 12 warn of what a variant does not
// hold.
PropertyList::PropertyList(std::uint64_t bits, bool isNegative) : value_(bits) {
  if (isNegative || std::in_range<std::int64_t>(bits)) {
    value_ = static_cast<std::int64_t>(bits);
  }
}
PropertyList::PropertyList(std::string text) : value_(std::move(text)) {}
PropertyList::PropertyList(std::string_view text) : value_(std::string(text)) {}
PropertyList::PropertyList(const char* text) : value_(std::string(text)) {}
PropertyList::PropertyList(Data data) : value_(std::move(data)) {}
PropertyList::PropertyList(Array array) : value_(std::move(array)) {}
PropertyList::PropertyList(Dictionary dictionary)
    : value_(std::move(dictionary)) {}
PropertyList::PropertyList(const PropertyList&) = default;
PropertyList::PropertyList(PropertyList&&) noexcept = default;
PropertyList& PropertyList::operator=(const PropertyList&) = default;
PropertyList& PropertyList::operator=(PropertyList&&) noexcept = default;
PropertyList::~PropertyList() = default;

std::optional<PropertyList> propertyListFromBytes(std::string_view bytes) {
  if (bytes.size() > kMaximumPropertyListSize) return std::nullopt;
  if (bytes.starts_with(internal::kBinaryPropertyListMark)) {
    return internal::propertyListFromBinary(bytes);
  }
  if (!isValidUTF8(bytes)) return std::nullopt;
  return internal::propertyListFromXML(bytes);
}

std::optional<PropertyList> propertyListFromFile(const std::string& path) {
  UniqueFd fd;
  std::string bytes;
  if (internal::openRegularFile(path, fd) != 0 ||
      internal::readWhole(fd.get(), kMaximumPropertyListSize, bytes) != 0) {
    return std::nullopt;
  }
  return propertyListFromBytes(bytes);
}

std::optional<std::string> xmlFromPropertyList(
    const PropertyList& propertyList) {
  XMLWriter writer;
  if (!writer.write(propertyList)) return std::nullopt;
  std::string xml = writer.takeText();
  xml.append(kTail);
  if (xml.size() > kMaximumPropertyListSize) return std::nullopt;
  return xml;
}

}  // namespace quillhaven::platform
