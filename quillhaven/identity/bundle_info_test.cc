#include "quillhaven/identity/bundle_info.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>

#include <filesystem>

#include "quillhaven/identity/product_defaults.h"
#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/extended_attributes.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::identity {
namespace {

namespace fs = std::filesystem;
using platform::Bundle;
using platform::PropertyList;
using platform::testing::TemporaryFolder;
using Dictionary = PropertyList::Dictionary;

class BundleInfoTest : public ::testing::Test {
 protected:
  Bundle bundleWith(const Dictionary& information,
                    const std::string& name = "A.app") {
    folder_.write(name + "/Contents/Info.plist",
                  *platform::xmlFromPropertyList(information));
    return Bundle(folder_.path(name));
  }
  Bundle bundleOf(std::string_view identifier) {
    return bundleWith({{"CFBundleIdentifier", identifier}});
  }

  const TemporaryFolder folder_;
};

TEST_F(BundleInfoTest, ComponentsAreToldApartByTheirIdentifiers) {
  const struct {
    std::string_view identifier;
    bool isMail, isPlugin, isApp, isLoader, isLegacy;
  } cases[] = {
      {"com.apple.mail", true, false, false, false, false},
      {"COM.Apple.Mail", true, false, false, false, false},
      {"COM.QUILLHAVEN.MAILPLUGIN", false, true, false, false, false},
      {"com.quillhaven.mailpluginloader", false, false, false, true, false},
      {"com.quillhaven.App", false, false, true, false, false},
      {"com.quillhaven.app.mailextension", false, false, false, false, false},
      {"com.loamfield.QuillHaven", false, false, false, false, true},
      {"com.loamfield.quillhaven", false, false, false, false, false},
      {"", false, false, false, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.identifier);
    const Bundle bundle = bundleOf(c.identifier);
    EXPECT_EQ(isMailBundle(bundle), c.isMail);
    EXPECT_EQ(isPluginBundle(bundle), c.isPlugin);
    EXPECT_EQ(isAppBundle(bundle), c.isApp);
    EXPECT_EQ(isLoaderBundle(bundle), c.isLoader);
    EXPECT_EQ(isLegacyQuillhaven(bundle), c.isLegacy);
  }
  const Bundle nameless = bundleWith({{"CFBundleIdentifier", 5}});
  EXPECT_FALSE(isMailBundle(nameless));
  EXPECT_FALSE(isLegacyQuillhaven(nameless));
}

TEST_F(BundleInfoTest, EnvironmentIsSpeltExactly) {
  for (const auto environmentValue :
       {Environment::debug, Environment::alpha, Environment::beta,
        Environment::release}) {
    EXPECT_EQ(environment(bundleWith(
                  {{"QuillhavenEnvironment", rawValue(environmentValue)}})),
              environmentValue);
  }
  EXPECT_EQ(rawValue(Environment::release), "Release");
  for (const PropertyList& value :
       {PropertyList("release"), PropertyList("Release "), PropertyList(""),
        PropertyList(3)}) {
    EXPECT_FALSE(environment(bundleWith({{"QuillhavenEnvironment", value}})));
  }
  EXPECT_FALSE(environment(bundleWith({})));
}

TEST_F(BundleInfoTest, NamesAndVersionsFallBack) {
  const struct {
    Dictionary information;
    std::string_view name, shortVersion, product, version, longVersion;
    std::int64_t build;
  } cases[] = {
      {{{"CFBundleDisplayName", "D"},
        {"CFBundleName", "N"},
        {"CFBundleShortVersionString", "1.2"},
        {"QuillhavenVersion", "7.2"},
        {"CFBundleVersion", "1234"}},
       "D",
       "1.2",
       "7.2",
       "1234",
       "7.2 (1234)",
       1234},
      {{{"CFBundleDisplayName", 1},
        {"CFBundleName", "N"},
        {"CFBundleShortVersionString", "1.2"},
        {"QuillhavenVersion", true},
        {"CFBundleVersion", 1234}},
       "N",
       "1.2",
       "1.2",
       "Unknown",
       "1.2 (Unknown)",
       -1},
      {{{"CFBundleName", 1}},
       "A",
       "Unknown",
       "Unknown",
       "Unknown",
       "Unknown (Unknown)",
       -1},
      {{{"CFBundleDisplayName", ""}, {"CFBundleVersion", ""}},
       "",
       "Unknown",
       "Unknown",
       "",
       "Unknown ()",
       -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.longVersion);
    const Bundle bundle = bundleWith(c.information);
    EXPECT_EQ(name(bundle), c.name);
    EXPECT_EQ(shortVersionString(bundle), c.shortVersion);
    EXPECT_EQ(quillhavenVersionString(bundle), c.product);
    EXPECT_EQ(versionString(bundle), c.version);
    EXPECT_EQ(longVersionString(bundle), c.longVersion);
    EXPECT_EQ(buildNumber(bundle), c.build);
  }
  const struct {
    std::string_view path, name;
  } paths[] = {{"/x/Mail.app", "Mail"}, {"/x/a.b.app", "a.b"},
               {"/x/.app", ".app"},     {"/x.y/plain", "plain"},
               {"/x/dot.", "dot."},     {"/", "/"}};
  for (const auto& c : paths) EXPECT_EQ(name(Bundle(c.path)), c.name) << c.path;
  EXPECT_DEATH((void)name(Bundle()), "without a path");
  EXPECT_DEATH((void)uncachedInfoDictionary(Bundle()), "without a path");
}

TEST(BuildNumber, IsAWholeDecimalNumber) {
  const struct {
    std::string_view text;
    std::int64_t number;
  } cases[] = {
      {"0", 0},
      {"42", 42},
      {"+42", 42},
      {"-42", -42},
      {"007", 7},
      {"", -1},
      {"+", -1},
      {"-", -1},
      {"+-4", -1},
      {"-+4", -1},
      {"++4", -1},
      {"12a", -1},
      {" 12", -1},
      {"12 ", -1},
      {"1.2", -1},
      {"0x1", -1},
      {"1e3", -1},
      {"Unknown", -1},
      {"9223372036854775807", 9223372036854775807},
      {"9223372036854775808", -1},
      {"-9223372036854775808", -9223372036854775807 - 1},
  };
  for (const auto& c : cases)
    EXPECT_EQ(buildNumber(c.text), c.number) << c.text;
}

TEST_F(BundleInfoTest, FlagsAreReadFromTheDiskEachTime) {
  const Bundle bundle = bundleWith({{"CFBundleVersion", "1"}});
  EXPECT_EQ(versionString(bundle), "1");
  EXPECT_FALSE(isMacAppStoreVersion(bundle));
  EXPECT_FALSE(isWideframe(bundle));
  EXPECT_EQ(mailExtensionVersionID(bundle), std::nullopt);

  bundleWith({{"CFBundleVersion", "2"},
              {"MacAppStore", true},
              {"Wideframe", true},
              {"QHExtensionVersionID", -3}});
  EXPECT_EQ(versionString(bundle), "1");  // kept
  EXPECT_TRUE(isMacAppStoreVersion(bundle));
  EXPECT_TRUE(isWideframe(bundle));
  EXPECT_EQ(mailExtensionVersionID(bundle), -3);

  bundleWith({{"MacAppStore", 1},
              {"Wideframe", "YES"},
              {"QHExtensionVersionID", true}});
  EXPECT_FALSE(isMacAppStoreVersion(bundle));
  EXPECT_FALSE(isWideframe(bundle));
  EXPECT_EQ(mailExtensionVersionID(bundle), std::nullopt);
  bundleWith({{"Wideframe", false}, {"QHExtensionVersionID", "3"}});
  EXPECT_FALSE(isWideframe(bundle));
  EXPECT_EQ(mailExtensionVersionID(bundle), std::nullopt);
  folder_.write("A.app/Contents/Info.plist", "damaged");
  EXPECT_EQ(uncachedInfoDictionary(bundle), std::nullopt);
  EXPECT_FALSE(isWideframe(bundle));
}

TEST_F(BundleInfoTest, SupportEndsWithASystemForEachKindOfBuild) {
  using enum OSSupport;
  const struct {
    std::int64_t major;
    OSSupport wideframe, other;
  } cases[] = {{10, supported, supported},     {13, supported, supported},
               {14, supported, unsupported},   {15, supported, unsupported},
               {16, unsupported, unsupported}, {-1, supported, supported}};
  for (const auto& c : cases) {
    EXPECT_EQ(osSupport(true, c.major), c.wideframe) << c.major;
    EXPECT_EQ(osSupport(false, c.major), c.other) << c.major;
  }
  setOperatingSystemVersion(OperatingSystemVersion{14, 5, 0});
  EXPECT_EQ(osSupport(bundleWith({})), unsupported);
  EXPECT_EQ(osSupport(bundleWith({{"Wideframe", true}})), supported);
  setOperatingSystemVersion(std::nullopt);
}

TEST_F(BundleInfoTest, UserAgentNamesProductBuildAndSystem) {
  const OperatingSystemVersion system{14, 5, 0};
  const Bundle mail =
      bundleWith({{"CFBundleShortVersionString", "16.0"}}, "Mail.app");
  const auto agentOf = [&](std::string_view identifier) {
    return userAgent(bundleWith({{"CFBundleIdentifier", identifier},
                                 {"CFBundleName", "N"},
                                 {"CFBundleShortVersionString", "1.0"},
                                 {"QuillhavenVersion", "7.2"},
                                 {"CFBundleVersion", "1234"}}),
                     mail, system);
  };
  EXPECT_EQ(agentOf("com.quillhaven.mailplugin"),
            "QuillhavenPlugin/7.2 (com.quillhaven.mailplugin; build:1234; Mail "
            "16.0; Mac OS X 14.5.0)");
  for (const auto& [identifier, start] :
       std::initializer_list<std::pair<std::string_view, std::string_view>>{
           {"com.quillhaven.app", "QuillhavenApp/7.2 (com.q"},
           {"com.quillhaven.agent", "QuillhavenAgent/7.2 (com.q"},
           {"com.quillhaven.smtprelay", "SMTPRelay/7.2 (com.q"},
           {"COM.QUILLHAVEN.MAILPLUGIN", "N/1.0 (COM.Q"},
           {"com.quillhaven.mailpluginloader", "N/1.0 (com.q"}}) {
    EXPECT_TRUE(agentOf(identifier).starts_with(start)) << agentOf(identifier);
  }
  EXPECT_EQ(
      userAgent(bundleWith({{"Wideframe", true}}), std::nullopt, {10, 15, 7}),
      "A/Unknown (Unknown; build:Unknown; Wideframe; Mac OS X 10.15.7)");
}

TEST_F(BundleInfoTest, MailMovedToTheSystemFolder) {
  fs::create_directories(folder_.path("Applications/Mail.app"));
  EXPECT_FALSE(mailBundle({10, 15, 0}, folder_.path()));
  fs::create_directories(folder_.path("System/Applications/Mail.app"));
  const std::string before = folder_.path("Applications/Mail.app");
  const std::string now = folder_.path("System/Applications/Mail.app");
  EXPECT_EQ(mailBundle({10, 14, 9}, folder_.path())->bundlePath(), before);
  EXPECT_EQ(mailBundle({9, 20, 0}, folder_.path())->bundlePath(), before);
  EXPECT_EQ(mailBundle({10, 15, 0}, folder_.path())->bundlePath(), now);
  EXPECT_EQ(mailBundle({11, 0, 0}, folder_.path())->bundlePath(), now);
}

// Makes a file such that not even root may change it, where that is possible.
class Unchangeable {
 public:
  explicit Unchangeable(const std::string& path)
      : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    holds_ = setFlag(FS_IMMUTABLE_FL);
  }
  ~Unchangeable() { (void)setFlag(0); }
  [[nodiscard]] bool holds() const { return holds_; }

