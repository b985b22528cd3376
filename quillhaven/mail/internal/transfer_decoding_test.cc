#include "quillhaven/mail/internal/transfer_decoding.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

namespace quillhaven::mail::internal {
namespace {

using platform::kStringEncodingASCII;
using platform::kStringEncodingInvalid;
using platform::kStringEncodingUTF8;

TEST(Base64, DecodesGroupsAndIgnoresOtherCharacters) {
  const struct {
    std::string_view text;
    std::optional<std::string_view> bytes;
  } cases[] = {
      {"", ""},
      {"YWJj", "abc"},
      {"YWI=", "ab"},
      {"YQ==", "a"},
      {"Y W\r\nJ-j", "abc"},
      {"YQ==YWI=YWJj", "aababc"},  // padding in the middle
      {"=YWJj", "abc"},            // where a group would begin
      {"YWJj==", "abc"},           //
      {"YQ=\r\n=", "a"},
      {"\xC3\xA9", ""},
      {"-_*", ""},
      {"Y", {}},
      {"YW", {}},
      {"YWJ", {}},
      {"YWJjY", {}},
      {"Y===", {}},  // one character is no group
      {"YQ=", {}},
      {"YQ=a", {}},
      {"////", "\xFF\xFF\xFF"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(decodedBase64(c.text), c.bytes) << c.text;
  }
}

TEST(Base64, ReadsBackGeneratedBytesFoldedAnywhere) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::mt19937 random(19);
  for (int round = 0; round < 500; ++round) {
    std::string bytes;
    for (std::size_t i = random() % 200; i > 0; --i) {
      bytes.push_back(static_cast<char>(random()));
    }
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
      unsigned group = 0;
      const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
      for (std::size_t j = 0; j < 3; ++j) {
        group = group << 8 |
                (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0U);
      }
      for (std::size_t j = 0; j < 4; ++j) {
        if (random() % 9 == 0) text += "\r\n";
        text += j <= count ? kAlphabet[group >> (18 - 6 * j) & 63] : '=';
      }
    }
    ASSERT_EQ(decodedBase64(text), bytes) << text;
  }
}

TEST(QuotedPrintable, DecodesBodies) {
  const platform::StringEncoding latin1 =
      platform::stringEncodingForIANAName("iso-8859-1");
  const platform::StringEncoding shiftJIS =
      platform::stringEncodingForIANAName("shift_jis");
  const struct {
    std::string_view text;
    platform::StringEncoding charset;
    std::string_view decoded;
  } cases[] = {
      {"", kStringEncodingUTF8, ""},
      {"a=3Db=\r\nc=\nd=\re=\n\rf", kStringEncodingUTF8, "a=bcdef"},
      {"=C3=A9 100%", kStringEncodingUTF8, "\xC3\xA9 100%"},
      {"=c3=a9", kStringEncodingUTF8, "\xC3\xA9"},
      {"=E9", latin1, "\xC3\xA9"},
      {"=E9", kStringEncodingUTF8, "=E9"},  // kept as it is
      {"=\n=E9=3D", kStringEncodingUTF8, "=\n=E9=3D"},
      {"=41=E9", kStringEncodingASCII, "=41=E9"},
      {"=", kStringEncodingUTF8, "="},
      {"a==41=4=g1=4", kStringEncodingUTF8, "a=A=4=g1=4"},
      {"=4=\n1", kStringEncodingUTF8, "A"},  // soft breaks go first
      {"==\r\n41", kStringEncodingUTF8, "A"},
      {"=%41", kStringEncodingUTF8, "=%41"},
      {"%=41%", kStringEncodingInvalid, "A"},  // every "%" is dropped
      {"=4%1", kStringEncodingInvalid, "A"},
      {"=%\n", kStringEncodingInvalid, "=\n"},  // and makes no soft break
      {"50%=E9", kStringEncodingInvalid, "50%=E9"},
      {"=83A=83X", shiftJIS, "\xE3\x82\xA2\xE3\x82\xB9"},  // ASCII second bytes
      // A character beyond ASCII ends a run and stays.
      {"\xC3\xA9=E9", latin1, "\xC3\xA9\xC3\xA9"},
      {"=C3\xC3\xA9=A9", kStringEncodingUTF8, "=C3\xC3\xA9=A9"},
      {"\xE6\x97\xA5=83A", shiftJIS, "\xE6\x97\xA5\xE3\x82\xA2"},
  };
  for (const auto& c : cases) {
    // Sixteen bytes are looked at together; each case lies at every offset.
    for (std::size_t count = 0; count <= 17; ++count) {
      const std::string around(count, 'x');
      EXPECT_EQ(decodedQuotedPrintable(around + std::string(c.text) + around,
                                       c.charset),
                around + std::string(c.decoded) + around)
          << testing::PrintToString(c.text) << " in " << c.charset;
    }
  }
}

}  // namespace
}  // namespace quillhaven::mail::internal
