#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/strings/string_helpers.h"
#include "quillhaven/strings/testing/generated_text.h"
#include "quillhaven/strings/testing/icu_pattern.h"

namespace quillhaven::strings {
namespace {

using testing::generatedText;
using testing::ICUPattern;
using testing::Pieces;
using testing::repeated;

TEST(Contains, UnderstandsWildcards) {
  const struct {
    std::string_view text, pattern;
    bool isContained;
  } cases[] = {
      {"report.pdf", "*.pdf", true},
      {"a.pdf.zip", "*.pdf", true},
      {"report.PDF", "*.pdf", false},
      {"reportxpdf", "*.pdf", false},
      {"", "", true},
      {"", "*", true},
      {"", "?", false},
      {"\n", "?", false},
      {"\n\xF0\x9F\x98\x80", "?", true},
      {"\xF0\x9F\x98\x80", "??", false},  // one code point
      {"e\xCC\x81", "e?", true},
      {"a-b-c", "a*b*c", true},
      {"a-c-b", "a*b*c", false},
      {"a\nb", "a*b", false},
      {"a\xE2\x80\xA9"
       "b",
       "a*b", false},
      {"a\na b", "a*b", true},
      {"ab", "a**?*", true},
      {"a", "a*?", false},
      {"a+b", "a+b", true},
      {"aab", "a+b", false},
      {"a\\xb", "a\\*b", true},
      {"x.y[z]", ".?[z]", true},
      {"one\ntwo three", "n?\nt*three", true},  // a line break is itself
      {"one\n\ntwo", "one\n*two", false},
      {"aaab", "a?b", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(contains(c.text, c.pattern), c.isContained)
        << ::testing::PrintToString(c.text) << " with " << c.pattern;
  }
}

// The pattern as the rule builds it: escaped, then the wildcards put back.
std::string regularExpressionFor(std::string_view wildcards) {
  std::string pattern;
  for (const char c : wildcards) {
    if (c == '*') {
      pattern += ".*";
    } else if (c == '?') {
      pattern += ".{1}";
    } else {
      if (std::string_view("+[(){}^$|\\./").find(c) != std::string_view::npos) {
        pattern += '\\';
      }
      pattern += c;
    }
  }
  return pattern;
}

TEST(Contains, AgreesWithICUOverGeneratedText) {
  std::mt19937 random = testing::seededRandom();
  const Pieces texts = {"a", "a", "b", "b", "\n", "\xC3\xA9", "\r\n", "\\"};
  const Pieces wildcards = {"a", "b", "b",  "*",        "*",  "?",
                            "?", "a", "\n", "\xC3\xA9", "\\", "]"};
  int contained = 0;
  constexpr int kRounds = 20000;
  for (int round = 0; round < kRounds; ++round) {
    const std::string text = generatedText(random, texts, 14);
    // Some patterns reach over the words of the automaton.
    const std::string pattern =
        (round % 50 == 0 ? std::string(62, '?') : std::string()) +
        generatedText(random, wildcards, 8);
    const std::string padded =
        (round % 50 == 0 ? std::string(62, 'x') : std::string()) + text;
    ICUPattern reference(regularExpressionFor(pattern));
    const bool isContained =
        pattern.empty() || reference.find(testing::unitsOf(padded));
    ASSERT_TRUE(pattern.empty() || reference.isWell()) << pattern;
    ASSERT_EQ(contains(padded, pattern), isContained)
        << ::testing::PrintToString(padded) << " with "
        << ::testing::PrintToString(pattern);
    contained += isContained ? 1 : 0;
  }
  EXPECT_GT(contained, kRounds / 5);
  EXPECT_LT(contained, kRounds - kRounds / 5);
}

TEST(ContainsLiquid, FindsPlaceholdersOnOneLine) {
  const struct {
    std::string_view text;
    bool isLiquid;
  } cases[] = {
      {"Dear {{ name }},", true},
      {"{% if x %}", true},
      {"{{}}", false},
      {"{{}}}", true},
      {"{%%}", false},
      {"{{\xC3\xA9}}", true},
      {"{{ a\n}}", false},
      {"{{ a\xC2\x85}}", false},
      {"{{ a\n}} {{b}}", true},
      {"{{ a %} {% b }}", true},
      {"{ { a } }", false},
      {"", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(containsLiquid(c.text), c.isLiquid) << c.text;
  }
}

TEST(LowerKebabCased, PartsWords) {
  const struct {
    std::string_view text, kebab;
  } cases[] = {
      {"XMLParser", "xml-parser"},
      {"myValue2", "my-value-2"},
      {"ABC12", "abc-12"},
      {"aBC", "a-bc"},
      {"A", "a"},
      {"", ""},
      {"Ab", "ab"},
      {"some_ID", "some_id"},
      {"\xC3\x89t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},
  };
  for (const auto& c : cases) EXPECT_EQ(lowerKebabCased(c.text), c.kebab);
}

TEST(StringPatterns, AgreeWithICUOverGeneratedText) {
  ICUPattern trailingSpace(R"(\s*$)");
  ICUPattern tag("<[^>]+>");
  ICUPattern liquid(R"(\{\{.+?\}\}|\{%.+?%\})");
  ICUPattern capitals("([A-Z]+)([A-Z][a-z]|[0-9])");
  ICUPattern lowerCase("([a-z])([A-Z]|[0-9])");
  const Pieces blanks = {
      " ",  "\n", "\r",       "\t",           "\v",       "a",
      "\f", "b",  "\xC2\x85", "\xE2\x80\xA8", "\xC2\xA0", "\xE2\x80\x8B"};
  const Pieces tags = {"<", ">", "<b>", "a", "</", "\n", "\xC3\xA9"};
  const Pieces braces = {"{",        "{",  "}",  "}", "%",       "\n",
                         "\xC2\x85", "{%", "%}", "x", "\xC3\xA9"};
  const Pieces words = {"A", "A", "B", "a", "b", "1", "-", "\xC3\x89"};
  std::mt19937 random = testing::seededRandom();
  for (int round = 0; round < 20000; ++round) {
    std::string text = generatedText(random, blanks, 9);
    ASSERT_EQ(trimmingTrailingWhitespace(text),
              trailingSpace.replacingAll(text, u""))
        << ::testing::PrintToString(text);
    text = generatedText(random, tags, 10);
    ASSERT_EQ(strippedFromHTML(text), tag.replacingAll(text, u""))
        << ::testing::PrintToString(text);
    text = generatedText(random, braces, 14);
    ASSERT_EQ(containsLiquid(text), liquid.find(testing::unitsOf(text)))
        << ::testing::PrintToString(text);
    text = generatedText(random, words, 12);
    ASSERT_EQ(lowerKebabCased(text),
              platform::lowercased(lowerCase.replacingAll(
                  capitals.replacingAll(text, u"$1-$2"), u"$1-$2")))
        << text;
  }
  EXPECT_TRUE(trailingSpace.isWell() && tag.isWell() && liquid.isWell() &&
              capitals.isWell() && lowerCase.isWell());
}

// Each would take minutes if anything were read again and again.
TEST(StringPatterns, TakeHostileTextInOneGo) {
  constexpr std::size_t kCount = 1 << 19;
  const std::string blanks(kCount, ' ');
  EXPECT_EQ(trimmingTrailingWhitespace(blanks + "a"), blanks + "a");
  EXPECT_EQ(trimmingTrailingWhitespace("a" + blanks), "a");
  const std::string open(kCount, '<');
  EXPECT_EQ(strippedFromHTML(open), open);
  EXPECT_EQ(strippedFromHTML(open + ">"), "");
  EXPECT_FALSE(containsLiquid(repeated("{{", kCount)));
  EXPECT_FALSE(containsLiquid(repeated("{{{%\n", kCount)));
  EXPECT_EQ(lowerKebabCased(std::string(kCount, 'A')),
            std::string(kCount, 'a'));

  const std::string letters(kCount, 'a');
  EXPECT_FALSE(contains(letters, repeated("*a", 1000) + "*b"));
  EXPECT_TRUE(contains(letters, repeated("a*", kCount)));
  EXPECT_FALSE(contains(letters, repeated("a*", kCount + 1)));
  EXPECT_FALSE(contains(letters, letters.substr(kCount / 2) + "b"));
  EXPECT_FALSE(contains(repeated("a\n", kCount), repeated("*", kCount) + "b"));
  EXPECT_FALSE(contains(letters, "a?a*?b"));
}

}  // namespace
}  // namespace quillhaven::strings
