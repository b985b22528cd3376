#include "quillhaven/platform/text/scanner.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <string_view>

namespace quillhaven::platform {
namespace {

TEST(Scanner, SkipsBeforeScansAndStaysWhereTheyFail) {
  Scanner scanner("  Hello, \n World  ");
  scanner.skipping(&CharacterSet::whitespaceAndNewlines());
  EXPECT_FALSE(scanner.scanString("world"));
  EXPECT_EQ(scanner.position(), 0U);
  EXPECT_EQ(scanner.scanString("HELLO"), "Hello");
  EXPECT_FALSE(scanner.scanUpToString(","));  // nothing before it
  EXPECT_EQ(scanner.scanUpToString("WORLD"), ", \n ");
  EXPECT_EQ(scanner.scanCharacters(CharacterSet::alphanumerics()), "World");
  EXPECT_EQ(scanner.rest(), "  ");
  EXPECT_TRUE(scanner.isAtEnd());
  EXPECT_FALSE(scanner.scanUpToString("x"));

  Scanner exact("aAb");
  exact.comparing(CaseSensitivity::kSensitive);
  EXPECT_FALSE(exact.scanString("A"));
  EXPECT_EQ(exact.scanUpToString("A"), "a");
  Scanner ahead = exact;
  EXPECT_EQ(ahead.scanUpToCharacters(CharacterSet::withCharactersIn("b")), "A");
  EXPECT_EQ(exact.position(), 1U);
}

TEST(Scanner, ReadsNumbersAndSaturates) {
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  const struct {
    std::string_view text;
    std::optional<std::int64_t> value;
    std::string_view rest;
  } integers[] = {
      {"12a", 12, "a"},
      {"+7", 7, ""},
      {"-0", 0, ""},
      {"- 1", {}, "- 1"},
      {"", {}, ""},
      {"x", {}, "x"},
      {"9223372036854775807", kMax, ""},
      {"9223372036854775808", kMax, ""},
      {"-9223372036854775808", kMin, ""},
      {"-9223372036854775809", kMin, ""},
      {"99999999999999999999999", kMax, ""},
  };
  for (const auto& c : integers) {
    SCOPED_TRACE(c.text);
    Scanner scanner(c.text);
    EXPECT_EQ(scanner.scanInteger(), c.value);
    EXPECT_EQ(scanner.rest(), c.rest);
  }
  const struct {
    std::string_view text;
    std::optional<std::uint32_t> value;
    std::string_view rest;
  } hexadecimals[] = {
      {"ff;", 255, ";"},
      {"0x1A", 26, ""},
      {"0X1g", 1, "g"},
      {"0x", 0, "x"},
      {"x1", {}, "x1"},
      {"FFFFFFFF", 4294967295, ""},
      {"100000000", 4294967295, ""},
  };
  for (const auto& c : hexadecimals) {
    SCOPED_TRACE(c.text);
    Scanner scanner(c.text);
    EXPECT_EQ(scanner.scanHexInteger(), c.value);
    EXPECT_EQ(scanner.rest(), c.rest);
  }
}

TEST(FindIgnoringCase, FoldsBeyondASCII) {
  const struct {
    std::string_view text, string;
    std::optional<std::size_t> position;
    std::size_t size;
  } cases[] = {
      {"xAbC", "aBc", 1, 3},
      {"--", "--", 0, 2},
      {"-", "--", {}, 0},
      {"", "a", {}, 0},
      {"\xC3\x89t\xC3\xA9", "\xC3\xA9T", 0, 3},
      {"--b\xE2\x84\xAA-", "--bk-", 0, 7},  // KELVIN SIGN folds to k
      {"boundar\xC5\xBF", "S", 7, 2},       // LONG S folds to s
      {"\xC3\x9F", "ss", {}, 0},            // simple folding only
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto match = findIgnoringCase(c.text, c.string);
    ASSERT_EQ(match.has_value(), c.position.has_value());
    if (!match) continue;
    EXPECT_EQ(match->position, *c.position);
    EXPECT_EQ(match->size, c.size);
  }
}

// Sixteen bytes are compared at a time; what stops that lies at every offset.
TEST(PrefixLengthIgnoringCase, ComparesAlikeAtEveryOffset) {
  const struct {
    std::string_view text, string;
    bool matches;
  } cases[] = {
      {"q", "Q", true},
      {"q", "p", false},
      {"@", "`", false},  // as far apart as "A" and "a"
      {"[", "{", false},
      {"\xC3\xA9", "\xC3\x89", true},
      {"\xC3\xA9", "\xC3\xA8", false},          // share their first byte
      {"\xE2\x84\xAA", "k", true},              // KELVIN SIGN
      {"k", "\xE2\x84\xAA", true},              //
      {"\xE2\x84\xAA", "\xE2\x84\xAB", false},  // share two
      {"", "k", false},
  };
  for (const auto& c : cases) {
    for (std::size_t before = 0; before < 36; ++before) {
      for (const std::size_t after : {0U, 1U, 20U}) {
        const std::string text = std::string(before, 'm').append(c.text) +
                                 std::string(c.text.empty() ? 0 : after, 'n');
        const std::string string =
            std::string(before, 'M').append(c.string) + std::string(after, 'N');
        const auto size = prefixLengthIgnoringCase(text + "rest", string);
        ASSERT_EQ(size.has_value(), c.matches) << text << " / " << string;
        if (c.matches) {
          ASSERT_EQ(*size, text.size()) << text << " / " << string;
        }
      }
    }
  }
}

// Small alphabets make many near misses, long strings reach the rolling hash.
TEST(FindIgnoringCase, FindsWhatComparingEverywhereFinds) {
  std::mt19937 random(20240607);
  for (int round = 0; round < 400; ++round) {
    const std::string_view letters[] = {"-", "-",        "-",       "a",
                                        "A", "\xC3\xA9", "\xC3\x89"};
    const auto make = [&](std::size_t count) {
      std::string text;
      for (std::size_t i = 0; i < count; ++i) text += letters[random() % 7];
      return text;
    };
    const std::string text = std::string(random() % 3000, '-') + make(200);
    const std::string string =
        std::string(random() % 200, '-') + make(1 + random() % 6);
    std::optional<std::size_t> expected;
    for (std::size_t at = 0; at < text.size() && !expected; ++at) {
      if ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) continue;
      if (prefixLengthIgnoringCase(std::string_view(text).substr(at), string)) {
        expected = at;
      }
    }
    const auto match = findIgnoringCase(text, string);
    ASSERT_EQ(match ? std::optional(match->position) : std::nullopt, expected)
        << text << " / " << string;
  }
}

TEST(FindIgnoringCase, StaysLinearOnRepetitiveText) {
  // Compared at every position this would take 10^12 steps.
  const std::string text(1 << 21, '-');
  const std::string string = std::string(1 << 20, '-') + "x";
  EXPECT_FALSE(findIgnoringCase(text, string));
  const auto match = findIgnoringCase(text + "X", string);
  ASSERT_TRUE(match);
  EXPECT_EQ(match->position, std::size_t{1} << 20);
}

}  // namespace
}  // namespace quillhaven::platform
