#include "quillhaven/strings/email_addresses.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "quillhaven/strings/testing/generated_text.h"
#include "quillhaven/strings/testing/icu_pattern.h"

namespace quillhaven::strings {
namespace {

using testing::generatedText;
using testing::ICUPattern;
using testing::nearly;
using testing::Pieces;
using testing::repeated;

TEST(IsValidEmail, TakesTheWholeText) {
  const struct {
    std::string_view text;
    bool isValid;
  } cases[] = {
      {"a@b.co", true},
      {"a@b.c", false},
      {"a@b.c1", false},
      {"x@y@z.example", true},
      {"@@b.co", true},
      {"@b.co", false},
      {"a@.co", false},
      {"a@b..co", false},
      {"a@-.-.co", true},
      {"a@b.co ", false},
      {"a@b.co\n", false},
      {" a b \xC3\xA9@b.co", true},
      {"a\xE2\x80\xA8@b.co", false},  // U+2028 ends a line
      {"a\r@b.co", false},
      {"a@b.\xE2\x84\xAAn", false},  // letters are ASCII here
      {"a@\xC3\xA9.co", false},
      {"a.co@b", false},
      {"", false},
      {"@", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isValidEmail(c.text), c.isValid) << c.text;
  }
}

TEST(EmailParts, AreBeforeTheFirstAndAfterTheLastSign) {
  const struct {
    std::string_view text;
    std::optional<std::string> localPart, domain;
  } cases[] = {
      {"x@y@z.example", "x", "z.example"},
      {"@@b.co", "", "b.co"},
      {"a@b.c", {}, {}},
      {"", {}, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(emailLocalPart(c.text), c.localPart) << c.text;
    EXPECT_EQ(emailDomain(c.text), c.domain) << c.text;
  }
}

TEST(IsFormattedEmail, SearchesAsManyUnitsAsThereAreCharacters) {
  const struct {
    std::string_view text;
    bool isFormatted;
  } cases[] = {
      {"<a@b.co>", true},
      {"Name <a@b.co>", true},
      {"Name<a@b.co>", false},
      {" <a@b.co>", false},  // one character at least, then the blank
      {"a <b> <a@b.co>", false},
      {"a\nb <a@b.co>", true},
      {"N <a@b.co> ", false},
      {"N <a@b.co>\n", true},
      {"N <a@b.co>\n\n", false},
      {"N <a@b.co>\xE2\x80\xA9", true},
      // CR LF is one character of two units: CR is searched, LF is not.
      {"N <a@b.co>\r\n", true},
      {"N\r\n <a@b.co>", false},
      {"N\r\n <a@b.co>\n", true},
      {"\xC3\xA9 <a@b.co>", true},
      {"e\xCC\x81 <a@b.co>", false},
      {"\xF0\x9F\x98\x80 <a@b.co>", false},
      {"\xF0\x9F\x98\x80 <a@b.co>\n", true},  // the line feed is cut off
      {"\xF0\x9F\x98\x80 <a@b.co>\xF0\x9F\x98\x80", true},  // all of it is
      {"<a@b.co>\xF0\x9F\x98\x80", false},                  // half of it is
      {"N <A@B.CO>", true},
      {"N <a@b.museum>", true},
      {"N <a@b.museums>", false},
      {"N <a@b.\xC5\xBF\xE2\x84\xAA>", true},  // fold to "s" and "k"
      {"N <a@b..co>", true},
      {"N <a@.co>", false},
      {"N <@b.co>", false},
      {"N <a@b.co", false},
      {"", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isFormattedEmail(c.text), c.isFormatted)
        << ::testing::PrintToString(c.text);
  }
}

TEST(EmailAddress, IsTheFirstInTheSearchedUnits) {
  const struct {
    std::string_view text;
    std::optional<std::string> address;
  } cases[] = {
      {"write to Jo.Doe+x@Mail.Office, or b@c.de", "Jo.Doe+x@Mail.Office"},
      {"a@b.c.de.", "a@b.c.de"},
      {"a@b.museums", "a@b.museum"},
      {"a@b.co.1", "a@b.co"},
      {"a@@b.co", {}},
      {"a@b@c.de", "b@c.de"},
      {"(a)@b.co c@d.ef", "c@d.ef"},
      {"a@.co", {}},
      {"a@..co", "a@..co"},
      {"\xE2\x84\xAA@b.co", "\xE2\x84\xAA@b.co"},
      {"\xC3\xA9@b.co", {}},
      // Each of these hides as many units at the end.
      {"\xF0\x9F\x98\x80 a@b.com", "a@b.co"},
      {"\xF0\x9F\x98\x80\xF0\x9F\x98\x80 a@b.com", {}},
      {"\r\n\r\na@b.co", {}},
      {"\r\na@b.co\n", "a@b.co"},
      {"e\xCC\x81 a@b.com", "a@b.co"},
      {"", {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(emailAddress(c.text), c.address)
        << ::testing::PrintToString(c.text);
  }
}

TEST(EmailName, IsTheNameGivenOrMadeFromTheLocalPart) {
  const struct {
    std::string_view text;
    std::optional<std::string> name;
  } cases[] = {
      {"john.doe42@mail.example", "John Doe"},
      {"maryAnn_o'hara-x+list@m.test", "MaryAnn O'hara X List"},
      {"a..b@m.test", "A  B"},
      {".a.@m.test", "A"},
      {"42@m.test", ""},
      {"j\xD9\xA3.d@m.test", "J D"},      // U+0663 is a decimal digit
      {"\xC2\xB2x@m.test", "\xC2\xB2x"},  // U+00B2 is none
      {"\xC3\x9F@m.test", "Ss"},
      {"\xC7\x86.e\xCC\x81@m.test", "\xC7\x85 E\xCC\x81"},
      {"a@b@m.test", "A"},
      {"Jo Doe <x@m.test>", "Jo Doe"},
      {"\"Doe, Jo\" <x@m.test>", "\"Doe, Jo\""},
      {"\n Jo\t\xC2\xA0 <x@m.test>", "Jo"},
      {"\xF0\x9F\x98\x80 Jo <x@m.test>", "\xF0\x9F\x98\x80 Jo"},
      {"  <x@m.test>", ""},
      {"<john.doe@m.test>", "John Doe"},
      {"<john.doe@m..test>\n", {}},  // not a valid address, so no local part
      {"john.doe@m.test,", {}},
      {"john", {}},
      {"", {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(emailName(c.text), c.name) << ::testing::PrintToString(c.text);
  }
}

const Pieces kPieces = {"a",
                        "B",
                        "kS",
                        "9",
                        ".",
                        ".",
                        "@",
                        "-",
                        "_",
                        "%",
                        "+",
                        "<",
                        ">",
                        " ",
                        "\n",
                        "\r\n",
                        "\xC2\x85",
                        "\xE2\x80\xA8",
                        "\xC5\xBF",
                        "\xE2\x84\xAA",
                        "\xC3\x9F",
                        "\xCC\x81",
                        "\xF0\x9F\x98\x80",
                        "co",
                        "a@b.co",
                        ".museum",
                        "Jo ",
                        ","};

// An address, a formatted one, several in a row, or what the pieces give.
std::string addressLikeText(std::mt19937& random) {
  const Pieces words = {"a", "Jo", "x9", "co", "-", "de", "museum", "s_t"};
  const Pieces endings = {"co", "museum", "de", "org", "xY", "c", "c1"};
  const auto name = [&](std::string_view separator, std::size_t most) {
    std::string text(words[random() % words.size()]);
    for (std::size_t count = random() % most; count > 0; --count) {
      text.append(separator) += words[random() % words.size()];
    }
    return text;
  };
  std::string text = name(random() % 3 == 0 ? "@" : ".", 3) + "@" +
                     name(".", 3) + "." +
                     std::string(endings[random() % endings.size()]);
  if (random() % 2 == 0) {
    text = "<" + text + ">";
    if (random() % 2 == 0) text = name(" ", 3) + " " + text;
    if (random() % 6 == 0) text += kPieces[14 + random() % 4];
  }
  if (random() % 12 == 0) text = generatedText(random, kPieces, 12);
  return random() % 2 == 0 ? text : nearly(random, text, kPieces);
}

TEST(EmailAddresses, AgreeWithICUOverGeneratedText) {
  const std::string address = R"([A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,6})";
  ICUPattern valid(R"(^.+@([A-Za-z0-9-]+\.)+[A-Za-z]{2}[A-Za-z]*$)");
  ICUPattern formatted("^([^<]+ )?<" + address + ">$", UREGEX_CASE_INSENSITIVE);
  ICUPattern named("^([^<]+ )?<(" + address + ")>$", UREGEX_CASE_INSENSITIVE);
  ICUPattern anywhere(address, UREGEX_CASE_INSENSITIVE);
  std::mt19937 random = testing::seededRandom();
  constexpr int kRounds = 60000;
  int validCount = 0, formattedCount = 0, foundCount = 0;
  for (int round = 0; round < kRounds; ++round) {
    const std::string text = addressLikeText(random);
    SCOPED_TRACE(::testing::PrintToString(text));
    const icu::UnicodeString units = testing::unitsOf(text);
    const std::int32_t searched = testing::characterCountByICU(units);

    const bool isValid = valid.matchesWhole(units);
    const bool isFormatted = formatted.find(units, searched);
    const bool isFound = anywhere.find(units, searched);
    ASSERT_EQ(isValidEmail(text), isValid);
    ASSERT_EQ(isFormattedEmail(text), isFormatted);
    ASSERT_EQ(emailAddress(text),
              isFound ? anywhere.group(0) : std::optional<std::string>());
    const bool isNamed = named.find(units);
    if (!isValid) {
      const bool hasName =
          isNamed && (named.group(1) || isValidEmail(*named.group(2)));
      ASSERT_EQ(emailName(text).has_value(), hasName);
    }
    validCount += isValid ? 1 : 0;
    formattedCount += isFormatted ? 1 : 0;
    foundCount += isFound ? 1 : 0;
  }
  EXPECT_TRUE(valid.isWell() && formatted.isWell() && named.isWell() &&
              anywhere.isWell());
  // Neither answer is rare, or the test would show little.
  for (const int count : {validCount, formattedCount, foundCount}) {
    EXPECT_GT(count, kRounds / 12);
    EXPECT_LT(count, kRounds - kRounds / 12);
  }
}

// Each would take minutes if anything were read again and again, and ICU runs
// out of stack on some.
TEST(EmailAddresses, TakeHostileTextInOneGo) {
  constexpr std::size_t kCount = 1 << 20;
  for (const std::string_view piece :
       {"a@", ".", "a.", "@", "<", "a@b.", "a@.co.", "-.", "\xCC\x81",
        "\xE2\x84\xAA@", "\r\n", "<a@b.c", " ", "a@b.c1@", "_@a..."}) {
    SCOPED_TRACE(::testing::PrintToString(piece));
    const std::string text = repeated(piece, kCount / piece.size());
    EXPECT_FALSE(isValidEmail(text));
    EXPECT_FALSE(isFormattedEmail(text));
    EXPECT_FALSE(emailName(text));
    EXPECT_FALSE(isFormattedEmail("N <" + text + "@b.c>"));
    static_cast<void>(emailAddress(text));
    static_cast<void>(emailAddress("a@" + text));
  }
  const std::string dots(kCount, '.');
  EXPECT_EQ(emailName(dots + "@b.co"), "");
  EXPECT_EQ(emailAddress(dots + "@b.co"), dots + "@b.co");
  EXPECT_EQ(emailAddress("a@b.co" + dots), "a@b.co");
}

}  // namespace
}  // namespace quillhaven::strings
