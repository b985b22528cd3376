#include "quillhaven/html/html_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/text/regular_expression.h"

namespace quillhaven::html {
namespace {

// Text put together from `pieces`, most of which mean something to the code
// under test.
std::string generatedText(std::mt19937& random,
                          const std::vector<std::string_view>& pieces,
                          std::size_t most) {
  std::string text;
  for (std::size_t count = random() % most; count > 0; --count) {
    text += pieces[random() % pieces.size()];
  }
  return text;
}

TEST(ConvertingHTMLToPlainText, KeepsTextAndPartsItAtClosingTags) {
  const struct {
    std::string_view html, text;
  } cases[] = {
      {"", ""},
      {"<p>Hello</p><p>World</p>", "Hello World "},
      {"Hello<br>World", "HelloWorld"},
      {"<b>Bold</b>text", "Boldtext"},
      {"x</SPAN>y</Label>z</acronym>", "xyz"},
      {"x</code>y", "x y"},
      {"x</>y", "x y"},   // no name is no inline name
      {"x</b1>y", "xy"},  // letters only make the name
      {"x</p", "x"},      // at the end nothing is parted
      {"x</p ", "x "},
      {"</p>x", "x"},  // nor before any text
      {"a <!-- c --> b", "a  b"},
      {"a<!-->b-->c", "ac"},
      {"a<!-- b", "a"},
      {"a<!- b>c", "ac"},
      {"<script>x()</script>y", "y"},
      {"<scripty>x</script>y", "y"},
      {"<SCRIPT>x</SCRIPT>y", "x y"},  // exact case only
      {"<script>x", ""},
      {"a<b", "a"},
      {"a < b > c", "a  c"},
      {"  a \t\r\n b  ", "a b"},
      {" ", ""},
      {"a\xC2\xA0 b\vc", "a\xC2\xA0 b\vc"},  // neither is white here
      {"a\xC2\x85\xE2\x80\xA8\f\xE2\x80\xA9"
       "b",
       "a b"},
      {"\xE2\x80\x99\xC2\xB5 \xE2\x82\xAC",
       "\xE2\x80\x99\xC2\xB5 \xE2\x82\xAC"},
      {"&#65;&amp;&nbsp;", "A&amp;&nbsp;"},
      {"&#<b>65;", "A"},  // references are read last
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringByConvertingHTMLToPlainText(c.html), c.text) << c.html;
  }
}

// The rules once more, character by character and without vectors.
std::string convertedSlowly(std::string_view html) {
  const auto whiteLength = [&](std::size_t at) -> std::size_t {
    for (const std::string_view white :
         {" ", "\t", "\n", "\r", "\f", "\xC2\x85", "\xE2\x80\xA8",
          "\xE2\x80\xA9"}) {
      if (html.substr(at).starts_with(white)) return white.size();
    }
    return 0;
  };
  std::string out;
  for (std::size_t at = 0; at < html.size();) {
    if (html[at] == '<') {
      bool blank = false;
      std::size_t end = at + 1;
      if (end < html.size() && html[end] == '/') {
        std::string name;
        for (++end; end < html.size() && std::isalpha(html[end]); ++end) {
          name += static_cast<char>(std::tolower(html[end]));
        }
        blank = name != "b" && end < html.size();
      }
      if (blank && !out.empty()) out += ' ';
      end = html.find('>', end);
      at = end == std::string_view::npos ? html.size() : end + 1;
    } else if (whiteLength(at) != 0) {
      while (at < html.size() && whiteLength(at) != 0) at += whiteLength(at);
      if (!out.empty() && at < html.size()) out += ' ';
    } else {
      out += html[at++];
    }
  }
  return out;
}

TEST(ConvertingHTMLToPlainText, DoesTheSameSixteenBytesAtATime) {
  std::mt19937 random(7);
  const std::vector<std::string_view> pieces = {"word",
                                                "a",
                                                " ",
                                                " ",
                                                "  ",
                                                "\n",
                                                "\v",
                                                "\t ",
                                                "<p>",
                                                "</p>",
                                                "</b>",
                                                "<b",
                                                ">",
                                                "\xC2\x85",
                                                "\xC2\xB5",
                                                "\xE2\x80\xA8",
                                                "\xE2\x80\x99",
                                                "0123456789abcdef"};
  for (int round = 0; round < 3000; ++round) {
    const std::string html = generatedText(random, pieces, 40);
    ASSERT_EQ(stringByConvertingHTMLToPlainText(html), convertedSlowly(html))
        << testing::PrintToString(html);
  }
}

TEST(ConvertingPlainTextToHTML, WrapsParagraphs) {
  const struct {
    std::string_view text, tag, html;
  } cases[] = {
      {"a\n\nb\nc", "p", "<p>a</p><p>b<br />c</p>"},
      {"a\n\nb\nc", "div", "<div>a</div><div><br /></div><div>b<br />c</div>"},
      {"a\n\nb\nc", "span", "a<br /><br />b<br />c"},
      {"a\n \t\n\n  b", "p", "<p>a</p><p>  b</p>"},
      {"a\n \n", "p", "<p>a</p><p></p>"},
      {"a\n  ", "p", "<p>a<br />  </p>"},
      {"a\n \tb", "p", "<p>a<br /> \tb</p>"},
      {"a\r\n\r\nb", "p", "<p>a\r<br />\r<br />b</p>"},  // "\r" is no blank
      {"", "div", "<div></div>"},
      {"a < b & \xC3\xA9", "P", "a < b & \xC3\xA9"},  // nothing is escaped
      {"<b>x</b>", "p", "<b>x</b>"},                  // is HTML already
      {"<b>x</b>\n", "p", "<p><b>x</b><br /></p>"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringByConvertingPlainTextToHTMLWithParagraphTag(c.text, c.tag),
              c.html)
        << c.text;
  }
  EXPECT_EQ(stringByConvertingPlainTextToHTML("a"), "<div>a</div>");
}

TEST(EncodingHTMLEntities, EscapesUnlessTheTextMayBeUnicode) {
  EXPECT_EQ(stringByEncodingHTMLEntities("\xC3\xA9<"), "&#233;<");
  EXPECT_EQ(stringByEncodingHTMLEntities("\xC3\xA9<", false), "&#233;<");
  EXPECT_EQ(stringByEncodingHTMLEntities("\xC3\xA9<", true), "\xC3\xA9<");
  EXPECT_EQ(stringByDecodingHTMLEntities("&#233;&lt;"), "\xC3\xA9&lt;");
}

TEST(NewLinesAsBRs, CountsBreaks) {
  const struct {
    std::string_view text, html;
  } cases[] = {
      {"", ""},
      {"a\nb", "a<br />b"},
      {"a\r\nb", "a<br />b"},
      {"\n\r\n", "<br /><br /><br />"},  // "\r\n" counts as one only in front
      {"\r\n\r\n", "<br /><br />"},
      {"\r\n\n\r\n", "<br /><br /><br /><br />"},
      {"a\r", "a<br />"},
      {"\f\xC2\x85\xE2\x80\xA8\xE2\x80\xA9", "<br /><br /><br /><br />"},
      {"a\v\t\xC2\xA0\xE2\x80\xA6", "a\v\t\xC2\xA0\xE2\x80\xA6"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringWithNewLinesAsBRs(c.text), c.html)
        << testing::PrintToString(c.text);
  }
}

TEST(RemovingNewLinesAndWhitespace, CollapsesRuns) {
  EXPECT_EQ(stringByRemovingNewLinesAndWhitespace(" \t a \n\r b<c \f"),
            "a b<c");
  EXPECT_EQ(stringByRemovingNewLinesAndWhitespace(" \n "), "");
  EXPECT_EQ(stringByRemovingNewLinesAndWhitespace(
                "one two three four  five\xE2\x80\xA9six seven eight nine\v "),
            "one two three four five six seven eight nine\v");
}

TEST(Linkifying, WrapsBareAddresses) {
  const struct {
    std::string_view text, html;
  } cases[] = {
      {"see https://x.example/path?a=1.",
       "see <a href=\"https://x.example/path?a=1\" "
       "class=\"linkified\">https://x.example/path?a=1</a>."},
      {"href=\"http://x.example\"", "href=\"http://x.example\""},
      {"http://localhost/", "http://localhost/"},
      {"xhttp://a.b", "xhttp://a.b"},
      {"HTTP://a.b", "HTTP://a.b"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringByLinkifyingURLs(c.text), c.html);
  }
}

TEST(HandWrittenPatterns, AgreeWithICU) {
  const platform::RegularExpression address(
      R"re((?<!=")\b((http|https):\/\/[\w\-_]+(\.[\w\-_]+)+)re"
      R"re(([\w\-\.,@?^=%%&amp;:/~\+#]*[\w\-\@?^=%%&amp;/~\+#])?))re");
  const platform::RegularExpression element(
      R"(<([a-z][a-z0-9]*)\b[^>]*>(.*?)</\1>)");
  const platform::RegularExpression emptyLines(R"(\n([ \t]*\n)+)");
  std::mt19937 random(11);
  const std::vector<std::string_view> addressPieces = {"http",
                                                       "https",
                                                       "://",
                                                       "s",
                                                       "a",
                                                       "example",
                                                       ".",
                                                       "..",
                                                       "-",
                                                       "_",
                                                       "/",
                                                       "?",
                                                       "=",
                                                       "=\"",
                                                       ",",
                                                       ":",
                                                       ";",
                                                       "&",
                                                       "#",
                                                       "@",
                                                       "%",
                                                       " ",
                                                       "\n",
                                                       "$",
                                                       "http://a.b",
                                                       "\xC3\xA9",
                                                       "\xCC\x81",
                                                       "\xE2\x80\x8B",
                                                       "\xE2\x80\x8D",
                                                       "\xE2\x82\xAC",
                                                       "\xEF\xBC\xBF",
                                                       "(",
                                                       "\\"};
  const std::vector<std::string_view> elementPieces = {
      "<",  ">",     "</", "a",        "b1",       "<b>",          "</b>",
      "<b", "</b1>", " ",  "\n",       "\xC2\x85", "\xE2\x80\xA8", "\f",
      "x",  "_",     "B",  "\xC3\xA9", "\xCC\x81", "\xC2\xAD",     "1",
      "/"};
  const std::vector<std::string_view> linePieces = {"\n", "\n", " ",
                                                    "\t", "a",  "\r"};
  for (int round = 0; round < 6000; ++round) {
    const std::string text = generatedText(random, addressPieces, 14);
    ASSERT_EQ(stringByLinkifyingURLs(text),
              address.replacingMatches(
                  text, "<a href=\"$1\" class=\"linkified\">$1</a>"))
        << testing::PrintToString(text);
    const std::string tag = "<" + generatedText(random, elementPieces, 8) +
                            (random() % 2 != 0 ? "</b>" : "");
    ASSERT_EQ(containsHTMLTag(tag), element.matches(tag))
        << testing::PrintToString(tag);
    const std::string lines = generatedText(random, linePieces, 10);
    const std::string paragraphs =
        "<p>" + emptyLines.replacingMatches(lines, "</p><p>") + "</p>";
    ASSERT_EQ(stringByConvertingPlainTextToHTMLWithParagraphTag(lines, "p"),
              platform::RegularExpression("\n").replacingMatches(paragraphs,
                                                                 "<br />"))
        << testing::PrintToString(lines);
  }
}

