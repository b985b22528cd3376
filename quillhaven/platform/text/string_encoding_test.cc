#include "quillhaven/platform/text/string_encoding.h"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <latch>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "quillhaven/platform/text/internal/encoding_table.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

using internal::allEncodings;
using internal::Encoding;
using internal::EncodingFamily;
using namespace std::string_view_literals;

constexpr StringEncoding kUTF16 = 0x0100;
constexpr StringEncoding kUTF16BE = 0x10000100;
constexpr StringEncoding kUTF16LE = 0x14000100;
constexpr StringEncoding kUTF32 = 0x0C000100;
constexpr StringEncoding kUTF32LE = 0x1C000100;
constexpr StringEncoding kUTF7 = 0x04000100;
constexpr StringEncoding kISO8859Part1 = 0x0201;
constexpr StringEncoding kIBM437 = 0x0400;
constexpr StringEncoding kWindows874 = 0x041D;
constexpr StringEncoding kWindows31J = 0x0420;
constexpr StringEncoding kWindows950 = 0x0423;
constexpr StringEncoding kWindows1252 = 0x0500;
constexpr StringEncoding kKSC560187 = 0x0640;
constexpr StringEncoding kISO2022JP = 0x0820;
constexpr StringEncoding kISO2022KR = 0x0840;
constexpr StringEncoding kEUCJP = 0x0920;
constexpr StringEncoding kEUCTW = 0x0931;
constexpr StringEncoding kEUCKR = 0x0940;
constexpr StringEncoding kShiftJIS = 0x0A01;
constexpr StringEncoding kKOI8R = 0x0A02;

