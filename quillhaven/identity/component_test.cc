// Runs components of the product as processes of their own, inside bundles.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "quillhaven/identity/bundle_info.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::identity {
namespace {

namespace fs = std::filesystem;
using platform::PropertyList;

class ComponentTest : public ::testing::Test {
 protected:
  // Makes the bundle `name` with a copy of `file` as its executable; returns
  // the path of that.
  std::string makeBundle(const std::string& name, std::string_view identifier,
                         const std::string& file,
                         PropertyList::Dictionary information = {}) {
    information.emplace(platform::kBundleIdentifierKey, identifier);
    folder_.write(name + "/Contents/Info.plist",
                  *platform::xmlFromPropertyList(information));
    const std::string path = folder_.path(name + "/Contents/MacOS/program");
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file(file, path);
    return path;
  }

  // Runs `program` and returns all that it writes, with paths relative to the
  // folder of the test.
  std::string run(const std::string& program, const std::string& arguments,
                  const std::string& environment = {}) {
    const std::string command =
        "LC_ALL=C XDG_CONFIG_HOME=" + folder_.path("config") +
        " QUILLHAVEN_OS_VERSION=14.5.1 " + environment + " " + program + " " +
        arguments + " 2>&1";
    FILE* const pipe = ::popen(command.c_str(), "r");
    std::string output;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
      output.push_back(static_cast<char>(c));
    }
    EXPECT_EQ(::pclose(pipe), 0) << command;
    const std::string prefix = folder_.path() + "/";
    for (std::size_t at = output.find(prefix); at != std::string::npos;
         at = output.find(prefix, at)) {
      output.erase(at, prefix.size());
    }
    return output;
  }

  const platform::testing::TemporaryFolder folder_;
};

TEST_F(ComponentTest, PluginInsideMailIsTheCurrentBundle) {
  const std::string mail =
      makeBundle("Mail.app", mailBundleIdentifier, QUILLHAVEN_COMPONENT_PROBE);
  for (const char* library :
       {QUILLHAVEN_PLUGIN_WITH_SYMBOL, QUILLHAVEN_PLUGIN_WITH_CLASS}) {
    SCOPED_TRACE(library);
    fs::remove_all(folder_.path("Plugin.mailbundle"));
    const std::string plugin =
        makeBundle("Plugin.mailbundle", pluginBundleIdentifier, library);
    EXPECT_EQ(run(mail, "load " + plugin + " main current defaults"),
              "Mail.app\nPlugin.mailbundle\n"
              "config/quillhaven/com.quillhaven.mailplugin.plist\n");
    // Determined once, on first use.
    EXPECT_EQ(run(mail, "current load " + plugin + " current"),
              "Mail.app\nMail.app\n");
  }
  // A library that uses the class without defining it decides nothing.
  const std::string other = makeBundle("Other.bundle", "com.example.other",
                                       QUILLHAVEN_LIBRARY_WITHOUT_CLASS);
  EXPECT_EQ(run(mail, "load " + other + " current"), "Mail.app\n");
}

TEST_F(ComponentTest, OutsideMailTheStandardDefaultsServe) {
  const std::string app = makeBundle("Q.app", applicationBundleIdentifier,
                                     QUILLHAVEN_COMPONENT_PROBE);
  EXPECT_EQ(run(app, "current defaults"),
            "Q.app\nconfig/quillhaven/com.quillhaven.app.plist\n");
  // The comparison is exact.
  const std::string shouting =
      makeBundle("M.app", "COM.APPLE.MAIL", QUILLHAVEN_COMPONENT_PROBE);
  EXPECT_EQ(run(shouting, "defaults"),
            "config/quillhaven/COM.APPLE.MAIL.plist\n");
  // Outside of any bundle the name of the program stands for it.
  fs::copy_file(QUILLHAVEN_COMPONENT_PROBE, folder_.path("lone-program"));
  EXPECT_EQ(run(folder_.path("lone-program"), "main defaults"),
            folder_.path() + "\nconfig/quillhaven/lone-program.plist\n");
}

TEST_F(ComponentTest, DefaultsFallBackWhenTheSuiteCannotBeOpened) {
  const std::string mail =
      makeBundle("Mail.app", mailBundleIdentifier, QUILLHAVEN_COMPONENT_PROBE);
  fs::create_directories(
      folder_.path("config/quillhaven/com.quillhaven.mailplugin.plist"));
  const std::string output = run(mail, "defaults");
  EXPECT_NE(output.find("Couldn't iniatilize UserDefaults for suite "
                        "\"com.quillhaven.mailplugin\". Falling back to "
                        "\"standard\"\n"),
            std::string::npos)
      << output;
  EXPECT_TRUE(output.ends_with("config/quillhaven/com.apple.mail.plist\n"))
      << output;
}

TEST_F(ComponentTest, VersionLinesNameTheBuildAndTheLoader) {
  const PropertyList::Dictionary build = {{"QuillhavenVersion", "7.2"},
                                          {"CFBundleVersion", "1234"}};
  const std::string mail =
      makeBundle("Mail.app", mailBundleIdentifier, QUILLHAVEN_COMPONENT_PROBE);
  const std::string plugin = makeBundle("P.mailbundle", pluginBundleIdentifier,
                                        QUILLHAVEN_PLUGIN_WITH_SYMBOL, build);
  const std::string loader = makeBundle(
      "L.mailbundle", loaderBundleIdentifier, QUILLHAVEN_LIBRARY_WITHOUT_CLASS,
      {{"LoaderPluginSignature", "S1"}, {"CFBundleVersion", "9"}});
  const std::string app = makeBundle("Q.app", applicationBundleIdentifier,
                                     QUILLHAVEN_COMPONENT_PROBE, build);
  const std::string system = "(1234) on macOS Version 14.5.1 (Build ";
  const std::string loaded = "Loaded by Quillhaven Loader Plugin S1 (9)\n";

  std::string output = run(mail, "load " + loader + " load " + plugin + " log");
  EXPECT_TRUE(output.starts_with("Quillhaven Plugin 7.2 " + system)) << output;
  EXPECT_TRUE(output.ends_with(")\n" + loaded)) << output;
  output = run(mail, "load " + plugin + " log");
  EXPECT_TRUE(output.starts_with("Quillhaven Plugin 7.2 " + system)) << output;
  EXPECT_EQ(output.find("Loaded by"), std::string::npos) << output;
  output = run(app, "load " + loader + " log");
  EXPECT_TRUE(output.starts_with("QuillhavenApp 7.2 " + system)) << output;
  EXPECT_EQ(output.find("Loaded by"), std::string::npos) << output;
}

}  // namespace
}  // namespace quillhaven::identity
