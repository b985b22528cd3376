#include "quillhaven/platform/text/grapheme_breaks.h"

#include <gtest/gtest.h>
#include <unicode/brkiter.h>

#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform {
namespace {

// One of every kind that the rules tell apart.
constexpr char32_t kKinds[] = {
    'a',    '\r',    '\n',    0x00AD,   // plain, CR, LF, control
    0x0301, 0x200C,  0x200D,  0x0903,   // extending, ccc 0, joiner, spacing
    0x0600, 0x1F1E9, 0x1F600, 0x1F3FD,  // prepended, flag, pictograph, tone
    0x1100, 0x1160,  0x11A8,  0xAC00,  0xAC01,  // Hangul
    0x0915, 0x094D,  0x093C,  0x0995,  0x09CD,  // consonants, viramas
    0x0B95, 0x0BCD,  0x4E00,  0xA9};

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

std::string repeated(std::string_view piece, std::size_t count) {
  std::string text;
  for (; count > 0; --count) text += piece;
  return text;
}

// ICU's own cuts, as the characters between them.
class Reference {
 public:
  std::vector<std::string> characters(std::string_view text) {
    const auto units = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    iterator_->setText(units);
    std::vector<std::string> found;
    std::int32_t start = 0;
    for (std::int32_t end = iterator_->next(); end != icu::BreakIterator::DONE;
         end = iterator_->next()) {
      std::string& character = found.emplace_back();
      units.tempSubStringBetween(start, end).toUTF8String(character);
      start = end;
    }
    return found;
  }

 private:
  UErrorCode status_ = U_ZERO_ERROR;
  std::unique_ptr<icu::BreakIterator> iterator_{
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(),
                                                  status_)};
};

// The three operations against the reference, for every count.
void expectCharacters(std::string_view text,
                      const std::vector<std::string>& characters) {
  ASSERT_EQ(characterCount(text), characters.size())
      << testing::PrintToString(text);
  std::size_t at = 0;
  for (std::size_t count = 0; count <= characters.size(); ++count) {
    ASSERT_EQ(firstCharacters(text, count), text.substr(0, at))
        << testing::PrintToString(text);
    ASSERT_EQ(lastCharacters(text, characters.size() - count), text.substr(at))
        << testing::PrintToString(text);
    if (count < characters.size()) at += characters[count].size();
  }
  EXPECT_EQ(firstCharacters(text, characters.size() + 1), text);
  EXPECT_EQ(lastCharacters(text, characters.size() + 1), text);
}

TEST(GraphemeBreaks, KeepWhatIsReadAsOneTogether) {
  const struct {
    std::string_view text;
    std::size_t count;
  } cases[] = {
      {"", 0},
      {"abc", 3},
      {"\r\n", 1},
      {"a\r\n\r\n\n\r", 5},
      {"\xC3\xA9", 1},                          // é
      {"e\xCC\x81x", 2},                        // e and its accent
      {"\n\xCC\x81", 2},                        // an accent without a letter
      {"\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA", 1},  // a flag
      {"\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7", 1},  // a family
      {"\xEA\xB0\x81\xE1\x84\x80\xE1\x85\xA0", 2},          // Hangul
      {"\xE0\xA4\x95\xE0\xA5\x8D\xE0\xA4\xB7", 1},          // Devanagari
  };
  for (const auto& c : cases) {
    EXPECT_EQ(characterCount(c.text), c.count)
        << testing::PrintToString(c.text);
  }
}

TEST(GraphemeBreaks, AreICUsBesideEveryCodePoint) {
  Reference reference;
  for (char32_t c = 0; c <= 0xE0FFF; ++c) {
    if (c == 0xD800) c = 0xE000;
    if (c == 0x20000) c = 0xE0000;  // ideographs and nothing until the tags
    std::string text;
    for (const char32_t kind : kKinds) {
      appendCodePoint(text, kind);
      appendCodePoint(text, c);
      appendCodePoint(text, kind);
      text += '\x01';
    }
    const auto characters = reference.characters(text);
    ASSERT_EQ(characterCount(text), characters.size()) << std::hex << int(c);
    for (std::size_t at = 0; const std::string& character : characters) {
      ASSERT_EQ(firstCharacters(std::string_view(text).substr(at), 1),
                character)
          << std::hex << int(c);
      at += character.size();
    }
  }
}

TEST(GraphemeBreaks, AreICUsOverGeneratedText) {
  Reference reference;
  std::mt19937 random(5);
  for (int round = 0; round < 20000; ++round) {
    // Few kinds a text, so that their sequences become long.
    const char32_t favourites[] = {kKinds[random() % std::size(kKinds)],
                                   kKinds[random() % std::size(kKinds)],
                                   kKinds[random() % std::size(kKinds)]};
    std::string text;
    for (std::size_t count = random() % 16; count > 0; --count) {
      appendCodePoint(text, random() % 4 == 0
                                ? kKinds[random() % std::size(kKinds)]
                                : favourites[random() % 3]);
    }
    ASSERT_NO_FATAL_FAILURE(expectCharacters(text, reference.characters(text)));
  }
}

// Each would take minutes if a look back were repeated.
TEST(GraphemeBreaks, TakeHostileTextInOneGo) {
  constexpr std::size_t kCount = 1 << 18;
  const std::string_view flag = "\xF0\x9F\x87\xA9";
  const std::string_view consonant = "\xE0\xA4\x95";
  const std::string_view virama = "\xE0\xA5\x8D";
  const struct {
    std::string text;
    std::size_t count;
  } cases[] = {
      {"a" + repeated("\xCC\x81", kCount), 1},
      {repeated(flag, kCount), kCount / 2},
      {repeated("\xF0\x9F\x91\xA9\xE2\x80\x8D", kCount), 1},
      {repeated(joined({consonant, virama}), kCount), 1},
      {joined({consonant, repeated(virama, kCount), consonant}), 1},
      {repeated("\xD8\x80", kCount), 1},
      {repeated("\r\n", kCount), kCount},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text.substr(0, 8)));
    EXPECT_EQ(characterCount(c.text), c.count);
    EXPECT_EQ(firstCharacters(c.text, c.count - 1).size() +
                  lastCharacters(c.text, 1).size(),
              c.text.size());
    EXPECT_EQ(lastCharacters(c.text, c.count).size(), c.text.size());
  }
}

}  // namespace
}  // namespace quillhaven::platform
