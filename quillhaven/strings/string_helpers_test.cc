#include "quillhaven/strings/string_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include "quillhaven/strings/testing/generated_text.h"

namespace quillhaven::strings {
namespace {

using testing::generatedText;
using testing::Pieces;
using testing::repeated;

TEST(EmojiFlag, ShiftsEveryScalar) {
  EXPECT_EQ(emojiFlag("DE"), "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA");
  EXPECT_EQ(emojiFlag("d"), "\xF0\x9F\x88\x89");  // U+1F209, no indicator
  EXPECT_EQ(emojiFlag(""), "");
  EXPECT_EQ(emojiFlag("\xF3\xB0\xB9\x9A"), "\xF4\x8F\xBF\xBF");  // U+F0E5A
  EXPECT_DEATH(static_cast<void>(emojiFlag("D\xF3\xB0\xB9\x9B")),
               "country code is out of range");
}

TEST(HexToDecimal, ReadsAsTheCLibraryDoes) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  const struct {
    std::string_view text;
    std::uint64_t value;
  } cases[] = {
      {"ff", 255},
      {"0x1A", 26},
      {" \t\n\v\f\r0Xg", 0},
      {"zz", 0},
      {"", 0},
      {"0x", 0},
      {"1x2", 1},
      {"+a", 10},
      {"-1", kMost},
      {"- 1", 0},
      {"ffffffffffffffff", kMost},
      {"000000000000000000000000000000001", 1},
      {"10000000000000000", kMost},
      {"-10000000000000000", kMost},
      {"-8000000000000000", std::uint64_t{1} << 63},
      {"\xC2\xA0"
       "1",
       0},  // blanks are those of the C locale
      {std::string_view("1\0002", 3), 1},
  };
  for (const auto& c : cases) EXPECT_EQ(hexToDecimal(c.text), c.value);

