#include "quillhaven/strings/internal/tracking_link_matcher.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/text/regular_expression.h"
#include "quillhaven/platform/text/utf8.h"
#include "quillhaven/platform/url/url_components.h"

namespace quillhaven::strings::internal {
namespace {

using identity::ProductConfiguration;
using platform::RegularExpression;
using platform::Uuid;

constexpr std::string_view kUser = "00FFAB12-3456-789A-BCDE-FF00FF00AABB";

// QUILLHAVEN_TEST_SEED makes other texts.
std::mt19937 generator() {
  const char* const seed = std::getenv("QUILLHAVEN_TEST_SEED");
  return std::mt19937(
      seed != nullptr ? static_cast<unsigned>(std::strtoul(seed, nullptr, 10))
                      : 23U);
}

// A link that comes with its parts has those of the URL that it is.
void expectSameTail(std::string_view text, const TrackingLink& link) {
  if (!link.tail) return;
  const auto url =
      platform::urlComponents(text.substr(link.position, link.size));
  ASSERT_TRUE(url) << testing::PrintToString(text);
  EXPECT_EQ(link.tail->end, link.position + link.size);
  EXPECT_EQ(link.tail->queryIn(text), url->query.value_or(""));
  const auto ours = link.tail->insertion();
  const auto theirs = platform::queryInsertion(*url);
  EXPECT_EQ(ours.position, link.position + theirs.position);
  EXPECT_EQ(ours.separator, theirs.separator);
}

// Holds the matcher and ICU side by side for one configuration and user.
class BothMatchers {
 public:
  BothMatchers(const ProductConfiguration& configuration,
               const std::optional<Uuid>& user)
      : names_(*TrackingNames::compiled(configuration)),
        byHand_(names_, user),
        icu_(trackingLinkPattern(configuration, user),
             RegularExpression::Options::kIgnoringCase) {}

  // Expects the same links in `text`; returns their number.
  std::size_t expectSameLinks(std::string_view text) const {
    std::size_t count = 0;
    std::size_t from = 0;
    while (true) {
      const auto link = byHand_.firstMatch(text, from);
      const auto match = icu_.firstMatch(text, from);
      EXPECT_EQ(link.has_value(), match.has_value())
          << testing::PrintToString(text);
      if (!link || !match) return count;
      EXPECT_EQ(link->position, match->position)
          << testing::PrintToString(text);
      EXPECT_EQ(link->size, match->size) << testing::PrintToString(text);
      expectSameTail(text, *link);
      from = match->position + match->size;
      ++count;
    }
  }

 private:
  TrackingNames names_;
  TrackingLinkMatcher byHand_;
  RegularExpression icu_;
};

// Texts that go along with the pattern for a while and then leave it.
class TextGenerator {
 public:
  TextGenerator(std::mt19937& random, const ProductConfiguration& configuration)
      : random_(random), configuration_(configuration) {}

  std::string text() {
    std::string text;
    const std::size_t links = 1 + random_() % 3;
    for (std::size_t i = 0; i < links; ++i) appendLink(text);
    return text;
  }

 private:
  using Pieces = std::vector<std::string>;

  void appendLink(std::string& text) {
    const std::string user(kUser);
    append(text, {"https://", "HTTPS://", "http\u017F://", "http://",
                  "shttps://", "https:/"});
    append(text, {"", "beta", "bETa", configuration_.trackingSubdomain, user,
                  "00\uFB00ab12-3456-789a-bcde-ff00ff00aabb", "f-0", "-",
                  user + "a", "bet", "trac\u212A"});
    append(text, {"", ".", ".."});
    appendName(text, configuration_.trackingDomainNames);
    append(text, {".", ".", "", "x"});
    appendName(text, configuration_.trackingDomainEndings);
    append(text, {"/", "/", "//", ""});
    append(text, {user, "b/" + user, "p/" + user, "b2", "P2", "e2", "e3", "b",
                  "0-f", "b/0", "p/", "e2x", "B/" + user + "0"});
    append(text, {"/", "/", "", "//"});
    append(text, {"abc", "a", "-_", "\u017F", "\u212A", "\u00E9", "", "/"});
    append(text, {"", "d?a=1&b#c", "\u212Ax", "\u00E9\u3042", "/", "\\'", "'",
                  "%4Ax?", "%4", "%", "x#", "x#?a", "x?#b", "x??c#d#e", "[x]"});
    append(text, {"\"", "<", ">", " ", "\n", "\u0085", "\u00A0", "\u2003",
                  "\u3000", "\u200B", "", "\u2028"});
  }

