// Writes JSON by appending it to a string, without building a tree first.
#ifndef QUILLHAVEN_CLI_JSON_WRITER_H_
#define QUILLHAVEN_CLI_JSON_WRITER_H_

#include <charconv>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::cli {

// Appends `text` as a JSON string, its quotes included. Text stays UTF-8; each
// byte that belongs to no well-formed sequence becomes U+FFFD.
void appendJsonString(std::string& json, std::string_view text);

// Appends one JSON value, part by part in document order, to a string that
// outlives the writer. In an object, key() comes before each value. One thread
// at a time.
class JsonWriter {
 public:
  // kOneLine has no blanks; kIndented has a line for every member and element,
  // indented by two blanks a level.
  enum class Layout { kOneLine, kIndented };

  explicit JsonWriter(std::string& json, Layout layout = Layout::kOneLine)
      : json_(json), layout_(layout) {}

  void beginObject() { begin('{'); }
  void endObject() { end('}'); }
  void beginArray() { begin('['); }
  void endArray() { end(']'); }
  void key(std::string_view name);

  void null() { literal("null"); }
  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(std::same_as<bool> auto truth) {
    literal(truth ? "true" : "false");
  }
  template <std::integral Number>
  requires(!std::same_as<Number, bool>) void value(Number number) {
    char digits[24];
    const auto written = std::to_chars(digits, digits + sizeof digits, number);
    literal({digits, static_cast<std::size_t>(written.ptr - digits)});
  }
  // In as few digits as give the same number again; null for what JSON has no
  // number for.
  void value(double number);
  // An absent value is null.
  template <typename Value>
  void value(const std::optional<Value>& optional) {
    if (optional) {
      value(*optional);
    } else {
      null();
    }
  }

  // Appends `json`, a JSON value already.
  void literal(std::string_view json);

 private:
  void begin(char bracket);
  void end(char bracket);
  void beginElement();
  void beginLine();

  std::string& json_;
  const Layout layout_;
  std::size_t depth_ = 0;
  bool isFirst_ = true;  // nothing stands in the open container yet
  bool afterKey_ = false;
};

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_JSON_WRITER_H_
