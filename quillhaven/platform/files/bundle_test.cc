#include "quillhaven/platform/files/bundle.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <filesystem>

#include "quillhaven/platform/files/bundle_index.h"
#include "quillhaven/platform/files/extended_attributes.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;
using Dictionary = PropertyList::Dictionary;

std::string informationWith(std::string_view identifier) {
  return *xmlFromPropertyList(
      Dictionary{{std::string(kBundleIdentifierKey), identifier}});
}

void writeBundle(const TemporaryFolder& folder, const std::string& path,
                 std::string_view identifier) {
  folder.write(path + "/Contents/Info.plist", informationWith(identifier));
}

TEST(Bundle, KeepsItsInformationAndReadsItAnewOnRequest) {
  const TemporaryFolder folder;
  writeBundle(folder, "A.app", "com.example.a");
  const auto bundle = Bundle::bundleWithPath(folder.path("A.app//"));
  ASSERT_TRUE(bundle);
  EXPECT_EQ(bundle->bundlePath(), folder.path("A.app"));
  const Bundle copy = *bundle;
  EXPECT_EQ(bundle->bundleIdentifier(), "com.example.a");

  writeBundle(folder, "A.app", "com.example.b");
  EXPECT_EQ(copy.bundleIdentifier(), "com.example.a");
  const Dictionary expected = {
      {std::string(kBundleIdentifierKey), "com.example.b"}};
  EXPECT_EQ(copy.readInfoDictionary(), expected);
  EXPECT_EQ(Bundle(folder.path("A.app")).bundleIdentifier(), "com.example.b");

  folder.write("A.app/Contents/Info.plist", "<plist><array/></plist>");
  EXPECT_EQ(copy.readInfoDictionary(), std::nullopt);
  EXPECT_EQ(Bundle(folder.path("A.app")).infoDictionary(), Dictionary{});
  EXPECT_EQ(Bundle(folder.path("none")).bundleIdentifier(), std::nullopt);
  EXPECT_FALSE(Bundle::bundleWithPath(folder.path("none")));
  EXPECT_FALSE(
      Bundle::bundleWithPath(folder.path("A.app/Contents/Info.plist")));
  EXPECT_EQ(Bundle().readInfoDictionary(), std::nullopt);
}

TEST(Bundle, SurroundsItsFiles) {
  const TemporaryFolder folder;
  writeBundle(folder, "A.app", "a");
  writeBundle(folder, "A.app/Contents/PlugIns/B.bundle", "b");
  folder.write("C.app/Contents/MacOS/c", "");
  folder.write("D.app/Contents/Resources/d", "");
  const struct {
    std::string_view file;
    std::optional<std::string_view> bundle;
  } cases[] = {
      {"A.app/Contents/MacOS/a", "A.app"},
      {"A.app/Contents/Resources/deep/down/x", "A.app"},
      {"A.app/Contents/PlugIns/B.bundle/Contents/x",
       "A.app/Contents/PlugIns/B.bundle"},
      {"A.app/Contents/PlugIns/lone.so", "A.app"},
      {"C.app/Contents/MacOS/c", "C.app"},  // without information
      {"D.app/Contents/Resources/d", {}},
      {"A.app/x", {}},
      {"x", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const auto bundle = Bundle::bundleContaining(folder.path(c.file));
    ASSERT_EQ(bundle.has_value(), c.bundle.has_value());
    if (!bundle) continue;
    EXPECT_EQ(bundle->bundlePath(), folder.path(*c.bundle));
  }
  fs::create_symlink(folder.path("C.app/Contents/MacOS/c"), folder.path("c"));
  const auto linked = Bundle::bundleContaining(folder.path("c"));
  ASSERT_TRUE(linked);
  EXPECT_EQ(linked->bundlePath(), folder.path("C.app"));
}

TEST(Bundle, OfATestIsTheFolderOfItsProgram) {
  const fs::path program = fs::canonical("/proc/self/exe");
  EXPECT_EQ(Bundle::executablePath(), program);
  EXPECT_EQ(Bundle::mainBundle().bundlePath(), program.parent_path());
  EXPECT_EQ(Bundle::mainBundle().bundleIdentifier(), std::nullopt);
  EXPECT_EQ(Bundle::loadedBundles().size(), 1U);
  EXPECT_FALSE(Bundle::bundleDefining("no_such_symbol_anywhere"));
  EXPECT_FALSE(Bundle::bundleDefining("getpid"));  // libc is in no bundle
}

TEST(BundleIndex, FollowsWhatIsInstalled) {
  const TemporaryFolder folder;
  writeBundle(folder, "first/Z.app", "com.example.one");
  writeBundle(folder, "second/A.app", "com.example.one");
  writeBundle(folder, "second/B.app", "com.example.two");
  BundleIndex index(
      {folder.path("first"), folder.path("second"), folder.path("third")});
  const auto pathOf = [&](std::string_view identifier) {
    const auto bundle = index.bundleWithIdentifier(identifier);
    return bundle ? fs::relative(bundle->bundlePath(), folder.path()).string()
                  : "none";
  };
  EXPECT_EQ(pathOf("com.example.one"), "first/Z.app");
  EXPECT_EQ(pathOf("com.example.two"), "second/B.app");
  EXPECT_EQ(pathOf("com.example.TWO"), "none");

  writeBundle(folder, "third/C.app", "com.example.three");
  EXPECT_EQ(pathOf("com.example.three"), "third/C.app");
  fs::remove_all(folder.path("first/Z.app"));
  EXPECT_EQ(pathOf("com.example.one"), "second/A.app");
  // Changed inside, where no time of the folder tells.
  writeBundle(folder, "second/B.app", "com.example.four");
  EXPECT_EQ(pathOf("com.example.two"), "none");
  EXPECT_EQ(pathOf("com.example.four"), "second/B.app");
}

TEST(RemoveExtendedAttribute, SucceedsUnlessTheAttributeStays) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", "");
  if (::setxattr(file.c_str(), kQuarantineAttribute, "q", 1, 0) != 0) {
    GTEST_SKIP() << "the temporary folder carries no attributes";
  }
  ::setxattr(file.c_str(), "user.other", "o", 1, 0);
  fs::create_symlink("file", folder.path("link"));
  EXPECT_EQ(removeExtendedAttribute(folder.path("link"), kQuarantineAttribute),
            0);
  EXPECT_LT(::getxattr(file.c_str(), kQuarantineAttribute, nullptr, 0), 0);
  EXPECT_EQ(::getxattr(file.c_str(), "user.other", nullptr, 0), 1);
  EXPECT_EQ(removeExtendedAttribute(file, kQuarantineAttribute), 0);
  EXPECT_EQ(removeExtendedAttribute(folder.path("x"), kQuarantineAttribute), 0);
}

}  // namespace
}  // namespace quillhaven::platform
