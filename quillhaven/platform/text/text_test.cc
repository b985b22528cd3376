#include <gtest/gtest.h>
#include <unicode/regex.h>

#include <random>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/regular_expression.h"
#include "quillhaven/platform/text/utf16.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

std::string textOf(char32_t character) {
  std::string text;
  appendCodePoint(text, character);
  return text;
}

TEST(UTF8, AcceptsWellFormedSequencesOnly) {
  const struct {
    std::string_view bytes;
    bool isValid;
  } cases[] = {
      {"", true},
      {"a", true},
      {"\x7F", true},
      {"\x80", false},              // a continuation alone
      {"\xC1\xBF", false},          // overlong
      {"\xC2\x80", true},           //
      {"\xC2", false},              // cut short
      {"\xC2\x41", false},          //
      {"\xDF\xBF", true},           //
      {"\xE0\x9F\xBF", false},      // overlong
      {"\xE0\xA0\x80", true},       //
      {"\xE2\x82", false},          // cut short
      {"\xED\x9F\xBF", true},       // U+D7FF
      {"\xED\xA0\x80", false},      // a surrogate
      {"\xEE\x80\x80", true},       //
      {"\xEF\xBF\xBF", true},       // U+FFFF
      {"\xF0\x8F\xBF\xBF", false},  // overlong
      {"\xF0\x90\x80\x80", true},   //
      {"\xF4\x8F\xBF\xBF", true},   // U+10FFFF
      {"\xF4\x90\x80\x80", false},  // above it
      {"\xF5\x80\x80\x80", false},
      {"\xFF", false},
  };
  // At every distance from the wide steps of the check.
  for (const auto& c : cases) {
    for (const std::size_t before : {0U, 1U, 7U, 8U, 63U, 64U, 65U}) {
      for (const std::size_t after : {0U, 1U, 70U}) {
        const std::string text = std::string(before, 'x') +
                                 std::string(c.bytes) + std::string(after, 'y');
        EXPECT_EQ(isValidUTF8(text), c.isValid)
            << before << ' ' << testing::PrintToString(c.bytes);
      }
    }
  }
}

TEST(UTF8, RepairsWhatIsMalformedPartByPart) {
  const struct {
    std::string_view bytes, text;
  } cases[] = {
      {"", ""},
      {"a\xC3\xA9\xF0\x9F\x98\x80", "a\xC3\xA9\xF0\x9F\x98\x80"},
      {"a\xE9z", "a\uFFFDz"},
      {"\xE2\x82", "\uFFFD"},  // cut short
      {"\xE2\x82x\xE2", "\uFFFDx\uFFFD"},
      {"\xC0\x80", "\uFFFD\uFFFD"},                // overlong
      {"\xE0\x9F\xBF", "\uFFFD\uFFFD\uFFFD"},      //
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},      // a surrogate
      {"\xF0\x8F\x80x", "\uFFFD\uFFFD\uFFFDx"},    // overlong
      {"\xF0\x9F\x98", "\uFFFD"},                  // cut short
      {"\xF0\x9F\x98\xC3\xA9", "\uFFFD\xC3\xA9"},  //
      {"\xF4\x90\x80", "\uFFFD\uFFFD\uFFFD"},      // above U+10FFFF
      {"\xF5\x80", "\uFFFD\uFFFD"},                //
      {"\xC3\xC3\xA9\xFF", "\uFFFD\xC3\xA9\uFFFD"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(repairedUTF8(c.bytes), c.text);
  }
}

TEST(UTF8, ReadsBackWhatItWrites) {
  for (const char32_t c : {0x0U, 0x7FU, 0x80U, 0x7FFU, 0x800U, 0xD7FFU, 0xE000U,
                           0xFFFFU, 0x10000U, 0x10FFFFU}) {
    const std::string text = "a" + textOf(c);
    EXPECT_EQ(codePointAt(text, 1).value, c);
    EXPECT_EQ(codePointAt(text, 1).size, text.size() - 1);
    EXPECT_EQ(codePointBefore(text, text.size()).value, c);
    EXPECT_TRUE(isValidUTF8(text));
  }
  for (const char32_t c : {0xD800U, 0xDFFFU, 0x110000U}) {
    EXPECT_EQ(textOf(c), "\xEF\xBF\xBD");
  }
}