 private:
  [[nodiscard]] bool setFlag(int flag) const {
    int flags = 0;
    if (::ioctl(fd_.get(), FS_IOC_GETFLAGS, &flags) != 0) return false;
    flags = (flags & ~FS_IMMUTABLE_FL) | flag;
    return ::ioctl(fd_.get(), FS_IOC_SETFLAGS, &flags) == 0;
  }

  platform::UniqueFd fd_;
  bool holds_ = false;
};

class DequarantineTest : public BundleInfoTest {
 protected:
  void SetUp() override {
    if (!mark(folder_.path())) {
      GTEST_SKIP() << "the temporary folder carries no attributes";
    }
  }
  static bool mark(const std::string& path) {
    return ::setxattr(path.c_str(), platform::kQuarantineAttribute, "q", 1,
                      0) == 0;
  }
  static bool isMarked(const std::string& path) {
    return ::getxattr(path.c_str(), platform::kQuarantineAttribute, nullptr,
                      0) >= 0;
  }
};

TEST_F(DequarantineTest, ClearsTheWholeTree) {
  const std::string outside = folder_.write("outside/file", "");
  const std::string paths[] = {folder_.path("A.app"),
                               folder_.write("A.app/Contents/Info.plist", ""),
                               folder_.path("A.app/Contents"),
                               folder_.write("A.app/.hidden/x/y", ""),
                               folder_.path("A.app/.hidden"),
                               folder_.path("A.app/.hidden/x")};
  fs::create_symlink(folder_.path("outside"), folder_.path("A.app/folder"));
  fs::create_symlink("nowhere", folder_.path("A.app/dangling"));
  for (const std::string& path : paths) ASSERT_TRUE(mark(path));
  ASSERT_TRUE(mark(outside) && mark(folder_.path("outside")));
  EXPECT_TRUE(dequarantine(Bundle(folder_.path("A.app"))));
  for (const std::string& path : paths) EXPECT_FALSE(isMarked(path)) << path;
  // A link to a folder: the folder's mark goes, nothing inside is touched.
  EXPECT_FALSE(isMarked(folder_.path("outside")));
  EXPECT_TRUE(isMarked(outside));

  EXPECT_TRUE(dequarantine(Bundle(outside)));  // a file
  EXPECT_FALSE(isMarked(outside));
  EXPECT_TRUE(dequarantine(Bundle(folder_.path("missing"))));
  EXPECT_TRUE(dequarantine(Bundle(folder_.path("A.app"))));
}

