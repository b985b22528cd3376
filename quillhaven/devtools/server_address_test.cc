#include "quillhaven/devtools/internal/server_address.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::devtools::internal {
namespace {

TEST(ServerAddress, IsReadFromText) {
  enum Kind { kNone, kRemote, kFile, kPath };
  const struct {
    std::string_view text;
    Kind kind;
    std::string_view absoluteString;
    std::optional<std::string> path;
  } cases[] = {
      {"", kNone, "", std::nullopt},
      {"https://example.com", kRemote, "https://example.com", std::nullopt},
      // Spelt as it was written.
      {"HTTP://Example.COM:80/A?b=%41#c", kRemote,
       "HTTP://Example.COM:80/A?b=%41#c", std::nullopt},
      {"https://example.com/a b/%zz/\u00E4", kRemote,
       "https://example.com/a%20b/%25zz/%C3%A4", std::nullopt},
      {"https://[::1]:8080/", kRemote, "https://[::1]:8080/", std::nullopt},
      {"localhost:8080", kRemote, "localhost:8080", std::nullopt},
      {"http://host:port/", kNone, "", std::nullopt},
      {"https://a/[x]", kNone, "", std::nullopt},
      {"file:///tmp/a%20b/", kFile, "file:///tmp/a%20b/", "/tmp/a b/"},
      {"FILE:/tmp/a?x#y", kFile, "FILE:/tmp/a?x#y", "/tmp/a"},
      {"file://localhost/tmp", kFile, "file://localhost/tmp", "/tmp"},
      {"file://elsewhere/tmp", kFile, "file://elsewhere/tmp", std::nullopt},
      {"file:///a%00b", kFile, "file:///a%00b", std::nullopt},
      {"file:", kFile, "file:", std::nullopt},
      {"/tmp", kPath, "/tmp", "/tmp"},
      {"/tmp/a b/100%", kPath, "/tmp/a%20b/100%25", "/tmp/a b/100%"},
      {"a/b", kPath, "a/b", "a/b"},
      {"//host/path", kPath, "//host/path", "/path"},
      {"?a", kPath, "?a", std::nullopt},
      {"#a", kPath, "#a", std::nullopt},
      {"/a%00b", kPath, "/a%00b", std::nullopt},
      {"1http:x", kPath, "1http:x", "1http:x"},
      {":", kPath, ":", ":"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto address = serverAddressFromText(c.text);
    ASSERT_EQ(address.has_value(), c.kind != kNone);
    if (!address) continue;
    EXPECT_EQ(address->absoluteString, c.absoluteString);
    EXPECT_EQ(address->hasScheme, c.kind != kPath);
    EXPECT_EQ(address->isFileURL, c.kind == kFile);
    EXPECT_EQ(address->isLocal(), c.kind != kRemote);
    EXPECT_EQ(address->path, c.path);
  }
}

TEST(ServerAddress, OfAFolderEndsWithASlash) {
  EXPECT_EQ(folderURLFromPath("/"), "file:///");
  EXPECT_EQ(folderURLFromPath("/a b"), "file:///a%20b/");
  EXPECT_EQ(folderURLFromPath("/a/./b/"), "file:///a/b/");
}

TEST(ServerAddress, MustBeThereToBeRead) {
  const platform::testing::TemporaryFolder folder;
  EXPECT_TRUE(isReadable(folder.path()));
  EXPECT_TRUE(isReadable(folder.write("file", "x")));
  EXPECT_FALSE(isReadable(folder.path("missing")));
  EXPECT_FALSE(isReadable(folder.link("link", folder.path("missing"))));
}

}  // namespace
}  // namespace quillhaven::devtools::internal
