#include "cli/json_writer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace quillhaven::cli {
namespace {

std::string jsonString(std::string_view text) {
  std::string json;
  appendJsonString(json, text);
  return json;
}

TEST(AppendJsonString, EscapesWhatJsonForbidsAndRepairsUTF8) {
  using namespace std::string_view_literals;
  const struct {
    std::string_view text, json;
  } cases[] = {
      {"", R"("")"},
      {"a\"b\\c", R"("a\"b\\c")"},
      {"\b\f\n\r\t", R"("\b\f\n\r\t")"},
      {"\0\x01\x1F\x20\x7F"sv, "\"\\u0000\\u0001\\u001f \x7F\""},
      {"</é€😀>", R"("</é€😀>")"},
      {"\xFF", "\"\xEF\xBF\xBD\""},
      {"a\xC3(\xE2\x82\"\xC3\xA9",
       "\"a\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD\\\"\xC3\xA9\""},
      {"cut \xF0\x9F\x98", "\"cut \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
      {"\xED\xA0\x80", "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json);
    EXPECT_EQ(jsonString(c.text), c.json);
  }
}

// The scan takes eight bytes at a time: every byte at every place in them.
TEST(AppendJsonString, FindsEveryEscapeAtEveryPlace) {
  for (std::size_t size = 1; size <= 18; ++size) {
    for (std::size_t at = 0; at < size; ++at) {
      for (int byte = 0; byte < 0x80; ++byte) {
        std::string text(size, byte % 2 == 0 ? '!' : '~');
        text[at] = static_cast<char>(byte);
        const std::string json = jsonString(text);
        ASSERT_EQ(nlohmann::json::parse(json).get<std::string>(), text)
            << size << " " << at << " " << byte;
      }
    }
  }
}

void writeSample(JsonWriter& json) {
  json.beginObject();
  json.key("empty");
  json.beginObject();
  json.endObject();
  json.key("list");
  json.beginArray();
  json.value(true);
  json.value(-9223372036854775807 - 1);
  json.beginArray();
  json.endArray();
  json.beginObject();
  json.key("a");
  json.value(std::optional<std::string>());
  json.key("b");
  json.value("text");
  json.endObject();
  json.endArray();
  json.key("last");
  json.literal("1.50");
  json.endObject();
}

TEST(JsonWriter, LaysOutNestedValuesBothWays) {
  std::string line = "x";
  JsonWriter oneLine(line);
  writeSample(oneLine);
  EXPECT_EQ(line, R"(x{"empty":{},"list":[true,-9223372036854775808,[],)"
                  R"({"a":null,"b":"text"}],"last":1.50})");

  std::string lines;
  JsonWriter indented(lines, JsonWriter::Layout::kIndented);
  writeSample(indented);
  EXPECT_EQ(lines, R"({
  "empty": {},
  "list": [
    true,
    -9223372036854775808,
    [],
    {
      "a": null,
      "b": "text"
    }
  ],
  "last": 1.50
})");
}

}  // namespace
}  // namespace quillhaven::cli