// First in this file, so that the tables are made while threads compete.
TEST(StringEncoding, ServesSeveralThreads) {
  std::vector<std::thread> threads;
  std::array<std::vector<std::optional<std::string>>, 4> results;
  threads.reserve(results.size());
  std::latch start(results.size());
  for (auto& result : results) {
    threads.emplace_back([&result, &start] {
      start.arrive_and_wait();
      for (std::size_t i = 0; i < 20 * allEncodings().size(); ++i) {
        const Encoding& encoding = allEncodings()[i % allEncodings().size()];
        const auto bytes = bytesFromTextLossy("aé я漢字b", encoding.number);
        result.push_back(textFromBytes(bytes.value_or(""), encoding.number));
        result.push_back(ianaNameForStringEncoding(
            stringEncodingForIANAName(encoding.name)));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(results[0].front(), "aé ???b");
  for (const auto& result : results) EXPECT_EQ(result, results[0]);
}

TEST(StringEncodingForIANAName, KnowsNamesAndAliases) {
  const struct {
    std::string_view name;
    StringEncoding encoding;
  } cases[] = {
      {"UTF-8", kStringEncodingUTF8},
      {"utf8", kStringEncodingUTF8},
      {" UTF_8 ", kStringEncodingUTF8},
      {"us-ascii", kStringEncodingASCII},
      {"ANSI_X3.4-1968", kStringEncodingASCII},
      {"latin1", kISO8859Part1},
      {"ISO_8859-1:1987", kISO8859Part1},
      {"iso8859-1", kISO8859Part1},
      {"iso-8859-11", 0x020B},
      {"iso-8859-8-i", 0x0208},
      {"ISO_8859-15", 0x020F},
      {"iso-8859-16", internal::kISO8859Part16},
      {"macintosh", kStringEncodingMacRoman},
      {"x-mac-roman", kStringEncodingMacRoman},
      {"x-mac-cyrillic", 7},
      {"cp1252", kWindows1252},
      {"tis-620", kWindows874},
      {"koi8r", kKOI8R},
      {"gb2312", kStringEncodingEUC_CN},
      {"csGB2312", kStringEncodingEUC_CN},
      {"euc-cn", kStringEncodingEUC_CN},
      {"GB_2312-80", kStringEncodingGB_2312_80},
      {"chinese", kStringEncodingGB_2312_80},
      {"cp936", kStringEncodingGBK_95},
      {"windows-936", kStringEncodingGBK_95},
      {"gb18030", kStringEncodingGB_18030_2000},
      {"csBig5", kStringEncodingBig5},
      {"big5-hkscs", kStringEncodingBig5_HKSCS_1999},
      {"big5-e", kStringEncodingBig5_E},
      {"ks_c_5601-1987", kKSC560187},
      {"euckr", kEUCKR},
      {"sjis", kShiftJIS},
      {"MS_Kanji", kShiftJIS},
      {"cp932", kWindows31J},
      {"unicode-1-1-utf-7", kUTF7},
      {"utf-16be", kUTF16BE},
      {"utf-8-----------------------------------------------------------",
       kStringEncodingUTF8},  // 64 bytes
      {"utf-8------------------------------------------------------------",
       kStringEncodingInvalid},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(stringEncodingForIANAName(c.name), c.encoding) << c.name;
  }
  for (std::string_view name :
       {"", "-", "iso-8859-12", "iso-8859-01", "utf-08", "utf", "x-unknown",
        "utf-8\xC3\xA9x", "ISO_2022,locale=ja"}) {
    EXPECT_EQ(stringEncodingForIANAName(name), kStringEncodingInvalid) << name;
  }
}

TEST(StringEncodingForIANAName, LeadsBackFromEveryName) {
  for (const Encoding& encoding : allEncodings()) {
    SCOPED_TRACE(encoding.name);
    const auto name = ianaNameForStringEncoding(encoding.number);
    ASSERT_TRUE(name);
    EXPECT_EQ(stringEncodingForIANAName(*name), encoding.number);
    // A row whose converter ICU lacks could not even hold a letter.
    EXPECT_EQ(bytesFromText("a?", encoding.number).has_value(), true);
    EXPECT_EQ(textFromBytes("", encoding.number), "");
  }
  for (const StringEncoding unknown : {1U, 0x020CU, kStringEncodingInvalid}) {
    EXPECT_FALSE(ianaNameForStringEncoding(unknown));
    EXPECT_FALSE(textFromBytes("", unknown));
    EXPECT_FALSE(bytesFromTextLossy("", unknown));
    EXPECT_FALSE(certainlySurvivesEncoding("", unknown));
  }
}

TEST(StringEncoding, ConvertsBothWays) {
  const struct {
    StringEncoding encoding;
    std::string_view bytes, text;
  } cases[] = {
      {kStringEncodingUTF8, "\xF0\x9F\x98\x80", "😀"},
      {kStringEncodingMacRoman, "\x8E\xDB\xF0", "é€\uF8FF"},
      {7, "\x80\xDF", "Ая"},
      {kISO8859Part1, "\x85\xE9", "\u0085é"},
      {internal::kISO8859Part16, "\xA4\xAA\xDE\xFE", "€ȘȚț"},
      {kIBM437, "\x82\x1A\x1C\x7F", "é\x1A\x1C\x7F"},
      {kWindows874, "\x80\xA1\xFB", "€ก๛"},
      {kKOI8R, "\xF0\xD2\xC9\xD7\xC5\xD4", "Привет"},
      {kStringEncodingEUC_CN, "a\xD6\xD0\xCE\xC4", "a中文"},
      {kStringEncodingGB_2312_80, "a\xD6\xD0\xCE\xC4", "a中文"},
      {kStringEncodingGBK_95, "\xD6\xEC\xE9\x46\xBB\xF9", "朱镕基"},
      {kStringEncodingGB_18030_2000, "\x81\x30\x81\x30\x94\x39\xFC\x36",
       "\u0080😀"},
      {kStringEncodingBig5, "\xA4\xA4\xA4\xE5", "中文"},
      {kStringEncodingBig5_E, "\xA4\xA4\xA4\xE5", "中文"},
      {kStringEncodingBig5_HKSCS_1999, "\x9D\xF7", "咗"},
      {kEUCTW, "\xC4\xE3\xC5\xC6", "中文"},
      {kEUCJP, "\xC6\xFC\x8E\xB1\x8F\xB0\xA1", "日ｱ丂"},
      {kShiftJIS, "\x93\xFA\xB1\x1A\x1C\x7F\\~", "日ｱ\x1A\x1C\x7F\\~"},
      {kShiftJIS, "\x1A\x1C\x7F\\~", "\x1A\x1C\x7F\\~"},
      {kWindows31J, "\xF0\x40", "\uE000"},
      {kEUCKR, "\xB0\xA1", "가"},
      {kKSC560187, "\xB0\xA1\x81\x41", "가갂"},
      {kISO2022JP, "a\x1B$BF|\x1B(Bb", "a日b"},
      {kISO2022KR,
       "\x1B$)Ca\\\x0E\x30\x21\x0F"
       "b",
       "a\\가b"},
      {internal::kHZGB2312, "a~~~{VPND~}b", "a~中文b"},
      {kUTF7, "a+-+ZeVnLA-b", "a+日本b"},
      {kUTF16, "\xFE\xFF\0a\xD8\x3D\xDE\x00"sv, "a😀"},
      {kUTF16BE, "\xFE\xFF\0a"sv, "\uFEFFa"},
      {kUTF16LE, "a\0\x3D\xD8\x00\xDE"sv, "a😀"},
      {kUTF32, "\0\0\xFE\xFF\0\1\xF6\0"sv, "😀"},
      {kUTF32LE, "\0\xF6\1\0"sv, "😀"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(*ianaNameForStringEncoding(c.encoding));
    EXPECT_EQ(textFromBytes(c.bytes, c.encoding), c.text);
    EXPECT_EQ(bytesFromText(c.text, c.encoding), c.bytes);
    EXPECT_EQ(bytesFromTextLossy(c.text, c.encoding), c.bytes);
  }
}

TEST(TextFromBytes, FollowsTheByteOrderMark) {
  const struct {
    StringEncoding encoding;
    std::string_view bytes, text;
  } cases[] = {
      {kUTF16, "\0a"sv, "a"},
      {kUTF16,
       "\xFF\xFE"
       "a\0"sv,
       "a"},
      {kUTF16, "\xFE\xFF", ""},
      {kUTF16, "\xFE\xFF\xFE\xFF", "\uFEFF"},
      {kUTF32, "\0\0\0a"sv, "a"},
      {kUTF32, "\xFF\xFE\0\0a\0\0\0"sv, "a"},
      {kUTF32LE, "\xFF\xFE\0\0"sv, "\uFEFF"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(textFromBytes(c.bytes, c.encoding), c.text) << c.text;
  }
}

TEST(AppendTextFromBytes, RefusesWhatIsUndefinedAndLeavesTheText) {
  const struct {
    StringEncoding encoding;
    std::string_view bytes;
  } cases[] = {
      {kStringEncodingUTF8, "a\xC0\x80"},
      {kStringEncodingASCII, "a\x80"},
      {kWindows1252, "a\x81"},
      {internal::kWindows1253, "a\xAA"},
      {kWindows874, "a\xDB"},
      {0x0206, "a\xA1"},  // a gap of ISO 8859-6
      {kStringEncodingEUC_CN, "\xD6\xEC\xE9\x46\xBB\xF9"},
      {kStringEncodingEUC_CN, "\xD6\xD0\xA2\xA1"},  // an empty row
      {kStringEncodingGBK_95, "\xD6\xD0\xFF"},
      {kStringEncodingGBK_95, "\xD6\xD0\xAA\xA1"},  // user-defined
      {kStringEncodingBig5, "\xA4\xA4\x81\x40"},    // user-defined
      {kWindows950, "\xA4\xA4\xFF"},
      {kShiftJIS, "\x93\xFA\xF0\x40"},  // user-defined
      {kShiftJIS, "\x93\xFA\xA0"},
      {kEUCJP, "\xC6\xFC\x8E\x41"},
      {kEUCKR, "\xB0\xA1\x81\x41"},  // defined in the Windows code page only
      {kISO2022JP, "a\xC6\xFC"},
      {kISO2022JP, "\x1B$BF|\x1B$)C"},
      {kISO2022JP, "\x1B$B\x21\x21\x29\x21\x1B(B"},  // an empty row
      {kUTF7, "a\xE9"},
      {kUTF7, "+2D0-"},  // an unpaired surrogate
      {kUTF16BE, "\0a\0"sv},
      {kUTF16BE, "\0a\xD8\x3D"sv},
      {kUTF16BE, "\0a\xDE\x00"sv},
      {kUTF16BE, "\xD8\x3D\0a"sv},
      {kUTF16BE, "\xD8\x3D\xD8\x3D\xDE\x00"sv},
      {kUTF32, "\0\x11\0\0"sv},
      {kUTF32, "\0\0\xD8\0"sv},
      {kUTF32, "\0\0\0a\0"sv},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(*ianaNameForStringEncoding(c.encoding));
    EXPECT_FALSE(textFromBytes(c.bytes, c.encoding));
    std::string text = "before";
    EXPECT_FALSE(appendTextFromBytes(text, c.bytes, c.encoding));
    EXPECT_EQ(text, "before");
    // The cached converter must not remember the failure.
    EXPECT_TRUE(textFromBytes("", c.encoding));
    EXPECT_EQ(textFromBytes(*bytesFromText("a b", c.encoding), c.encoding),
              "a b");
  }
}

TEST(TextFromBytes, TakesNoC1ControlForAnUndefinedByte) {
  for (const Encoding& encoding : allEncodings()) {
    SCOPED_TRACE(encoding.name);
    const bool isISO8859 = std::string_view(encoding.name).starts_with("iso-8");
    for (unsigned byte = 0x80; byte < 0xA0; ++byte) {
      const std::string bytes = {'a', static_cast<char>(byte), 'b'};
      const auto text = textFromBytes(bytes, encoding.number);
      std::string control;
      appendCodePoint(control, byte);
      if (isISO8859) {
        EXPECT_EQ(text, "a" + control + "b");
      } else if (encoding.family != EncodingFamily::utf16) {
        EXPECT_NE(text, "a" + control + "b") << byte;
      }
    }
  }
}

TEST(TextFromBytes, FailsWhereASequenceIsCutShort) {
  const struct {
    StringEncoding encoding;
    std::string_view text;
  } cases[] = {
      {kStringEncodingUTF8, "é漢😀"},
      {kStringEncodingEUC_CN, "中文"},
      {kStringEncodingGB_18030_2000, "中é😀"},
      {kStringEncodingBig5_HKSCS_1999, "中咗"},
      {kEUCJP, "日ｱ丂"},
      {kShiftJIS, "日ソ表"},
      {kEUCTW, "中文"},
      {kISO2022JP, "a日本"},
      {kUTF16LE, "a😀"},
      {kUTF32, "a😀"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(*ianaNameForStringEncoding(c.encoding));
    auto bytes = bytesFromText(c.text, c.encoding);
    ASSERT_TRUE(bytes);
    for (std::size_t size = 0; size < bytes->size(); ++size) {
      const auto text = textFromBytes(bytes->substr(0, size), c.encoding);
      EXPECT_TRUE(!text || c.text.starts_with(*text)) << size;
    }
    bytes->pop_back();
    EXPECT_FALSE(textFromBytes(*bytes, c.encoding));
  }
  EXPECT_FALSE(textFromBytes("\x1B$BF", kISO2022JP));
  EXPECT_FALSE(textFromBytes("a\x1B", kISO2022JP));
  EXPECT_FALSE(textFromBytes("\xB0", kEUCKR));
}

TEST(BytesFromText, WritesAQuestionMarkForWhatTheEncodingLacks) {
  const struct {
    StringEncoding encoding;
    std::string_view text, bytes;
  } cases[] = {
      {kStringEncodingASCII, "aé😀b", "a??b"},
      {kISO8859Part1, "é€e\u0301", "\xE9?e?"},
      {kWindows1252, "a\u0081ā", "a??"},  // neither C1 nor best fit
      {kWindows874, "\uF8C1ก", "?\xA1"},
      {kStringEncodingEUC_CN, "镕中", "?\xD6\xD0"},
      {kStringEncodingEUC_CN, "中\u0085—", "\xD6\xD0??"},
      {kStringEncodingGBK_95, "中\u00AD", "\xD6\xD0?"},  // may go unseen
      {kStringEncodingGBK_95, "\uE000😀", "??"},
      {kWindows31J, "日\uF86F¥", "\x93\xFA??"},
      {kISO2022JP, "日😀本", "\x1B$BF|\x1B(B?\x1B$BK\\\x1B(B"},
      {kISO2022JP, "a\x1B\x0E", "a??"},
      {internal::kHZGB2312, "中😀文", "~{VP~}?~{ND~}"},
      {internal::kHZGB2312, "镕中", "?~{VP~}"},
      {kISO2022KR, "😀가", "\x1B$)C?\x0E\x30\x21\x0F"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(*ianaNameForStringEncoding(c.encoding));
    EXPECT_EQ(bytesFromTextLossy(c.text, c.encoding), c.bytes);
    EXPECT_FALSE(bytesFromText(c.text, c.encoding));
  }
}

TEST(CertainlySurvivesEncoding, KeepsItsWord) {
  std::vector<std::string> texts = {
      "é", "я",      "€",      "あ",     "漢",     "가",     "ก",
      "א", "\u0080", "\u00AD", "\uE000", "\uF8FF", "\uFEFF", "😀"};
  std::string printable;
  for (char c = 0; c >= 0 && c < 0x7F; ++c) {
    texts.emplace_back(1, c);
    texts.push_back(std::string("a") + c + "bc");
    texts.push_back(std::string(1, c) + "{!!");
    if (c >= ' ') printable += c;
  }
  texts.emplace_back("\x7F");
  texts.push_back(printable);
  for (const Encoding& encoding : allEncodings()) {
    for (const std::string& text : texts) {
      const auto bytes = bytesFromTextLossy(text, encoding.number);
      ASSERT_TRUE(bytes);
      const bool survives = textFromBytes(*bytes, encoding.number) == text;
      const bool isCertain = certainlySurvivesEncoding(text, encoding.number);
      EXPECT_TRUE(survives || !isCertain) << encoding.name << ": " << text;
      if (encoding.family == EncodingFamily::singleByte) {
        EXPECT_EQ(survives, isCertain) << encoding.name << ": " << text;
      }
    }
    EXPECT_TRUE(certainlySurvivesEncoding("Plain text, 7.", encoding.number));
    EXPECT_TRUE(certainlySurvivesEncoding("", encoding.number));
  }
}

// The blocks that conversions work in must not show at any size.
TEST(StringEncoding, CutsNoCharacterBetweenBlocks) {
  const struct {
    StringEncoding encoding;
    std::string_view piece;
  } cases[] = {
      {kStringEncodingGB_18030_2000, "ก😀中a"},
      {kStringEncodingGBK_95, "中文"},
      {kEUCJP, "日丂ｱ"},
      {kShiftJIS, "表a"},
      {kISO2022JP, "日a"},
      {kISO2022KR, "가a"},
      {internal::kHZGB2312, "中a~"},
      {kUTF7, "é😀+"},
      {kUTF16, "😀é"},
      {kUTF32, "😀é"},
      {kKOI8R, "яa"},
      {kStringEncodingUTF8, "é😀漢"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(*ianaNameForStringEncoding(c.encoding));
    for (std::size_t padding = 1010; padding < 1030; ++padding) {
      std::string text(c.piece);
      text.append(padding, 'a');
      while (text.size() < 12000) text += c.piece;
      const auto bytes = bytesFromText(text, c.encoding);
      ASSERT_TRUE(bytes);
      EXPECT_TRUE(textFromBytes(*bytes, c.encoding) == text) << padding;
      EXPECT_TRUE(bytesFromTextLossy(text + "\x02", c.encoding) ==
                  bytesFromText(text + "\x02", c.encoding));
    }
    // The room for a long text is found out before.
    std::string text;
    while (text.size() < 300'000) text += c.piece;
    const std::string bytes = bytesFromText(text, c.encoding).value_or("");
    const auto read = textFromBytes(bytes, c.encoding);
    ASSERT_TRUE(read == text);
    EXPECT_LE(read->capacity(), std::max(text.size(), bytes.size()));
  }
  std::string text, bytes = "\x1B$B";
  for (int i = 0; i < 3000; ++i) {
    text += "日";
    bytes += "F|";
  }
  EXPECT_EQ(bytesFromText(text, kISO2022JP), bytes + "\x1B(B");
  // Long input reaches ICU in pieces of a mebibyte.
  for (std::size_t padding = 0; padding < 4; ++padding) {
    text = "中" + std::string(padding, 'a');
    while (text.size() < (std::size_t{7} << 18)) text += "é中é中é中é中";
    bytes = bytesFromText(text, kStringEncodingGB_18030_2000).value_or("");
    ASSERT_GT(bytes.size(), std::size_t{1} << 20);
    EXPECT_TRUE(textFromBytes(bytes, kStringEncodingGB_18030_2000) == text);
  }
}

// ICU's answer for one byte, with what we take for undefined left out.
std::optional<std::string> textFromICU(UConverter* converter, unsigned byte,
                                       const Encoding& encoding) {
  if (encoding.number == internal::kWindows1253 && byte == 0xAA) {
    return std::nullopt;
  }
  UErrorCode error = U_ZERO_ERROR;
  const char source = static_cast<char>(byte);
  UChar units[4];
  const int count = ucnv_toUChars(converter, units, 4, &source, 1, &error);
  if (U_FAILURE(error)) return std::nullopt;
  EXPECT_EQ(count, 1);
  const bool isC1 = units[0] >= 0x80 && units[0] < 0xA0;
  if (isC1 && !encoding.is(internal::kHoldsC1Controls)) return std::nullopt;
  const bool isPrivate = units[0] >= 0xE000 && units[0] < 0xF900;
  if (isPrivate && encoding.number != 0) return std::nullopt;
  std::string text;
  appendCodePoint(text, units[0]);
  return text;
}

TEST(StringEncoding, SingleByteTablesEqualICU) {
  for (const Encoding& encoding : allEncodings()) {
    if (encoding.family != EncodingFamily::singleByte ||
        encoding.number == internal::kISO8859Part16) {
      continue;
    }
    SCOPED_TRACE(encoding.name);
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(encoding.name, &error);
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr,
                        nullptr, &error);
    ASSERT_TRUE(U_SUCCESS(error));
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::string bytes(1, static_cast<char>(byte));
      const auto text = textFromBytes(bytes, encoding.number);
      const bool isTurnedInDOS = byte == 0x1A || byte == 0x1C || byte == 0x7F;
      EXPECT_EQ(text,
                isTurnedInDOS ? bytes : textFromICU(converter, byte, encoding));
      if (byte < 128 || text) {
        EXPECT_EQ(bytesFromText(text.value_or(""), encoding.number), bytes);
      }
    }
    ucnv_close(converter);
  }
}

TEST(StringEncoding, GeneratedBytesFailOrComeBack) {
  constexpr unsigned kSeed = 20;
  std::mt19937 random(kSeed);
  for (const Encoding& encoding : allEncodings()) {
    SCOPED_TRACE(encoding.name);
    for (int round = 0; round < 300; ++round) {
      std::string bytes;
      for (auto size = random() % 12; size > 0; --size) {
        // Escape sequences and lead bytes come up often.
        constexpr std::string_view kLikely = "\x1B$B(~{}+-\x0E\x0F\x8E\x8F\xFE";
        const auto value = random();
        bytes += value % 3 == 0 ? kLikely[value / 3 % kLikely.size()]
                                : static_cast<char>(value >> 8);
      }
      const auto text = textFromBytes(bytes, encoding.number);
      if (!text) continue;
      ASSERT_TRUE(isValidUTF8(*text));
      // A shift character may be read, yet not written.
      if (text->find_first_of("\x1B\x0E\x0F") != std::string::npos) continue;
      const auto back = bytesFromText(*text, encoding.number);
      EXPECT_EQ(textFromBytes(back.value_or(bytes), encoding.number), text);
    }
  }
}

}  // namespace
}  // namespace quillhaven::platform