  // A name as the configuration has it, or nearly.
  void appendName(std::string& text, const Pieces& names) {
    if (names.empty()) return;
    std::string name = names[random_() % names.size()];
    std::string written;
    for (std::size_t i = 0; i < name.size(); ++i) {
      if (name[i] == '\\') continue;
      const bool isAny = name[i] == '.' && (i == 0 || name[i - 1] != '\\');
      if (isAny) {
        append(written, {".", "x", "\u3042", "\n", "/"});
      } else if (name.compare(i, 2, "st") == 0 && random_() % 4 == 0) {
        written.append(random_() % 2 == 0 ? "\uFB05" : "\uFB06");
        ++i;
      } else if (random_() % 30 != 0) {
        written.push_back(name[i]);
      }
    }
    text.append(written);
  }

  // Mostly one of the first pieces.
  void append(std::string& text, const Pieces& pieces) {
    const std::size_t at = std::min(random_() % (pieces.size() + 1),
                                    random_() % (pieces.size() + 1));
    text.append(pieces[at % pieces.size()]);
  }

  std::mt19937& random_;
  const ProductConfiguration& configuration_;
};

std::vector<ProductConfiguration> configurations() {
  ProductConfiguration several;
  several.trackingSubdomain = "Stock";
  several.trackingDomainNames = {"fa", "face", "f.a", "x-1\\.y"};
  several.trackingDomainEndings = {"co.uk", "co\\.uk", "st/kiss/ffi", "c", ""};
  ProductConfiguration empty;
  empty.trackingSubdomain = "";
  empty.trackingDomainNames = {};
  empty.trackingDomainEndings = {"", "b2"};
  return {ProductConfiguration(), several, empty};
}

TEST(TrackingLinkMatcher, AgreesWithICU) {
  std::mt19937 random = generator();
  for (const ProductConfiguration& configuration : configurations()) {
    SCOPED_TRACE(trackingLinkPattern(configuration, {}));
    const BothMatchers any(configuration, {});
    const BothMatchers one(configuration, Uuid::fromString(kUser));
    TextGenerator texts(random, configuration);
    std::size_t anyCount = 0;
    std::size_t oneCount = 0;
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
      const std::string text = texts.text();
      anyCount += any.expectSameLinks(text);
      oneCount += one.expectSameLinks(text);
    }
    // Enough of the texts are links for the comparison to mean something.
    EXPECT_GT(anyCount, 1000U);
    EXPECT_GT(oneCount, 500U);
    EXPECT_GT(anyCount, oneCount);
  }
}

TEST(TrackingLinkMatcher, ClassesEveryCodePointAsICU) {
  const BothMatchers any(ProductConfiguration(), {});
  std::string items;
  std::string rests;
  std::string schemes;
  std::string hosts;
  // Few of the many above have been given a meaning.
  constexpr char32_t kSparse = 0x20000;
  for (char32_t c = 1; c < 0x110000 && !HasFailure();
       c += c < kSparse ? 1 : 97) {
    if (c >= 0xD800 && c < 0xE000) continue;
    const auto append = [c](std::string& text, std::string_view before,
                            std::string_view after) {
      text.append(before);
      platform::appendCodePoint(text, c);
      text.append(after).append("\n");
    };
    append(items, "https://quillhaven.test/b2/", "x");
    append(rests, "https://quillhaven.test/b2/x", "");
    append(schemes, "http", "://quillhaven.test/b2/xy");
    append(hosts, "https://trac", ".quillhaven.test/b2/xy");
    if (c < kSparse && c % 0x1000 != 0xFFF) continue;
    for (std::string* text : {&items, &rests, &schemes, &hosts}) {
      any.expectSameLinks(*text);
      text->clear();
    }
  }
}

TEST(TrackingNames, LeavesOtherPatternsToICU) {
  for (const std::string_view name :
       {"a+", "(", "[a]", "a|b", "\\", "a\\d", "\u00E9", "a b", "a*"}) {
    ProductConfiguration configuration;
    configuration.trackingDomainNames.emplace_back(name);
    EXPECT_FALSE(TrackingNames::compiled(configuration)) << name;
  }
}

}  // namespace
}  // namespace quillhaven::strings::internal
