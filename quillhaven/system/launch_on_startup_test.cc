#include "quillhaven/system/launch_on_startup.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/files/login_items.h"
#include "quillhaven/platform/files/testing/desktop_entries.h"
#include "quillhaven/platform/files/testing/environment_variable.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/testing/process_state.h"

namespace quillhaven::system {
namespace {

using platform::Bundle;
using platform::testing::desktopEntry;
using platform::testing::EnvironmentVariable;
using platform::testing::isValidDesktopEntry;
using platform::testing::openDescriptorCount;
using platform::testing::TemporaryFolder;
using platform::testing::writeApplication;

// A user with an application of the product, and entries of all kinds.
class QHSetLaunchOnStartupTest : public ::testing::Test {
 protected:
  QHSetLaunchOnStartupTest()
      : bundle_(
            writeApplication(folder_, "Quillhaven.app", "com.quillhaven.a")) {}

  std::string write(const std::string& name, std::string_view bytes) {
    return folder_.write("autostart/" + name + ".desktop", bytes);
  }

  // An entry for the bundle `name` beside ours.
  std::string entryOf(std::string_view displayName, const std::string& name) {
    return desktopEntry(displayName, "Exec=\"" + folder_.path(name) +
                                         "/Contents/MacOS/Program\"\n");
  }

  // The bytes of all files in the folder, by name.
  [[nodiscard]] std::map<std::string, std::string> files() const {
    std::map<std::string, std::string> files;
    for (const auto& file :
         std::filesystem::directory_iterator(folder_.path("autostart"))) {
      const std::string name = file.path().filename();
      files.emplace(name, folder_.read("autostart/" + name));
    }
    return files;
  }