TEST(StrippingTags, RemovesSomeTagsAndBlanksOthers) {
  const struct {
    std::string_view text, expected;
  } cases[] = {
      {"<div>a</div>  <em>b</em>", "a b"},
      {"a  b", "a  b"},  // no tag, no change
      {"a<b>c", "a c"},
      {"x<a>y</a><span>z</span>", "xyz"},
      {"x<a href=\"u\">y</a>z", "x yz"},
      {"<SPAN>a</SPAN><span>b</span>", "a b"},  // the first decides
      {"x<span>a<SPAN>b", "xab"},               //
      {"a<b", "a<b"},                           // never closed
      {"a<>b", "a b"},
      {"a <b <c> d", "a d"},
      {"x<i>y<!-- <i> -->z", "x y<!-- -->z"},  // "<i>" was first
      {"<!-- <i> -->x<i>y", "-->x y"},         // "<!-- <i>" was first
      {"<i>a<x <i> c><x>b", "a<x c> b"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringByStrippingTags(c.text), c.expected) << c.text;
  }
}

TEST(PeekNextTag, LooksPastClosingTags) {
  const struct {
    std::string_view text;
    std::optional<std::string_view> name;
  } cases[] = {
      {"</div>  <P class=x>", "p"},
      {"text <i>", "b"},
      {"<h1>", "h1"},
      {"", {}},
      {"   ", {}},
      {"  <br>", "br"},
      {"</p>text<i>", "b"},
      {"</p><", {}},
      {"<!-- x -->", {}},
      {"< p>", {}},
      {"class=x> <Table>", "table"},  // inside a tag
      {"class=x> y<Table>", "b"},
      {"<\xC3\x89>", "\xC3\xA9"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    platform::Scanner scanner(c.text);
    EXPECT_EQ(peekNextTag(scanner), c.name);
    EXPECT_EQ(scanner.position(), 0U);
  }
}

}  // namespace
}  // namespace quillhaven::html
