#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/url/percent_encoding.h"
#include "quillhaven/platform/url/url_components.h"
#include "quillhaven/platform/url/uuid.h"

namespace quillhaven::platform {
namespace {

using namespace std::string_view_literals;

TEST(UuidFromString, TakesTheCanonicalFormOnly) {
  constexpr Uuid kExpected({0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                            0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10});
  const struct {
    std::string_view text;
    bool isValid;
  } cases[] = {
      {"01234567-89AB-CDEF-FEDC-BA9876543210", true},
      {"01234567-89ab-cdef-fedc-ba9876543210", true},
      {"01234567-89aB-CdEf-fEdC-Ba9876543210", true},
      {"", false},
      {"01234567-89AB-CDEF-FEDC-BA987654321", false},
      {"01234567-89AB-CDEF-FEDC-BA98765432100", false},
      {"0123456789ABCDEFFEDCBA9876543210", false},
      {"{01234567-89AB-CDEF-FEDC-BA987654321", false},
      {"01234567-89AB-CDEF-FEDC-BA987654321G", false},
      {"01234567-89AB-CDEF-FEDC+BA9876543210", false},
      {"0123456-789AB-CDEF-FEDC-BA9876543210", false},
      {" 1234567-89AB-CDEF-FEDC-BA9876543210", false},
      {"-1234567-89AB-CDEF-FEDC-BA9876543210", false},
      {"01234567-89AB-CDEF-FEDC-BA98765432\0"
       "0"sv,
       false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Uuid::fromString(c.text),
              c.isValid ? std::optional(kExpected) : std::nullopt);
  }
  EXPECT_EQ(kExpected.uppercaseString(),
            "01234567-89AB-CDEF-FEDC-BA9876543210");
  EXPECT_EQ(kExpected.lowercaseString(),
            "01234567-89ab-cdef-fedc-ba9876543210");
  EXPECT_EQ(Uuid().uppercaseString(), "00000000-0000-0000-0000-000000000000");
}

TEST(PercentEncoded, LeavesWhatEachPartAllows) {
  std::string ascii;
  for (char c = ' '; c < 0x7F; ++c) ascii.push_back(c);
  const struct {
    UrlCharacters allowed;
    std::string_view encoded;
  } cases[] = {
      {UrlCharacters::kHost,
       "%20!%22%23$%25&'()*+,-.%2F0123456789:;%3C=%3E%3F%40"
       "ABCDEFGHIJKLMNOPQRSTUVWXYZ[%5C]%5E_%60"
       "abcdefghijklmnopqrstuvwxyz%7B%7C%7D~"},
      {UrlCharacters::kPath,
       "%20!%22%23$%25&'()*+,-./0123456789:;%3C=%3E%3F@"
       "ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_%60"
       "abcdefghijklmnopqrstuvwxyz%7B%7C%7D~"},
      {UrlCharacters::kQuery,
       "%20!%22%23$%25&'()*+,-./0123456789:;%3C=%3E?@"
       "ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_%60"
       "abcdefghijklmnopqrstuvwxyz%7B%7C%7D~"},
      {UrlCharacters::kQueryItem,
       "%20!%22%23$%25%26'()*+,-./0123456789:%3B%3C%3D%3E?@"
       "ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_%60"
       "abcdefghijklmnopqrstuvwxyz%7B%7C%7D~"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.encoded);
    EXPECT_EQ(percentEncoded(ascii, c.allowed), c.encoded);
    EXPECT_EQ(percentDecoded(c.encoded), ascii);
  }
  EXPECT_EQ(percentEncoded("é\0\x7F"sv, UrlCharacters::kQuery), "%C3%A9%00%7F");
}

TEST(PercentDecoded, RefusesBrokenEscapes) {
  for (const std::string_view text : {"%", "a%4", "%4", "%G0", "%0g", "%%41"}) {
    EXPECT_EQ(percentDecoded(text), std::nullopt) << text;
  }
  EXPECT_EQ(percentDecoded("%ff%00+"), "\xFF\0+"sv);
}

TEST(UrlComponents, TakesUrlsApart) {
  const struct {
    std::string_view url, scheme;
    std::optional<std::string_view> host;
    std::string_view path;
    std::optional<std::string_view> query, fragment;
  } cases[] = {
      {"https://a.test/p/q?x=1&y#f?g", "https", "a.test", "/p/q", "x=1&y",
       "f?g"},
      {"https://u:p@a.test:8080", "https", "a.test", "", {}, {}},
      {"https://a.test?#", "https", "a.test", "", "", ""},
      {"https://[::1]/%2F", "https", "[::1]", "/%2F", {}, {}},
      {"mailto:a@b.test?subject=%20",
       "mailto",
       {},
       "a@b.test",
       "subject=%20",
       {}},
      {"file:///tmp/x", "file", "", "/tmp/x", {}, {}},
      {"message://", "message", "", "", {}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.url);
    const auto url = urlComponents(c.url);
    ASSERT_TRUE(url);
    EXPECT_EQ(url->scheme, c.scheme);
    EXPECT_EQ(url->host, c.host);
    EXPECT_EQ(url->path, c.path);
    EXPECT_EQ(url->query, c.query);
    EXPECT_EQ(url->fragment, c.fragment);
  }
}

TEST(UrlComponents, RefusesWhatIsIllFormed) {
  for (const std::string_view url : {"",
                                     "a",
                                     "/a",
                                     "//a.test",
                                     "https://a.test/%",
                                     "https://a.test/%4",
                                     "https://a.test/?a=%zz",
                                     "https://a.test/#%",
                                     "https://a.test/a b",
                                     "https://a.test/é",
                                     "https://a.test/<",
                                     "https://a.test/\\",
                                     "https://a.test/{x}",
                                     "https://a.test/?a[]=1",
                                     "https://a.test/a|b",
                                     "https://a.test:b/",
                                     "https://a.test:8b/",
                                     "https://a@b@c/",
                                     "https://[a/",
                                     "1https://a.test",
                                     "https://a.test/##"}) {
    EXPECT_FALSE(urlComponents(url)) << url;
  }
}

TEST(QueryItems, AreDecodedAndSplitAtAmpersandsAlone) {
  const auto url =
      urlComponents("https://a.test/?a=1&b&=2&&%63=%26+=&amp;d=x;e=y&a=%C3%A9");
  ASSERT_TRUE(url);
  const std::vector<UrlQueryItem> expected = {
      {"a", "1"},   {"b", {}},          {"", "2"},  {"", {}},
      {"c", "&+="}, {"amp;d", "x;e=y"}, {"a", "é"},
  };
  EXPECT_EQ(queryItems(*url), expected);
  for (const std::string_view name : {"a", "b", "c", "amp;d", ""}) {
    EXPECT_TRUE(hasQueryItem(*url->query, name)) << name;
  }
  for (const std::string_view name : {"A", "d", "e", "%63", "aa", "amp"}) {
    EXPECT_FALSE(hasQueryItem(*url->query, name)) << name;
  }
  for (const std::string_view bare : {"https://a.test/", "https://a.test/?"}) {
    EXPECT_TRUE(queryItems(*urlComponents(bare)).empty());
  }
}

TEST(HasQueryItem, IsFalseForAnEmptyQuery) {
  EXPECT_FALSE(hasQueryItem("", ""));
  EXPECT_TRUE(hasQueryItem("&", ""));
}

TEST(QueryInsertion, LeavesEveryByteInPlace) {
  const struct {
    std::string_view url, expected;
  } cases[] = {
      {"https://a.test", "https://a.test?n%26=v%3D%20+"},
      {"https://a.test/?", "https://a.test/?n%26=v%3D%20+"},
      {"https://a.test/?a=%2f+%C3%A9",
       "https://a.test/?a=%2f+%C3%A9&n%26=v%3D%20+"},
      {"https://a.test/?a&", "https://a.test/?a&&n%26=v%3D%20+"},
      {"HTTPS://A.test/x/../#f?g", "HTTPS://A.test/x/../?n%26=v%3D%20+#f?g"},
      {"https://a.test/?#", "https://a.test/?n%26=v%3D%20+#"},
  };
  for (const auto& c : cases) {
    const QueryInsertion insertion = queryInsertion(*urlComponents(c.url));
    std::string url(c.url);
    url.insert(insertion.position, std::string(insertion.separator) +
                                       encodedQueryItem("n&", "v= +"));
    EXPECT_EQ(url, c.expected);
  }
}

}  // namespace
}  // namespace quillhaven::platform
