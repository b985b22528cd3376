#include "quillhaven/platform/base/paths.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::platform {
namespace {

TEST(PathHelpers, TakePathsApart) {
  const struct {
    std::string_view path, last, extension, withoutExtension, parent;
  } cases[] = {
      {"", "", "", "", ""},
      {"/", "/", "", "/", "/"},
      {"//", "/", "", "/", "/"},
      {"/tmp/scratch.tiff", "scratch.tiff", "tiff", "/tmp/scratch", "/tmp"},
      {"/tmp/scratch", "scratch", "", "/tmp/scratch", "/tmp"},
      {"/tmp/lock/", "lock", "", "/tmp/lock", "/tmp"},
      {"/tmp/", "tmp", "", "/tmp", "/"},
      {"/tmp", "tmp", "", "/tmp", "/"},
      {"scratch.tiff", "scratch.tiff", "tiff", "scratch", ""},
      {"scratch///", "scratch", "", "scratch", ""},
      {"scratch.bundle/", "scratch.bundle", "bundle", "scratch", ""},
      {"scratch..tiff", "scratch..tiff", "tiff", "scratch.", ""},
      {"a.tar.gz", "a.tar.gz", "gz", "a.tar", ""},
      {".tiff", ".tiff", "", ".tiff", ""},
      {".scratch.tiff", ".scratch.tiff", "tiff", ".scratch", ""},
      {"/a.b/.c", ".c", "", "/a.b/.c", "/a.b"},
      {"/a.b/c", "c", "", "/a.b/c", "/a.b"},
      {"a.", "a.", "", "a.", ""},
      {"..", "..", "", "..", ""},
      {"a/..", "..", "", "a/..", "a"},
      {"..x", "..x", "x", ".", ""},
      {"Wizard. Oz", "Wizard. Oz", " Oz", "Wizard", ""},
      {"//a//b.c//", "b.c", "c", "/a/b", "/a"},
      {"http://a.example/b", "b", "", "http:/a.example/b", "http:/a.example"},
      {"\xC3\xA9/\xE2\x82\xAC.\xC3\xA9", "\xE2\x82\xAC.\xC3\xA9", "\xC3\xA9",
       "\xC3\xA9/\xE2\x82\xAC", "\xC3\xA9"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(lastPathComponent(c.path), c.last);
    EXPECT_EQ(pathExtension(c.path), c.extension);
    EXPECT_EQ(deletingPathExtension(c.path), c.withoutExtension);
    EXPECT_EQ(deletingLastPathComponent(c.path), c.parent);
  }
}

TEST(AppendingPathComponent, PutsOneSlashBetween) {
  const struct {
    std::string_view path, component, joined;
  } cases[] = {
      {"/tmp", "scratch.tiff", "/tmp/scratch.tiff"},
      {"/tmp/", "scratch.tiff", "/tmp/scratch.tiff"},
      {"/tmp//", "//a//b/", "/tmp/a/b"},
      {"/", "scratch.tiff", "/scratch.tiff"},
      {"/", "/", "/"},
      {"", "scratch.tiff", "scratch.tiff"},
      {"", "/a/", "/a"},
      {"/tmp/", "", "/tmp"},
      {"/", "", "/"},
      {"", "", ""},
      {"a", "/", "a"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(appendingPathComponent(c.path, c.component), c.joined)
        << c.path << " and " << c.component;
  }
}

TEST(PathComponents, GiveTheirPathBack) {
  const struct {
    std::string_view text;
    std::vector<std::string> components;
    std::string joined;
  } cases[] = {
      {"", {}, ""},
      {"/", {"/"}, "/"},
      {"///", {"/"}, "/"},
      {"tmp/scratch", {"tmp", "scratch"}, "tmp/scratch"},
      {"/tmp/scratch", {"/", "tmp", "scratch"}, "/tmp/scratch"},
      {"/tmp//scratch//", {"/", "tmp", "scratch", "/"}, "/tmp/scratch/"},
      {"a/", {"a", "/"}, "a/"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const std::vector<std::string> components = pathComponents(c.text);
    EXPECT_EQ(components, c.components);
    EXPECT_EQ(path(std::vector<std::string_view>(components.begin(),
                                                 components.end())),
              c.joined);
  }
}

TEST(Path, JoinsComponents) {
  const struct {
    std::vector<std::string_view> components;
    std::string_view joined;
  } cases[] = {
      {{}, ""},
      {{""}, ""},
      {{"", "a"}, "a"},
      {{"tmp", "scratch", ""}, "tmp/scratch/"},
      {{"/", "tmp", "", "scratch"}, "/tmp/scratch"},
      {{"/", ""}, "/"},
      {{"a/", "/b"}, "a/b"},
      {{"a", "..", "b"}, "a/../b"},
  };
  for (const auto& c : cases) EXPECT_EQ(path(c.components), c.joined);
}

}  // namespace
}  // namespace quillhaven::platform