TEST_F(DequarantineTest, StopsAtTheFirstMarkThatStays) {
  const std::string stuck = folder_.write("A.app/stuck", "");
  ASSERT_TRUE(mark(stuck));
  const std::string inside = folder_.write("A.app/folder/inside", "");
  ASSERT_TRUE(mark(inside) && mark(folder_.path("A.app")));
  {
    const Unchangeable guard(stuck);
    if (!guard.holds()) GTEST_SKIP() << "nothing can be made unchangeable";
    EXPECT_FALSE(dequarantine(Bundle(folder_.path("A.app"))));
    EXPECT_FALSE(dequarantine(Bundle(stuck)));
    EXPECT_FALSE(isMarked(folder_.path("A.app")));  // comes first
    EXPECT_TRUE(isMarked(stuck));
    EXPECT_TRUE(isMarked(inside));  // was still to come
  }
  EXPECT_TRUE(dequarantine(Bundle(folder_.path("A.app"))));
  EXPECT_FALSE(isMarked(stuck));
}

TEST(UuidForKey, IsCanonicalTextOnly) {
  const TemporaryFolder folder;
  platform::UserDefaults defaults("suite", folder.path());
  defaults.update([](Dictionary& values) {
    values = {{"good", "0B5F4CD6-1F2A-4d5E-8b1c-2a3b4c5d6e7f"},
              {"short", "0B5F4CD6-1F2A-4D5E-8B1C-2A3B4C5D6E7"},
              {"braces", "{0B5F4CD6-1F2A-4D5E-8B1C-2A3B4C5D6E7F}"},
              {"number", 5}};
  });
  const auto good = uuid(defaults, "good");
  ASSERT_TRUE(good);
  EXPECT_EQ(good->uppercaseString(), "0B5F4CD6-1F2A-4D5E-8B1C-2A3B4C5D6E7F");
  for (const char* key : {"short", "braces", "number", "none"}) {
    EXPECT_FALSE(uuid(defaults, key)) << key;
  }
}