  std::mt19937 random = testing::seededRandom();
  const Pieces pieces = {"0",  "0",       "x",  "X",       "1", "f",
                         "A",  "g",       "-",  "+",       " ", "\t",
                         "\n", "fffffff", "0x", "\xC3\xA9"};
  for (int round = 0; round < 20000; ++round) {
    const std::string text = generatedText(random, pieces, 9);
    ASSERT_EQ(hexToDecimal(text), std::strtoul(text.c_str(), nullptr, 16))
        << ::testing::PrintToString(text);
  }
}

TEST(HexString, NamesTheBytes) {
  EXPECT_EQ(hexString("a\xC3\xA9\x7F"), "61c3a97f");
  EXPECT_EQ(hexString(""), "");
  EXPECT_FALSE(hexString("a\xC3"));
}

TEST(Replacing, ReplacesEveryCodePointOfTheSet) {
  const auto set =
      platform::CharacterSet::withCharactersIn("a\xC3\xA9\xCC\x81");
  EXPECT_EQ(replacing("banana\xC3\xA9 e\xCC\x81", set, "--"),
            "b--n--n---- e--");
  EXPECT_EQ(replacing("banana", set, ""), "bnn");
  EXPECT_EQ(replacing("aa", set, "a"), "aa");
  EXPECT_EQ(replacing("", set, "x"), "");
}

TEST(CapitalizingFirstLetter, TouchesTheFirstCharacterAlone) {
  const struct {
    std::string_view text, expected;
  } cases[] = {
      {"", ""},
      {"abc DEF", "Abc DEF"},
      {"aBC", "ABC"},
      {" abc", " abc"},
      {"\xC3\x9F\xC3\x9F", "Ss\xC3\x9F"},
      {"\xC7\x86x", "\xC7\x85x"},
      {"e\xCC\x81\xC3\xA9", "E\xCC\x81\xC3\xA9"},
      {"\r\na", "\r\na"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(capitalizingFirstLetter(c.text), c.expected);
  }
}

TEST(MessageAndContentIDs, LoseTheirBrackets) {
  const struct {
    std::string_view text, messageId, contentID;
  } cases[] = {
      {"<a@b>", "a@b", "a@b"},
      {"<>>a<b>c<<", "a<b>c", "abc"},
      {"<cid:part1>", "cid:part1", "part1"},
      {"c<id>:cid:x", "c<id>:cid:x", "cid:x"},
      {"CID:x", "CID:x", "CID:x"},
      {" <a> ", " <a> ", " a "},
      {"<>", "", ""},
      {"", "", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(trimmedMessageId(c.text), c.messageId);
    EXPECT_EQ(trimmedContentID(c.text), c.contentID);
  }
}

TEST(Truncating, CountsCharactersAndDropsBlanksBeforeTheCut) {
  const struct {
    std::string_view text;
    std::int64_t length;
    std::string_view trailing, truncated;
  } cases[] = {
      {"Hello world", 5, "\xE2\x80\xA6", "Hello\xE2\x80\xA6"},
      {"Hi  there", 4, "\xE2\x80\xA6", "Hi\xE2\x80\xA6"},
      {"Hello", 5, "...", "Hello"},
      {"Hello", 4, "...", "Hell..."},
      {"Hi  ", 4, "...", "Hi  "},  // nothing is cut, nothing dropped
      {"Hello", std::numeric_limits<std::int64_t>::max(), "...", "Hello"},
      {"Hello", 0, "...", "..."},
      {"", 0, "...", ""},
      {"a \n\xC2\xA0\xE2\x80\xA8 b", 5, "", "a"},
      {"e\xCC\x81"
       "e\xCC\x81",
       1, "", "e\xCC\x81"},
      {"\r\n\r\nx", 2, "+", "+"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(truncating(c.text, c.length, c.trailing), c.truncated) << c.text;
  }
  EXPECT_EQ(stringByTruncatingToLength("Hello world", 6), "Hello\xE2\x80\xA6");
  EXPECT_DEATH(static_cast<void>(truncating("", -1, "")), "length .* negative");
}

TEST(TruncatingMiddle, KeepsHalfAtBothEnds) {
  const struct {
    std::string_view text;
    std::int64_t length;
    std::string_view truncated;
  } cases[] = {
      {"abcdefghij", 6, "abc\xE2\x80\xA6hij"},
      {"abcdefghij", 7, "abc\xE2\x80\xA6hij"},
      {"abcdefghij", 10, "abcdefghij"},
      {"abcdefghij", 1, "\xE2\x80\xA6"},
      {"a", 0, "\xE2\x80\xA6"},
      {"", 0, ""},
      {"ab cdefg hi ", 6, "ab\xE2\x80\xA6hi"},
      {"a\n\n......\n\nb", 6, "a\xE2\x80\xA6\n\nb"},  // line breaks stay there
      {"e\xCC\x81xxxe\xCC\x81", 2,
       "e\xCC\x81\xE2\x80\xA6"
       "e\xCC\x81"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(truncatingMiddle(c.text, c.length), c.truncated) << c.text;
  }
  EXPECT_DEATH(static_cast<void>(truncatingMiddle("a", -2)), "negative");
}

TEST(Truncating, TakesHostileTextInOneGo) {
  constexpr std::size_t kCount = 1 << 19;
  const std::string blanks(kCount, ' ');
  EXPECT_EQ(truncating("a" + blanks + "b", kCount, "."), "a.");
  EXPECT_EQ(truncatingMiddle("a" + blanks + blanks + "b", kCount),
            "a\xE2\x80\xA6"
            "b");
  const std::string marked = "e" + repeated("\xCC\x81", kCount);
  EXPECT_EQ(truncating(marked + "x", 1, ""), marked);
  EXPECT_EQ(truncatingMiddle("x" + marked + "y" + marked, 2),
            "x\xE2\x80\xA6" + marked);
}

TEST(ShellEscaped, EscapesTwentyTwoCharactersOnce) {
  EXPECT_EQ(shellEscaped("a b's"), "a\\ b\\'s");
  std::string all, escaped;
  for (char c = 1; c < 0x7F; ++c) {
    all += c;
    if (std::string_view("\\ ()\"&'!$<>;|*?[]#`\t{}").find(c) !=
        std::string_view::npos) {
      escaped += '\\';
    }
    escaped += c;
  }
  EXPECT_EQ(shellEscaped(all), escaped);
  EXPECT_EQ(escaped.size() - all.size(), 22U);
  EXPECT_EQ(shellEscaped("\xC3\xA9~\n"), "\xC3\xA9~\n");
}

TEST(Presence, TellsEmptyFromBlank) {
  EXPECT_EQ(presence(" "), " ");
  EXPECT_FALSE(presence(""));
}

}  // namespace
}  // namespace quillhaven::strings
