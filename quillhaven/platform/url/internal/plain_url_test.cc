#include "quillhaven/platform/url/internal/plain_url.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

namespace quillhaven::platform::internal {
namespace {

// QUILLHAVEN_TEST_SEED makes other texts.
std::mt19937 generator() {
  const char* const seed = std::getenv("QUILLHAVEN_TEST_SEED");
  return std::mt19937(
      seed != nullptr ? static_cast<unsigned>(std::strtoul(seed, nullptr, 10))
                      : 29U);
}

void expectSame(const UrlComponents& ours, const UrlComponents& boosts) {
  EXPECT_EQ(ours.url, boosts.url);
  EXPECT_EQ(ours.scheme, boosts.scheme);
  EXPECT_EQ(ours.host, boosts.host);
  EXPECT_EQ(ours.path, boosts.path);
  EXPECT_EQ(ours.query, boosts.query);
  EXPECT_EQ(ours.fragment, boosts.fragment);
}

TEST(PlainUrlComponents, AgreeWithBoost) {
  constexpr std::string_view kPieces[] = {
      "https", "x",    "://", ":", "/",  "//",        "a.test", "-",
      ".",     "1.2b", "?",   "?", "#",  "%",         "%4",     "%4A",
      "&",     "=",    "[",   "@", "+",  "\"",        "{",      " ",
      "é",     "_",    "~",   "|", "80", "abcdefghij"};
  std::mt19937 random = generator();
  std::size_t plainCount = 0;
  for (int round = 0; round < 100000 && !testing::Test::HasFailure(); ++round) {
    std::string url = random() % 4 == 0 ? "" : "https://a.test";
    for (std::size_t left = random() % 12; left > 0; --left) {
      url += kPieces[random() % std::size(kPieces)];
    }
    SCOPED_TRACE(testing::PrintToString(url));
    const auto plain = plainUrlComponents(url);
    if (!plain) continue;
    ++plainCount;
    const auto boosts = urlComponentsByBoost(url);
    ASSERT_TRUE(boosts);
    expectSame(*plain, *boosts);
  }
  EXPECT_GT(plainCount, 5000U);
}

TEST(PlainUrlComponents, AllowTheCharactersThatBoostAllows) {
  for (int byte = 0; byte < 256; ++byte) {
    for (const std::string_view opening :
         {"https://a.test/", "https://a.test/?", "https://a.test/#",
          "https://a.test", "https://a.test/0123456789abcdef"}) {
      const std::string url =
          std::string(opening) + static_cast<char>(byte) + "x";
      SCOPED_TRACE(testing::PrintToString(url));
      const auto plain = plainUrlComponents(url);
      if (!plain) continue;
      const auto boosts = urlComponentsByBoost(url);
      ASSERT_TRUE(boosts);
      expectSame(*plain, *boosts);
    }
  }
}

}  // namespace
}  // namespace quillhaven::platform::internal
