#include "quillhaven/mail/encoded_words.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quillhaven::mail {
namespace {

TEST(EncodedWords, Decode) {
  const struct {
    std::string_view value, text;
  } cases[] = {
      {"", ""},
      {"no words", "no words"},
      {"=?UTF-8?B?w6k=?=", "\xC3\xA9"},
      {"=?iso-8859-1?q?caf=E9_au_lait?=", "caf\xC3\xA9 au lait"},
      {"a =?utf-8?Q?b?= c", "a b c"},
      {"=?utf-8?Q?a?= =?utf-8?Q?b?=", "ab"},
      // A run swallows what stands between its words, and has one charset.
      {"=?utf-8?Q?a?= x =?utf-8?Q?b?=", "ab"},
      {"=?utf-8?Q?=C3?= =?utf-8?Q?=A9?=", "\xC3\xA9"},
      {"=?iso-8859-1?Q?=E9?= =?utf-8?Q?=C3=A9?=", "\xC3\xA9\xC3\x83\xC2\xA9"},
      {"=?utf-8?B?w6k=?= - =?utf-8?Q?b?=", "\xC3\xA9 - b"},
      {"=?utf-8?B?YQ==?= =?utf-8?B?Yg==?=", "ab"},  // each with its padding
      {"=?utf-8?B?YW?= =?utf-8?B?Jj?=", "abc"},     // a group over two words
      {"=?utf-8?B?YWI?= =?utf-8?B?Yw==?=", ""},     // one left incomplete
      {"100%=?utf-8?Q?x%y?=", "100%x%y"},
      {"=?utf-8?Q?a=b=4g=4?=", "a=b=4g=4"},
      {"=?utf-8?Q?a=00b?=", "a"},  // ends at a zero byte
      {"=?utf-8?Q?\?=", ""},
      {"=?utf-8?B?\?=", ""},
      {"x=?utf-8?Q?cut", "xcut"},
      // Characters beyond ASCII in a Q word are Mac OS Roman bytes, or all of
      // it is UTF-8.
      {"=?iso-8859-1?Q?\xC3\xA9?=", "\xC2\x8E"},
      {"=?utf-8?Q?\xC3\xA9?=", "=?utf-8?Q?\xC3\xA9?="},
      {"=?utf-8?Q?\xE6\x97\xA5=41?=",
       "\xE6\x97\xA5"
       "A"},
      {"=?utf-8?Q?\xE6\x97\xA5=8E?=", "\xE6\x97\xA5\xC3\xA9"},
      // What does not convert.
      {"=?unknown-charset?B?QUJD?=", "=?unknown-charset?B?QUJD?="},
      {"=?unknown-charset?B?\?=", "=?unknown-charset?B?\?="},
      {"=?unknown-charset?Q?100%=41?=", "100A"},  // ASCII, "%" dropped
      {"=?unknown-charset?Q?=E9?=", "=?unknown-charset?Q?=E9?="},
      {"=?utf-8?Q?=E9?=", "=?utf-8?Q?=E9?="},
      {"=?utf-8?B?/w==?=", "=?utf-8?B?/w==?="},
      {"a=?utf-8?B?Q?=b", "ab"},  // no Base64: removed
      // Words that each shift to Japanese and back: a shift with nothing before
      // the next one stands where they meet.
      {"=?ISO-2022-JP?B?GyRCJUYbKEI=?==?ISO-2022-JP?B?GyRCJTkbKEI=?=",
       "\xE3\x83\x86\xE3\x82\xB9"},
      // Chinese words in a superset of their charset.
      {"=?gb2312?B?1uzpRrvz?=", "\xE6\x9C\xB1\xE9\x95\x95\xE6\x83\x91"},
      // Malformed openings.
      {"=?", "=?"},
      {"=??Q?a?=", "=??Q?a?="},
      {"=?utf-8?X?a?=", "=?utf-8?X?a?="},
      {"=?utf-8?Qa?=", "=?utf-8?Qa?="},
      {"=?utf-8?Q", "=?utf-8?Q"},
      {"=?utf-8?Q?", "=?utf-8?Q?"},
      {"=?x?=?utf-8?Q?a?=", "=?x?a"},  // a word inside a failed one
      {"=?utf-8 Q a =?utf-8?Q?b?=", "=?utf-8 Q a =?utf-8?Q?b?="},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringWithMimeEncodedString(c.value), c.text) << c.value;
  }
  EXPECT_FALSE(stringWithMimeEncodedString(std::nullopt));
}

TEST(EncodedWords, ReplaceEveryOccurrenceOfARun) {
  // The first run's words occur in the third, which is then not found any more.
  EXPECT_EQ(stringWithMimeEncodedString(
                "=?utf-8?Q?a?= =?utf-8?B?Yg==?= =?utf-8?Q?a?=-=?utf-8?Q?c?="),
            "a b a-=?utf-8?Q?c?=");
  EXPECT_EQ(stringWithMimeEncodedString(
                "=?utf-8?Q?a?= =?utf-8?B?Yg==?= =?utf-8?Q?a?="),
            "a b a");
  // With more runs than any mailer writes each is replaced where it stands.
  std::string value;
  std::string expected;
  for (int i = 0; i < 40; ++i) {
    value += "=?utf-8?Q?a?==?utf-8?B?Yg==?=";
    expected += "ab";
  }
  value += "=?utf-8?Q?a?=-=?utf-8?Q?c?=";
  expected += "ac";
  EXPECT_EQ(stringWithMimeEncodedString(value), expected);
}

TEST(EncodedWords, AreRecognised) {
  for (std::string_view text :
       {"=?utf-8?Q?a?=", "=?UTF-8?b?YQ==?=", "x =?utf-8?q?a",
        "=?x? =?utf-8?Q?a",
        "=? utf-8 ? Q ?a?=", "=?utf-8?Q? a?=", "=?utf-8?Q?a?"}) {
    EXPECT_EQ(isMimeEncodedString(text),
              text != std::string_view("=? utf-8 ? Q ?a?="))
        << text;
  }
  for (std::string_view text :
       {"", "plain", "=?utf-8?Q?\?=", "=?utf-8?Q?  ?=", "=?utf-8?Q?",
        "=?utf-8?Q", "=?utf-8?X?a?=", "=?utf-8?Qa?=", "=?no-such?Q?a?=",
        "=??Q?a?=", "=?utf-8"}) {
    EXPECT_FALSE(isMimeEncodedString(text)) << text;
  }
}

TEST(EncodedWords, OnlySimplifiedChineseHasAlternatives) {
  const std::vector<platform::StringEncoding> expected = {1585, 1586, 2563,
                                                          2569, 2566};
  EXPECT_EQ(alternativeTextEncodingsForEncoding(2352), expected);
  EXPECT_EQ(alternativeTextEncodingsForEncoding(1584), expected);
  EXPECT_FALSE(alternativeTextEncodingsForEncoding(1585));
  EXPECT_FALSE(alternativeTextEncodingsForEncoding(0xFFFFFFFF));
}

}  // namespace
}  // namespace quillhaven::mail
