#include "quillhaven/html/html_data.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/html/html_text.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/platform/text/scanner.h"

namespace quillhaven::html {
namespace {

TEST(HTMLData, ConvertsBlocksListsAndBreaks) {
  const struct {
    std::string_view html, text;
  } cases[] = {
      {"", ""},
      {"Hello", "Hello\n"},
      {"<ol><li>One</li><li>Two</li></ol>", "\t1.\tOne\n\t2.\tTwo\n"},
      {"<ul><li>A</li></ul>", "\t\xE2\x80\xA2\tA\n"},
      {"Hello<br>World", "Hello\xE2\x80\xA8\nWorld\n"},
      {"Hello<BR/>World", "Hello\xE2\x80\xA8\nWorld\n"},
      {"a <b>bold</b> c", "a bold c\n"},
      {"a<font>b</font><p>c", "ab\nc\n"},
      {"<head><title>T</title></head><BODY class=x>B</body>", "B\n"},
      {" \n <body>B", "B\n"},
      {"<title>T</title>B", "TB\n"},  // after "</title>" text comes
      {"a</p></p>b", "ab\n"},
      {"a</p> </div><p>b", "a\n \nb\n"},
      {"a</p>\n<br>b", "a\xE2\x80\xA8\nb\n"},
      {"x\ny\r\nz\n", "x y\r z \n"},  // inner feeds become blanks
      {"\n\r\x0B"
       "a<b>\n\n b",
       "a b\n"},
      {"<!DOCTYPE html>x", "!DOCTYPE html>x\n"},  // nameless tags are text
      {"a < b", "a \n b\n"},
      {"a<", "a\n"},
      {"<p", ""},
      {"<p>a<p", "a\n"},
      {"</>x", ">x\n"},
      {"<ol><li>a<p>b</li>", "\t1.\ta\nb\n"},  // one marker an item
      {"<li>x</li><li></li><ol><li><b>y</b></li></ol><ul><li>z",
       "\t\xE2\x80\xA2\tx\n\t1.\ty\n\t\xE2\x80\xA2\tz\n"},
      {"<ol></li></li><li>c", "\t3.\tc\n"},
      {"<ol></ol><li>c", "\t1.\tc\n"},  // closing resets nothing
      {"a<\nb>c<\n/\nb>d", "acd\n"},    // newlines within tags
      {"&#65;&amp;", "&#65;&amp;\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringWithHTMLData(c.html), c.text)
        << testing::PrintToString(c.html);
  }
}

// The conversion once more with the platform's scanner, step by step.
std::string convertedSlowly(std::string_view html) {
  using platform::CharacterSet;
  platform::Scanner scanner(html);
  if (const auto body = platform::findIgnoringCase(html, "<body")) {
    scanner.setPosition(body->position);
  }
  scanner.skipping(&CharacterSet::newlines());
  std::string out;
  int counter = 0;
  bool isInsideItem = false;
  while (!scanner.isAtEnd()) {
    if (scanner.scanString("<")) {
      const bool isClosing = scanner.scanString("/").has_value();
      const auto name = scanner.scanCharacters(CharacterSet::alphanumerics());
      if (!name) continue;
      scanner.scanUpToString(">");
      scanner.scanString(">");
      if (*name == "li" && isClosing && counter != 0) ++counter;
      if (*name == "li") isInsideItem = !isClosing;
      if (!isClosing && *name == "ol") counter = 1;
      if (!isClosing && *name == "ul") counter = 0;
      continue;
    }
    std::string text(*scanner.scanUpToString("<"));
    for (char& c : text) c = c == '\n' ? ' ' : c;
    const auto next = peekNextTag(scanner);
    if (isInsideItem && counter == 0) text.insert(0, "\t\xE2\x80\xA2\t");
    if (isInsideItem && counter != 0) {
      text.insert(0, "\t" + std::to_string(counter) + ".\t");
    }
    if (next == "br") text += "\xE2\x80\xA8";
    if (!next || !isInlineTag(*next)) text += '\n';
    out += text;
    isInsideItem = false;
  }
  return out;
}

TEST(HTMLData, AgreesWithTheScanner) {
  std::mt19937 random(13);
  const std::string_view pieces[] = {
      "<",      ">",    "/",        "<p>",          "</p>", "</b>",
      "<b>",    "<br>", "<li>",     "</li>",        "<ol>", "<ul>",
      "text",   " ",    "\n",       "\r\n",         "<!--", "-->",
      "<body>", "</",   "\xC3\xA9", "\xE2\x80\xA8", "<\n",  "a=\"b\"",
      "br"};
  for (int round = 0; round < 5000; ++round) {
    std::string html;
    for (std::size_t count = random() % 25; count > 0; --count) {
      html += pieces[random() % std::size(pieces)];
    }
    ASSERT_EQ(stringWithHTMLText(html), convertedSlowly(html))
        << testing::PrintToString(html);
  }
}

TEST(HTMLData, DecodesByTheNamedCharset) {
  const struct {
    std::string_view bytes;
    std::optional<std::string> name;
    std::string_view text;
  } cases[] = {
      {"caf\xE9", "iso-8859-1", "caf\xC3\xA9\n"},
      {"caf\xC3\xA9", {}, "caf\xC3\xA9\n"},
      {"caf\xE9", {}, ""},
      {"caf\xE9", "us-ascii", ""},
      {"caf", "no-such-charset", ""},
      {"\x83\x65\x83\x58", "Shift_JIS", "\xE3\x83\x86\xE3\x82\xB9\n"},
  };
  for (const auto& c : cases) {
    HTMLDataOptions options;
    options.textEncodingName = c.name;
    TagAttributes documentAttributes;
    EXPECT_EQ(stringWithHTMLData(c.bytes, options, &documentAttributes), c.text)
        << c.bytes;
    EXPECT_TRUE(documentAttributes.empty());
  }
}

TEST(Attributes, ReadQuotedValuesUntilThereIsNone) {
  const struct {
    std::string_view tag;
    std::optional<TagAttributes> attributes;
  } cases[] = {
      {"<a href=\"x\" target='_blank'>",
       TagAttributes{{"href", "x"}, {"target", "_blank"}}},
      {"<td width=5 class=\"c\">", {}},
      {"", {}},
      {"<p>", {}},
      {"a='1'b='2'", TagAttributes{{"a", "1"}, {"b", "2"}}},
      {"a \n=\t ' 1 '", TagAttributes{{"a", "1 "}}},
      {"a'1'", TagAttributes{{"a", "1"}}},  // "=" may be missing
      {"a='1' A='2' a='3'", TagAttributes{{"A", "2"}, {"a", "3"}}},
      {"='1' b='2'", TagAttributes{{"b", "2"}}},  // no name
      {"a=\"it's\"", TagAttributes{{"a", "it's"}}},
      {"a='\"x'\" b='y'", TagAttributes{{"a", "x"}, {"b", "y"}}},
      {"a=\"\" b=\"c\"", TagAttributes{{"a", "b=\"c\""}}},
      {"a='1", TagAttributes{{"a", "1"}}},           // never closed
      {"a='1' b c='2'", TagAttributes{{"a", "1"}}},  // stops at a bare one
      {"data-x='1'", {}},
      {"\xC3\xA9='1'", TagAttributes{{"\xC3\xA9", "1"}}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(dictionaryOfAttributesFromTag(c.tag), c.attributes) << c.tag;
  }
}

TEST(Attributes, NamesAndNumbers) {
  const struct {
    std::string_view text;
    std::uint32_t value;
  } numbers[] = {{"ff", 255},
                 {"0x1A", 26},
                 {"zz", 0},
                 {"", 0},
                 {" 10px", 16},
                 {"0x", 0},
                 {"fffffffff", 4294967295}};
  for (const auto& c : numbers) {
    EXPECT_EQ(integerValueFromHex(c.text), c.value) << c.text;
  }
  for (std::string_view name : {"a", "FONT", "Strong", "sup"}) {
    EXPECT_TRUE(isInlineTag(name)) << name;
  }
  for (std::string_view name : {"", "br", "span", "aa", "\xE2\x84\xAA"}) {
    EXPECT_FALSE(isInlineTag(name)) << name;
  }
}

}  // namespace
}  // namespace quillhaven::html
