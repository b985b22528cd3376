#include "quillhaven/strings/locations.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/base/file_url.h"

namespace quillhaven::strings {
namespace {

using namespace std::string_view_literals;
namespace fs = std::filesystem;

struct LinkCase {
  std::string_view url;
  bool expected;
};

TEST(IsDiagnosticConsentURL, FindsTheAddressAnywhere) {
  const LinkCase cases[] = {
      {"https://beta.quillhaven.example/diagnostic_consent", true},
      {"https://edge.quillhaven.example/diagnostic_consent?x=1", true},
      {"HTTPS://Internal.Quillhaven.Example/Diagnostic_Consents", true},
      {"https://a.test/?to=https://beta.quillhaven.example/diagnostic_consent",
       true},
      {"https://quillhaven.example/diagnostic_consent", false},
      {"https://.quillhaven.example/diagnostic_consent", false},
      {"https://www.quillhaven.example/diagnostic_consent", false},
      {"http://beta.quillhaven.example/diagnostic_consent", false},
      {"https://betaxquillhaven.example/diagnostic_consent", false},
      {"https://beta.quillhavenxexample/diagnostic_consent", false},
      {"https://beta.quillhaven.example/x/diagnostic_consent", false},
      {"", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isDiagnosticConsentURL(c.url), c.expected) << c.url;
  }
}

TEST(IsQuickStartGuideURL, FindsTheAddressAnywhere) {
  const LinkCase cases[] = {
      {"https://qsg.quillhaven.example", true},
      {"https://next.qsg.quillhaven.example/a/b", true},
      {"HTTPS://NEXT.QSG.QUILLHAVEN.EXAMPLE", true},
      {"https://a.test/?u=https://qsg.quillhaven.example/", true},
      {"https://qsg.quillhaven.examples", true},
      {"https://nextqsg.quillhaven.example", false},
      {"https://next.next.qsg.quillhaven.example", false},
      {"https://nextxqsg.quillhaven.example", false},
      {"https://qsgxquillhaven.example", false},
      {"https://quillhaven.example", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(isQuickStartGuideURL(c.url), c.expected) << c.url;
  }
}

TEST(IsInTrash, ComparesThePathWithTheHomeFolder) {
  const std::string before = std::getenv("HOME") ? std::getenv("HOME") : "";
  const struct {
    const char* home;
    std::string_view url;
    bool expected;
  } cases[] = {
      {"/home/a b", "file:///home/a%20b/.Trash/x", true},
      {"/home/a b", "file:///home/a%20b/.Trash", true},
      {"/home/a b/", "file:///home/a%20b/.Trash/", true},
      {"/home/a b", "file:///home/a%20b/.Trashed", true},
      {"/home/a b", "file:///home/a%20b/%2eTrash/x", true},
      {"/home/a b", "file:///home/a%20b/.trash/x", false},
      {"/home/a b", "file:///home/a%20b/x/../.Trash", false},
      {"/home/a b", "file:///home/a%20bc/.Trash", false},
      {"/home/a b", "file:///home/a%20b/Trash", false},
      {"/home/a b", "/home/a b/.Trash", false},
      {"/", "file:///.Trash/x", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.url);
    ::setenv("HOME", c.home, 1);
    EXPECT_EQ(isInTrash(c.url), c.expected);
  }
  ::setenv("HOME", "relative", 1);
  EXPECT_FALSE(isInTrash("file:///relative/.Trash"));
  ::setenv("HOME", before.c_str(), 1);
}

// A file in the folder of the tests, since not every temporary folder carries
// attributes.
class Dequarantine : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(folder_);
    std::ofstream(path_) << "text";
    fs::create_symlink(path_, link_);
    ASSERT_EQ(::setxattr(path_.c_str(), kOther, "u", 1, 0), 0)
        << "no extended attributes in " << fs::current_path();
  }
  void TearDown() override { fs::remove_all(folder_); }

  [[nodiscard]] bool has(const char* attribute) const {
    return ::getxattr(path_.c_str(), attribute, nullptr, 0) >= 0;
  }

  static constexpr const char* kMark = "user.com.apple.quarantine";
  static constexpr const char* kOther = "user.xdg.origin.url";

  const fs::path folder_ = fs::absolute("dequarantine_test_folder");
  const fs::path path_ = folder_ / "a file";
  const fs::path link_ = folder_ / "link";
};

TEST_F(Dequarantine, RemovesTheMarkAndNothingElse) {
  for (const fs::path& path : {path_, link_}) {
    SCOPED_TRACE(path);
    ASSERT_EQ(::setxattr(path_.c_str(), kMark, "0081", 4, 0), 0);
    EXPECT_EQ(dequarantine(platform::fileURLFromPath(path.string())), 0);
    EXPECT_FALSE(has(kMark));
    EXPECT_TRUE(has(kOther));
  }
}

TEST_F(Dequarantine, FailsOnlyWhenRemovingDoes) {
  const std::string url = platform::fileURLFromPath(path_.string());
  EXPECT_EQ(dequarantine(url), 0);  // no mark
  EXPECT_TRUE(has(kOther));
  EXPECT_EQ(dequarantine(url + "x"), 0);  // no file
  EXPECT_EQ(dequarantine("https://a.test/"), 0);
  EXPECT_EQ(dequarantine(""), 0);
  EXPECT_EQ(dequarantine("file:///proc/self/status"), 0);  // no attributes
}

TEST(MessageURL, EncodesTheIdentifierAsAHost) {
  const struct {
    std::optional<std::string_view> id;
    std::optional<std::string> expected;
  } cases[] = {
      {"<a.b+c@d.example>", "message://%3Ca.b+c%40d.example%3E"},
      {"a b/c?d#e%f\"é", "message://a%20b%2Fc%3Fd%23e%25f%22%C3%A9"},
      {"", "message://"},
      {"a:1", "message://a:1"},
      {"[::1]", "message://[::1]"},
      {std::nullopt, std::nullopt},
      {"a:b", std::nullopt},
      {"<a@[127.0.0.1]>", std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id.value_or("(none)"));
    EXPECT_EQ(messageURL(c.id), c.expected);
  }
}

TEST(MailtoURL, EncodesRecipientsAndItems) {
  const struct {
    std::vector<std::string> to;
    std::optional<std::string_view> subject, body;
    std::string_view expected;
  } cases[] = {
      {{"a@b.example"}, {}, {}, "mailto:a@b.example"},
      {{}, {}, {}, "mailto:"},
      {{"a@b.example", "c+d@e.example"},
       "Hello you",
       "1+1=2; a&b?#\r\n%",
       "mailto:a@b.example,c+d@e.example?subject=Hello%20you&"
       "body=1+1%3D2%3B%20a%26b?%23%0D%0A%25"},
      {{}, {}, "é/@:", "mailto:?body=%C3%A9/@:"},
      {{""}, "", "", "mailto:?subject=&body="},
      {{"\"Doe, J\"@a.example", "b?c#d%e@a.example"},
       "s",
       {},
       "mailto:%22Doe%2C%20J%22@a.example,b%3Fc%23d%25e@a.example?subject=s"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(mailtoURL(c.to, c.subject, c.body), c.expected);
  }
}

}  // namespace
}  // namespace quillhaven::strings
