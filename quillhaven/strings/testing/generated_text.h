// Text for tests that hold two matchers equal. The seed is fixed; the variable
// QUILLHAVEN_TEST_SEED of the environment sets another.
#ifndef QUILLHAVEN_STRINGS_TESTING_GENERATED_TEXT_H_
#define QUILLHAVEN_STRINGS_TESTING_GENERATED_TEXT_H_

#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::strings::testing {

inline std::mt19937 seededRandom() {
  const char* const seed = std::getenv("QUILLHAVEN_TEST_SEED");
  return std::mt19937(seed != nullptr ? static_cast<std::mt19937::result_type>(
                                            std::strtoul(seed, nullptr, 10))
                                      : 20261121U);
}

using Pieces = std::vector<std::string_view>;

// Fewer than `most` of `pieces`, one after the other.
inline std::string generatedText(std::mt19937& random, const Pieces& pieces,
                                 std::size_t most) {
  std::string text;
  for (std::size_t count = random() % most; count > 0; --count) {
    text += pieces[random() % pieces.size()];
  }
  return text;
}

// `text` with up to two changes: a piece put in, in place of a character, or a
// character taken out. Most of what matched then nearly matches.
inline std::string nearly(std::mt19937& random, std::string text,
                          const Pieces& pieces) {
  for (std::size_t count = random() % 3; count > 0 && !text.empty(); --count) {
    std::size_t at = random() % text.size();
    while (at > 0 && (text[at] & 0xC0) == 0x80) --at;
    std::size_t end = at + 1;
    while (end < text.size() && (text[end] & 0xC0) == 0x80) ++end;
    const std::size_t taken = random() % 2 == 0 ? 0 : end - at;
    const std::string_view put = random() % 3 == 0
                                     ? std::string_view()
                                     : pieces[random() % pieces.size()];
    text.replace(at, taken, put);
  }
  return text;
}

inline std::string repeated(std::string_view piece, std::size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  for (; count > 0; --count) text += piece;
  return text;
}

}  // namespace quillhaven::strings::testing

#endif  // QUILLHAVEN_STRINGS_TESTING_GENERATED_TEXT_H_
