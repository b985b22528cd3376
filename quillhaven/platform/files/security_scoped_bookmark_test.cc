#include "quillhaven/platform/files/security_scoped_bookmark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "quillhaven/platform/files/property_list.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

std::size_t descriptorsOn(const std::string& path) {
  const fs::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(
      std::count_if(begin(all), end(all), [&](const fs::directory_entry& fd) {
        std::error_code gone;
        return fs::read_symlink(fd.path(), gone) == path;
      }));
}

TEST(SecurityScopedBookmark, ResolvesWhatStaysAndTellsWhatDoesNot) {
  const TemporaryFolder folder;
  const struct {
    const char* what;
    void (*change)(const std::string& path);
    std::optional<bool> isStale;  // absent: no longer resolved
  } cases[] = {
      {"untouched", [](const std::string&) {}, false},
      {"contents and rights changed",
       [](const std::string& path) {
         fs::create_directory(path + "/inside");
         fs::permissions(path, fs::perms::owner_all);
       },
       false},
      {"moved away and back",
       [](const std::string& path) {
         fs::rename(path, path + "2");
         fs::rename(path + "2", path);
       },
       false},
      {"moved away",
       [](const std::string& path) { fs::rename(path, path + "3"); },
       std::nullopt},
      {"deleted", [](const std::string& path) { fs::remove(path); },
       std::nullopt},
      {"made anew",
       [](const std::string& path) {
         fs::remove(path);
         fs::create_directory(path);
       },
       true},
      {"replaced by a file",
       [](const std::string& path) {
         fs::remove(path);
         std::ofstream(path) << "x";
       },
       true},
  };
  int number = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string path =
        folder.path("\xFF ordner" + std::to_string(number++));
    fs::create_directory(path);
    const auto bookmark = securityScopedBookmarkForPath(path);
    ASSERT_TRUE(bookmark);
    c.change(path);
    const auto resolved = resolveSecurityScopedBookmark(*bookmark);
    ASSERT_EQ(resolved.has_value(), c.isStale.has_value());
    if (!resolved) continue;
    EXPECT_EQ(resolved->path, path);
    EXPECT_EQ(resolved->isStale, *c.isStale);
  }
}

// Each part alone is enough where a file system has no other.
TEST(SecurityScopedBookmark, ComparesWhatTheFileSystemHas) {
  const TemporaryFolder folder;
  const std::string whole = *securityScopedBookmarkForPath(folder.path());
  const struct {
    std::vector<std::string> missing;
    const char* changed;
  } cases[] = {{{}, "birthTime"},
               {{"birthTime"}, "handle"},
               {{"handle", "handleType"}, "birthTime"},
               {{"handle", "handleType", "birthTime"}, "inode"},
               {{"handle", "handleType", "birthTime"}, "fileSystem"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.changed);
    PropertyList propertyList = *propertyListFromBytes(whole);
    auto& parts = std::get<PropertyList::Dictionary>(propertyList.value());
    for (const std::string& key : c.missing) parts.erase(key);
    EXPECT_EQ(resolveSecurityScopedBookmark(*xmlFromPropertyList(propertyList)),
              (ResolvedBookmark{folder.path(), false}));
    if (!parts.contains(c.changed)) continue;  // not on this file system
    parts.at(c.changed) = PropertyList::Data{"other"};
    EXPECT_EQ(resolveSecurityScopedBookmark(*xmlFromPropertyList(propertyList)),
              (ResolvedBookmark{folder.path(), true}));
  }
}

TEST(SecurityScopedBookmark, RefusesWhatIsNoBookmark) {
  EXPECT_FALSE(securityScopedBookmarkForPath(""));
  EXPECT_FALSE(securityScopedBookmarkForPath("tmp"));
  EXPECT_FALSE(securityScopedBookmarkForPath("/nowhere/at/all"));
  const TemporaryFolder folder;
  const std::string whole = *securityScopedBookmarkForPath(folder.path());
  for (std::size_t size = 0; size + 20 < whole.size(); ++size) {
    EXPECT_FALSE(resolveSecurityScopedBookmark(whole.substr(0, size)));
  }
  const PropertyList others[] = {
      PropertyList::Array{}, PropertyList::Dictionary{},
      PropertyList::Dictionary{{"path", folder.path()}},  // text, not data
      PropertyList::Dictionary{{"path", PropertyList::Data{"tmp"}}}};
  for (const PropertyList& other : others) {
    EXPECT_FALSE(resolveSecurityScopedBookmark(*xmlFromPropertyList(other)));
  }
}

TEST(SecurityScopedBookmark, HoldsOneDescriptorAFolder) {
  const TemporaryFolder folder;
  EXPECT_FALSE(startAccessingSecurityScopedResource(folder.path("missing")));
  {
    const std::jthread other(
        [&] { startAccessingSecurityScopedResource(folder.path()); });
    EXPECT_TRUE(startAccessingSecurityScopedResource(folder.path()));
  }
  EXPECT_TRUE(startAccessingSecurityScopedResource(folder.path() + "/."));
  EXPECT_EQ(descriptorsOn(folder.path()), 1U);
}

}  // namespace
}  // namespace quillhaven::platform