TEST(UTF16, CountsUnitsAndPairsSurrogates) {
  EXPECT_EQ(lengthInUTF16Units("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), 5U);

  const struct {
    std::u16string units;
    std::string_view text;
  } cases[] = {
      {{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
      {{0xD83D}, "\xEF\xBF\xBD"},
      {{0xDE00, 0xD83D}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {{0xD83D, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
      {{0xD83D, u'a', 0xDE00},
       "\xEF\xBF\xBD"
       "a\xEF\xBF\xBD"},
  };
  for (const auto& c : cases) {
    std::string text;
    char16_t pending = 0;
    for (const char16_t unit : c.units) appendUTF16Unit(text, unit, pending);
    flushUTF16(text, pending);
    EXPECT_EQ(text, c.text);
  }
}

// The byte tests of the parsers must name the same characters as the sets, and
// these the same as ICU's "\s".
TEST(WhiteSpace, ByteTestsAgreeWithTheSetsForEveryCharacter) {
  UErrorCode status = U_ZERO_ERROR;
  icu::RegexMatcher space(u"\\s", 0, status);
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    const std::string text = textOf(c);
    const auto isWhole = [&](std::size_t length) {
      return length == text.size();
    };
    ASSERT_EQ(isWhole(internal::blankLength(text, 0)),
              CharacterSet::whitespace().contains(c))
        << std::hex << int(c);
    ASSERT_EQ(isWhole(internal::newlineLength(text, 0)),
              CharacterSet::newlines().contains(c))
        << std::hex << int(c);
    ASSERT_EQ(isWhole(internal::spaceLength(text, 0)),
              CharacterSet::whitespaceAndNewlines().contains(c));
    if (c < 0x4000) {
      const icu::UnicodeString one(static_cast<UChar32>(c));
      space.reset(one);
      ASSERT_EQ(internal::spaceLength(text, 0) != 0, space.find() != 0)
          << std::hex << int(c);
    }
  }
}

TEST(WhiteSpace, TrimsAndFindsAcrossVectorEnds) {
  EXPECT_EQ(internal::trimmedBlanks(" \t\xC2\xA0"
                                    "a b\xE3\x80\x80 "),
            "a b");
  EXPECT_EQ(internal::trimmedBlanks(" \xE2\x80\x83\t"), "");
  EXPECT_EQ(internal::trimmedBlanks("\n a \n"), "\n a \n");
  for (const std::string_view newline :
       {"\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
    for (std::size_t before = 0; before < 40; ++before) {
      // Lead bytes of newlines that begin other characters are passed over.
      const std::string text = "\xC2\xB5\xE2\x82\xAC" +
                               std::string(before, 'x') + std::string(newline) +
                               "tail";
      EXPECT_EQ(internal::findNewline(text, 0), before + 5);
    }
  }
  EXPECT_EQ(internal::findNewline("abc", 1), 3U);
  for (std::size_t before = 0; before < 40; ++before) {
    const std::string text = std::string(before, '=') + "?";
    EXPECT_EQ(internal::findPair(text, '=', '?', 0),
              before == 0 ? std::string::npos : before - 1);
  }
}

TEST(UTF16, CutsAtAUnit) {
  const std::string_view text = "a\xE2\x82\xAC\xF0\x9F\x98\x80z";
  const struct {
    std::size_t units, size;
    bool endsInsidePair;
  } cases[] = {{0, 0, false}, {1, 1, false}, {2, 4, false}, {3, 4, true},
               {4, 8, false}, {5, 9, false}, {9, 9, false}};
  for (const auto& c : cases) {
    const UTF16Prefix prefix = utf16Prefix(text, c.units);
    EXPECT_EQ(prefix.size, c.size) << c.units;
    EXPECT_EQ(prefix.endsInsidePair, c.endsInsidePair) << c.units;
  }
}

TEST(CharacterSet, CombinesAndTrims) {
  const CharacterSet quotes = CharacterSet::withCharactersIn("'\"\xC2\xAB");
  const CharacterSet both = CharacterSet::whitespace().unionWith(quotes);
  EXPECT_EQ(both.trimmed(" '\xC2\xAB x ' "), "x");
  EXPECT_EQ(both.trimmed("\" "), "");
  EXPECT_FALSE(quotes.inverted().contains('"'));
  EXPECT_TRUE(quotes.inverted().contains(0xE9));
  const CharacterSet& alphanumerics = CharacterSet::alphanumerics();
  for (const char32_t c : {0x41U, 0x39U, 0xE9U, 0x0301U, 0x0664U, 0x2167U}) {
    EXPECT_TRUE(alphanumerics.contains(c)) << std::hex << int(c);
  }
  for (const char32_t c : {0x2DU, 0x5FU, 0x20U, 0x20ACU}) {
    EXPECT_FALSE(alphanumerics.contains(c)) << std::hex << int(c);
  }
}

TEST(CaseMapping, IsFullAndWithoutLanguage) {
  EXPECT_EQ(lowercased("ABC-\xC3\x89I"), "abc-\xC3\xA9i");
  EXPECT_EQ(lowercased("\xC4\xB0"), "i\xCC\x87");  // U+0130 becomes two
  EXPECT_EQ(uppercased("stra\xC3\x9F"
                       "e"),
            "STRASSE");
  const struct {
    std::string_view word, capitalized;
  } words[] = {
      {"", ""},
      {"a", "A"},
      {"aB-c", "Ab-c"},
      {"\xC3\x9F", "Ss"},
      {"\xC7\x86", "\xC7\x85"},    // U+01C6: title is not upper case
      {"e\xCC\x81", "E\xCC\x81"},  // the mark stays
      {"\xCE\xB1\xCD\x85", "\xCE\x91\xCD\x85"},  // this one has a case too
      {"(a", "(A"},
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
      {"i", "I"},  // in every language
  };
  for (const auto& c : words) EXPECT_EQ(capitalized(c.word), c.capitalized);
}

TEST(RegularExpression, CountsInBytesAndReplaces) {
  const RegularExpression word("(\\w+)@");
  const auto match = word.firstMatch("\xC3\xA9 \xC3\xA9t\xC3\xA9@x", 1);
  ASSERT_TRUE(match);
  EXPECT_EQ(match->position, 3U);
  EXPECT_EQ(match->size, 6U);
  EXPECT_FALSE(word.matches("a@b"));
  EXPECT_TRUE(word.matches("a@"));
  EXPECT_EQ(word.replacingMatches("a@ \xC3\xA9@", "<$1>"), "<a> <\xC3\xA9>");
  EXPECT_FALSE(RegularExpression("(x+x+)+y").firstMatch(""));
  EXPECT_TRUE(RegularExpression("K", RegularExpression::Options::kIgnoringCase)
                  .matches("k"));
  EXPECT_DEATH(RegularExpression("("), "malformed regular expression: \\(");
}

}  // namespace
}  // namespace quillhaven::platform