TEST(OperatingSystemVersion, IsReadFromItsNumbers) {
  const struct {
    std::string_view text;
    std::optional<OperatingSystemVersion> version;
  } cases[] = {
      {"14", {{14, 0, 0}}},
      {"14.5", {{14, 5, 0}}},
      {"14.5.1", {{14, 5, 1}}},
      {"14.5.1.9", {{14, 5, 1}}},
      {"12\"", {{12, 0, 0}}},
      {"14.x", {{14, 0, 0}}},
      {"14.-5", {{14, 0, 0}}},
      {"", {}},
      {"rolling", {}},
      {".5", {}},
      {"-1", {}},
      {"99999999999999999999", {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(operatingSystemVersionFromText(c.text), c.version) << c.text;
  }
}

// The order of the columns is that of the systems; "later" ones are open.
TEST(OperatingSystemVersion, HasNamesAndAnOrder) {
  const struct {
    OperatingSystemVersion version;
    std::string_view names;  // exactly each, then each or later
  } cases[] = {
      {{10, 12, 6}, "....... ......."}, {{10, 13, 0}, "x...... x......"},
      {{10, 14, 6}, ".x..... xx....."}, {{10, 15, 0}, "..x.... xxx...."},
      {{10, 16, 0}, "....... xxx...."}, {{11, 0, 0}, "...x... xxxx..."},
      {{12, 13, 0}, "....x.. xxxxx.."}, {{13, 0, 9}, ".....x. xxxxxx."},
      {{14, 5, 0}, "......x xxxxxxx"},  {{15, 0, 0}, "....... xxxxxxx"},
      {{9, 15, 0}, "....... ......."},  {{-1, 13, 0}, "....... ......."},
  };
  for (const auto& c : cases) {
    const auto& v = c.version;
    std::string names;
    for (const bool is :
         {v.isHighSierra(), v.isMojave(), v.isCatalina(), v.isBigSur(),
          v.isMonterey(), v.isVentura(), v.isSonoma()}) {
      names.push_back(is ? 'x' : '.');
    }
    names.push_back(' ');
    for (const bool is :
         {v.isHighSierraOrLater(), v.isMojaveOrLater(), v.isCatalinaOrLater(),
          v.isBigSurOrLater(), v.isMontereyOrLater(), v.isVenturaOrLater(),
          v.isSonomaOrLater()}) {
      names.push_back(is ? 'x' : '.');
    }
    EXPECT_EQ(names, c.names) << v.majorVersion << "." << v.minorVersion;
  }
}

TEST(OperatingSystemVersion, OfTheHostGoesBeforeThatOfTheSystem) {
  setOperatingSystemVersion(OperatingSystemVersion{14, 5, 0});
  EXPECT_EQ(operatingSystemVersion(), (OperatingSystemVersion{14, 5, 0}));
  EXPECT_TRUE(
      operatingSystemVersionString().starts_with("Version 14.5 (Build "));
  setOperatingSystemVersion(OperatingSystemVersion{14, 5, 2});
  EXPECT_TRUE(
      operatingSystemVersionString().starts_with("Version 14.5.2 (Build "));
  setOperatingSystemVersion(std::nullopt);
}

}  // namespace
}  // namespace quillhaven::identity
