#include "quillhaven/strings/tracking_links.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::strings {
namespace {

using platform::Uuid;

constexpr std::string_view kUserText = "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9";
const Uuid kUser = *Uuid::fromString(kUserText);
const Uuid kContact = *Uuid::fromString("FBFFBF01-2345-6789-abcd-ef0123456789");

TEST(TrackingItemRegexPattern, HoldsTheConfiguredNames) {
  EXPECT_EQ(trackingItemRegexPattern(),
            R"re(https://(?:beta|track|[0-9a-f-]+)?\.?(?:quillhaven)\.)re"
            R"re((?:example/tracking/hit|test)/(?:[0-9a-f-]+|b/[0-9a-f-]+|)re"
            R"re(p/[0-9a-f-]+|b2|p2|e2)/[0-9a-z_-]+[^<>\"\s]+)re");
  const std::string user(kUserText);
  EXPECT_EQ(
      trackingItemRegexPattern(kUser),
      "https://(?:beta|track|" + user +
          R"re()?\.?(?:quillhaven)\.(?:example/tracking/hit|test)/(?:)re" +
          user + "|b/" + user + "|p/" + user +
          R"re(|b2|p2|e2)/[0-9a-z_-]+[^<>\"\s]+)re");
}

TEST(AddingNoTrackToTrackingURLs, AddsTheItemToEachLink) {
  const std::string b2 = "https://track.quillhaven.test/b2/item";
  const struct {
    std::string text, expected;
  } cases[] = {
      {"", ""},
      {"no link", "no link"},
      {b2, b2 + "?notrack=true"},
      {b2 + "?a=1", b2 + "?a=1&notrack=true"},
      {b2 + "?", b2 + "?notrack=true"},
      {b2 + "?a=1#f", b2 + "?a=1&notrack=true#f"},
      {b2 + "#f?a=1", b2 + "?notrack=true#f?a=1"},
      {b2 + "?a=%2F+%c3%A9&b", b2 + "?a=%2F+%c3%A9&b&notrack=true"},
      // The name is there already, whatever its value and place.
      {b2 + "?notrack=false", b2 + "?notrack=false"},
      {b2 + "?a=1&notrack", b2 + "?a=1&notrack"},
      {b2 + "?%6eotrack=1", b2 + "?%6eotrack=1"},
      // It is not.
      {b2 + "?Notrack=1", b2 + "?Notrack=1&notrack=true"},
      {b2 + "?a=1&amp;notrack=1", b2 + "?a=1&amp;notrack=1&notrack=true"},
      {b2 + "#notrack=1", b2 + "?notrack=true#notrack=1"},
      // Ill-formed.
      {b2 + "%", b2 + "%"},
      {b2 + "?a=%4g", b2 + "?a=%4g"},
      {b2 + "\u00E9", b2 + "\u00E9"},
      {b2 + "{x}", b2 + "{x}"},
      // What stands around.
      {"<a href=\"" + b2 + "\">" + b2 + "</a>\n",
       "<a href=\"" + b2 + "?notrack=true\">" + b2 + "?notrack=true</a>\n"},
      {"x" + b2 + "% " + b2 + " \u00E9",
       "x" + b2 + "% " + b2 + "?notrack=true \u00E9"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(addingNoTrackToTrackingURLs(c.text), c.expected);
    // A second time changes nothing.
    EXPECT_EQ(addingNoTrackToTrackingURLs(c.expected), c.expected);
  }
}

TEST(ContainsTrackingURL, KnowsTheLinksOfAUser) {
  const std::string user(kUserText);
  const std::string lower = kUser.lowercaseString();
  const struct {
    std::string url;
    bool isOfUser, isOfAny;
  } cases[] = {
      {"https://quillhaven.test/" + user + "/ab", true, true},
      {"https://.quillhaven.test/b/" + lower + "/ab", true, true},
      {"https://" + lower + ".quillhaven.test/p/" + user + "/ab", true, true},
      {"https://betaquillhaven.test/e2/ab", true, true},
      {"https://beta.quillhaven.example/tracking/hit/p2/ab", true, true},
      {"HTTPS://TRACK.QUILLHAVEN.TEST/B2/AB", true, true},
      {"https://quillhaven.test/0A1B/ab", false, true},
      {"https://quillhaven.test/b/" + user + "0/ab", false, true},
      {"https://0A1B.quillhaven.test/b2/ab", false, true},
      {"https://quillhaven.example/b2/ab", false, false},
      {"https://www.quillhaven.test/b2/ab", false, false},
      {"https://quillhaven.test/b2/a", false, false},
      {"https://quillhaven.test/b2//ab", false, false},
      {"https://quillhaven.test/b3/ab", false, true},  // "b3" is hexadecimal
      {"https://quillhaven.test/g/ab", false, false},
      {"http://quillhaven.test/b2/ab", false, false},
      {"", false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.url);
    EXPECT_EQ(containsTrackingURL("<" + c.url + ">", kUser), c.isOfUser);
    EXPECT_EQ(containsTrackingURL("<" + c.url + ">"), c.isOfAny);
  }
}

TEST(AddingContactIdToTrackingURLs, MarksTheLinksOfTheUser) {
  const std::string mine =
      "https://quillhaven.test/" + kUser.lowercaseString() + "/ab";
  const std::string other = "https://quillhaven.test/0A1B/ab";
  const std::string added = "contactid=-_-_ASNFZ4mrze8BI0VniQ";
  EXPECT_EQ(
      addingContactIdToTrackingURLs(
          mine + " " + other + " " + mine + "?notrack=true#f", kUser, kContact),
      mine + "?" + added + " " + other + " " + mine + "?notrack=true&" + added +
          "#f");
  const std::string done = mine + "?contactid=x";
  EXPECT_EQ(addingContactIdToTrackingURLs(done, kUser, kContact), done);
}

// Each of these takes minutes when a link costs more than its length.
TEST(TrackingLinks, AreFoundInLinearTimeInHostileText) {
  constexpr std::size_t kSize = std::size_t{1} << 20;
  for (const std::string_view piece :
       {"https://", "https://track.", "https://track.quillhaven.test/b2/",
        "https://a", "a", "-", "https://quillhaven.test/a", "://", ":/",
        "https://quillhaven.test/b/b/", "http\u017F://", "\u00A0", "\u3042"}) {
    for (const std::string_view opening :
         {"", "https://", "https://quillhaven.test/"}) {
      SCOPED_TRACE(std::string(opening) + piece.data());
      std::string text(opening);
      while (text.size() < kSize) text.append(piece);
      EXPECT_EQ(addingNoTrackToTrackingURLs(text + "<").size() > kSize, true);
      EXPECT_EQ(addingNoTrackToTrackingURLs(text, kUser).size() >= kSize, true);
    }
  }
}

}  // namespace
}  // namespace quillhaven::strings
