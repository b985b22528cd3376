#include "cli/json_writer.h"

#include <cmath>

#include <cstdint>
#include <cstring>

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

bool needsEscape(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\';
}

// The number of bytes at the start of `text` that stand for themselves, found
// eight at a time: bodies are long and escapes rare.
std::size_t plainPrefixLength(std::string_view text) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  std::size_t at = 0;
  while (text.size() - at >= sizeof(std::uint64_t)) {
    std::uint64_t word;
    std::memcpy(&word, text.data() + at, sizeof word);
    const std::uint64_t quote = word ^ (kEach * '"');
    const std::uint64_t backslash = word ^ (kEach * '\\');
    // A borrow may mark a byte too many, but never hides one.
    const std::uint64_t marked = ((word - kEach * 0x20) & ~word) |
                                 ((quote - kEach) & ~quote) |
                                 ((backslash - kEach) & ~backslash);
    if ((marked & kEach * 0x80) != 0) break;
    at += sizeof word;
  }
  while (at < text.size() && !needsEscape(text[at])) ++at;
  return at;
}

void appendEscape(std::string& json, char c) {
  json.push_back('\\');
  switch (c) {
    case '\n':
      json.push_back('n');
      break;
    case '\r':
      json.push_back('r');
      break;
    case '\t':
      json.push_back('t');
      break;
    case '\b':
      json.push_back('b');
      break;
    case '\f':
      json.push_back('f');
      break;
    case '"':
    case '\\':
      json.push_back(c);
      break;
    default: {
      constexpr char kDigits[] = "0123456789abcdef";
      json.append("u00");
      json.push_back(kDigits[c >> 4]);
      json.push_back(kDigits[c & 15]);
    }
  }
}

// Appends valid UTF-8 without quotes.
void appendEscaped(std::string& json, std::string_view text) {
  while (true) {
    const std::size_t plain = plainPrefixLength(text);
    json.append(text.substr(0, plain));
    if (plain == text.size()) return;
    appendEscape(json, text[plain]);
    text.remove_prefix(plain + 1);
  }
}

// Length of the well-formed sequence at the start of `bytes`, or 0.
std::size_t sequenceLength(std::string_view bytes) {
  for (std::size_t length = 1; length <= 4 && length <= bytes.size();
       ++length) {
    if (platform::isValidUTF8(bytes.substr(0, length))) return length;
  }
  return 0;
}

std::string repairedUTF8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + 16);
  while (!bytes.empty()) {
    const std::size_t length = sequenceLength(bytes);
    text.append(length == 0 ? kReplacement : bytes.substr(0, length));
    bytes.remove_prefix(length == 0 ? 1 : length);
  }
  return text;
}

}  // namespace

void appendJsonString(std::string& json, std::string_view text) {
  json.push_back('"');
  if (platform::isValidUTF8(text)) {
    appendEscaped(json, text);
  } else {
    appendEscaped(json, repairedUTF8(text));
  }
  json.push_back('"');
}

void JsonWriter::key(std::string_view name) {
  beginElement();
  appendJsonString(json_, name);
  json_.append(layout_ == Layout::kIndented ? ": " : ":");
  afterKey_ = true;
}

void JsonWriter::value(std::string_view text) {
  beginElement();
  appendJsonString(json_, text);
}

void JsonWriter::value(double number) {
  if (!std::isfinite(number)) {
    null();
    return;
  }
  char digits[32];
  const auto written = std::to_chars(digits, digits + sizeof digits, number);
  literal({digits, static_cast<std::size_t>(written.ptr - digits)});
}

void JsonWriter::literal(std::string_view json) {
  beginElement();
  json_.append(json);
}

void JsonWriter::begin(char bracket) {
  beginElement();
  json_.push_back(bracket);
  ++depth_;
  isFirst_ = true;
}

void JsonWriter::end(char bracket) {
  --depth_;
  if (!isFirst_) beginLine();
  json_.push_back(bracket);
  isFirst_ = false;
}

// Writes what stands between the last part and a new key or element.
void JsonWriter::beginElement() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (!isFirst_) json_.push_back(',');
  if (depth_ > 0) beginLine();
  isFirst_ = false;
}

void JsonWriter::beginLine() {
  if (layout_ == Layout::kOneLine) return;
  json_.push_back('\n');
  json_.append(2 * depth_, ' ');
}

}  // namespace quillhaven::cli