  const TemporaryFolder folder_;
  const EnvironmentVariable configuration_{"XDG_CONFIG_HOME", folder_.path()};
  const EnvironmentVariable system_{"XDG_CONFIG_DIRS", folder_.path("etc")};
  const Bundle bundle_;
  const std::string own_ = "com.quillhaven.a.desktop";
};

TEST_F(QHSetLaunchOnStartupTest, RegistersOnceAndHidden) {
  QHSetLaunchOnStartup(true, bundle_);
  const auto once = files();
  ASSERT_EQ(once.size(), 1U);
  EXPECT_EQ(once.begin()->first, own_);
  EXPECT_TRUE(isValidDesktopEntry(folder_.path("autostart/" + own_)));
  QHSetLaunchOnStartup(true, bundle_);
  EXPECT_EQ(files(), once);

  // The user has shown it, or switched it off.
  for (const auto& [from, to] :
       {std::pair<std::string, std::string>{" --hidden", ""},
        {"X-Quillhaven-Hidden=true\n", ""},
        {"Hidden=true", "Hidden=false\nX-GNOME-Autostart-enabled=false"}}) {
    std::string changed = once.begin()->second;
    changed.replace(changed.find(from), from.size(), to);
    folder_.write("autostart/" + own_, changed);
    QHSetLaunchOnStartup(true, bundle_);
    const auto items = platform::LoginItemList::open()->items();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_TRUE(items[0].isHidden());
    EXPECT_TRUE(items[0].isEnabled());
  }
  QHSetLaunchOnStartup(false, bundle_);
  EXPECT_TRUE(files().empty());
}

TEST_F(QHSetLaunchOnStartupTest, EnablingRemovesStaleEntriesOnly) {
  writeApplication(folder_, "Old.app", "com.quillhaven.a");
  writeApplication(folder_, "Other.app", "com.example.other");
  writeApplication(folder_, "None.app", "");
  write("copy", entryOf("Copy", "Old.app"));
  write("named", entryOf("Quillhaven Helper", "Other.app"));
  write("gone", entryOf("Quillhaven", "Gone.app"));
  write("program", desktopEntry("Quillhaven 2", "Exec=/usr/bin/true\n"));

  const std::map<std::string, std::string> kept = {
      {"other.desktop", entryOf("Other", "Other.app") + "# by hand\n\n\n[X]\n"},
      {"gone-other.desktop", entryOf("My Quillhaven", "Gone.app")},
      {"lower.desktop", entryOf("quillhaven", "Gone.app")},
      {"none.desktop", entryOf("None", "None.app")},
      {"tool.desktop", desktopEntry("Tool", "Exec=tool\n")},
      {"unknowable.desktop",
       entryOf("Quillhaven", std::string(300, 'x') + ".app")},
      {"deleted.desktop", entryOf("Quillhaven", "Old.app") + "Hidden=true\n"},
      {"damaged.desktop", "Name=Quillhaven\n"},
      {"Quillhaven.txt", entryOf("Quillhaven", "Old.app")},
  };
  for (const auto& [name, bytes] : kept) {
    folder_.write("autostart/" + name, bytes);
  }
  QHSetLaunchOnStartup(true, bundle_);
  auto now = files();
  EXPECT_EQ(now.erase(own_), 1U);
  EXPECT_EQ(now, kept);

  // Without identifiers there are no copies.
  QHSetLaunchOnStartup(true,
                       Bundle(writeApplication(folder_, "Nameless.app", "")));
  EXPECT_EQ(files().count("none.desktop"), 1U);
  QHSetLaunchOnStartup(false, Bundle(folder_.path("Nameless.app")));
  EXPECT_EQ(files().count("none.desktop"), 1U);
}

TEST_F(QHSetLaunchOnStartupTest, DisablingRemovesAllCopiesOnly) {
  writeApplication(folder_, "Old.app", "com.quillhaven.a");
  writeApplication(folder_, "Other.app", "com.example.other");
  write("copy", entryOf("Copy", "Old.app"));
  QHSetLaunchOnStartup(false, Bundle(folder_.path("Other.app")));
  EXPECT_EQ(files().size(), 1U);

  write("system", entryOf("Ours", "Quillhaven.app"));
  folder_.write("etc/autostart/system.desktop", desktopEntry("System"));
  const std::map<std::string, std::string> kept = {
      {"other.desktop", entryOf("Quillhaven", "Other.app")},
      {"gone.desktop", entryOf("Quillhaven", "Gone.app")},
      {"tool.desktop", desktopEntry("Quillhaven", "Exec=tool\n")},
      {"unknowable.desktop",
       entryOf("Quillhaven", std::string(300, 'x') + ".app")},
      {"system.desktop", entryOf("Ours", "Quillhaven.app") + "Hidden=true\n"},
  };
  for (const auto& [name, bytes] : kept) {
    if (name != "system.desktop") folder_.write("autostart/" + name, bytes);
  }
  QHSetLaunchOnStartup(false, bundle_);
  EXPECT_EQ(files(), kept);
}

TEST_F(QHSetLaunchOnStartupTest, DoesNothingWithoutAList) {
  folder_.write("autostart", "a file");
  QHSetLaunchOnStartup(true, bundle_);
  QHSetLaunchOnStartup(false, bundle_);
  EXPECT_EQ(folder_.read("autostart"), "a file");
  std::filesystem::remove(folder_.path("autostart"));
  QHSetLaunchOnStartup(false, bundle_);
  QHSetLaunchOnStartup(true, Bundle());
  EXPECT_FALSE(std::filesystem::exists(folder_.path("autostart")));
}

TEST_F(QHSetLaunchOnStartupTest, LeavesOneEntryBehindTwoProcesses) {
  for (int i = 0; i < 25; ++i) {
    std::filesystem::remove_all(folder_.path("autostart"));
    const pid_t child = ::fork();
    QHSetLaunchOnStartup(true, bundle_);
    if (child == 0) ::_exit(0);
    int status = 1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(files().size(), 1U);
  }
}

TEST_F(QHSetLaunchOnStartupTest, LeavesNoDescriptorOpen) {
  write("tool", desktopEntry("Tool", "Exec=tool\n"));
  QHSetLaunchOnStartup(true, bundle_);
  const std::size_t before = openDescriptorCount();
  for (int i = 0; i < 1000; ++i) QHSetLaunchOnStartup(true, bundle_);
  for (int i = 0; i < 10; ++i) {
    QHSetLaunchOnStartup(false, bundle_);
    QHSetLaunchOnStartup(true, bundle_);
  }
  EXPECT_EQ(openDescriptorCount(), before);
}

}  // namespace
}  // namespace quillhaven::system
