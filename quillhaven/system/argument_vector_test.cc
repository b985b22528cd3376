#include "quillhaven/system/argument_vector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::system {
namespace {

using Arguments = std::vector<std::string>;
using namespace std::string_literals;

std::string bufferOf(std::int32_t count, std::string_view rest) {
  std::string buffer(sizeof count, '\0');
  std::memcpy(buffer.data(), &count, sizeof count);
  return buffer.append(rest);
}

TEST(ParseArgumentVector, ReadsAsManyStringsAsAnnounced) {
  const struct {
    std::string_view reason;
    std::int32_t count;
    std::string rest;
    std::optional<Arguments> arguments;
  } cases[] = {
      {"usual", 2, "/bin/ls\0\0\0\0ls\0-l\0HOME=/\0"s, Arguments{"ls", "-l"}},
      {"no padding", 1, "/bin/ls\0ls\0"s, Arguments{"ls"}},
      {"empty path", 1, "\0ls\0"s, Arguments{"ls"}},
      {"later arguments may be empty", 3, "/p\0a\0\0\0"s,
       Arguments{"a", "", ""}},
      {"an empty first one is padding", 2, "/p\0\0b\0c\0"s,
       Arguments{"b", "c"}},
      {"and then one is missing", 2, "/p\0\0b\0"s, std::nullopt},
      {"only an empty one", 1, "/p\0\0"s, std::nullopt},
      {"no NUL after the last", 2, "/p\0a\0b"s, std::nullopt},
      {"no NUL after one that is not read", 1, "/p\0a\0b"s, Arguments{"a"}},
      {"fewer than announced", 3, "/p\0a\0b\0"s, std::nullopt},
      {"far fewer", std::numeric_limits<std::int32_t>::max(), "/p\0a\0"s,
       std::nullopt},
      {"path without NUL", 1, "/bin/ls"s, std::nullopt},
      {"path and padding only", 1, "/bin/ls\0\0\0"s, std::nullopt},
      {"no arguments", 0, "/bin/ls\0HOME=/\0"s, Arguments()},
      {"no arguments and path without NUL", 0, "/bin/ls"s, Arguments()},
      {"count alone, zero", 0, "", Arguments()},
      {"count alone, one", 1, "", std::nullopt},
      {"no UTF-8", 2, "/p\0caf\xE9\0\xC3\xA9\0"s,
       Arguments{"caf\uFFFD", "\u00E9"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    EXPECT_EQ(parseArgumentVector(bufferOf(c.count, c.rest)), c.arguments);
  }
}

TEST(ParseArgumentVector, NeedsEveryByteOfItsBuffer) {
  const std::string whole = bufferOf(3, "/bin/ls\0\0ls\0-l\0/tmp\0"s);
  EXPECT_EQ(parseArgumentVector(whole), (Arguments{"ls", "-l", "/tmp"}));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(parseArgumentVector(std::string_view(whole).substr(0, size)))
        << size;
  }
}

TEST(ParseArgumentVector, StopsTheProcessAtANegativeCount) {
  EXPECT_DEATH((void)parseArgumentVector(bufferOf(-1, "/p\0a\0"s)),
               "Fatal error: an argument count must not be negative\n");
  EXPECT_DEATH((void)parseArgumentVector(bufferOf(-1, "")), "Fatal error");
}

}  // namespace
}  // namespace quillhaven::system
