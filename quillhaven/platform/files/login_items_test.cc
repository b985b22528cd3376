#include "quillhaven/platform/files/login_items.h"

#include <gio/gdesktopappinfo.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "quillhaven/platform/files/internal/desktop_entry.h"
#include "quillhaven/platform/files/testing/desktop_entries.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform {
namespace {

using testing::desktopEntry;
using testing::isValidDesktopEntry;
using testing::TemporaryFolder;
using testing::writeApplication;

using Names = std::vector<std::string>;

Names namesIn(const LoginItemList& list) {
  Names names;
  for (const LoginItem& item : list.items())
    names.push_back(item.displayName());
  return names;
}

// The only item of a list.
LoginItem onlyItemOf(const LoginItemList& list) {
  auto items = list.items();
  EXPECT_EQ(items.size(), 1U);
  return items.empty() ? LoginItem() : items.front();
}

int errorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::system_error& error) {
    return error.code().value();
  }
  return 0;
}

TEST(LoginItemList, ListsEntriesInTheirOrder) {
  const TemporaryFolder folder;
  const LoginItemList list(folder.path("autostart"));
  EXPECT_TRUE(list.items().empty());
  const auto write = [&](std::string_view name, std::string_view bytes) {
    folder.write("autostart/" + std::string(name), bytes);
  };
  write("z.desktop", desktopEntry("first", "X-Quillhaven-Order=-1\n"));
  write("c.desktop", desktopEntry("third"));
  write("b.desktop", desktopEntry("second", "X-Quillhaven-Order=x\n"));
  write("a.desktop", desktopEntry("fourth", "X-Quillhaven-Order=7\n"));
  write("off.desktop", desktopEntry("off",
                                    "X-GNOME-Autostart-enabled=false\n"
                                    "X-Quillhaven-Order=8\n"));
  write("twice.desktop", desktopEntry("no") +
                             "[Desktop Entry]\nName=twice\n"
                             "X-Quillhaven-Order=9\n");
  folder.link("autostart/link.desktop",
              folder.write("elsewhere",
                           desktopEntry("linked", "X-Quillhaven-Order=10")));
  write("unnamed.desktop",
        "[Desktop Entry]\nName=\xFF\nX-Quillhaven-Order=11\n");

  write("deleted.desktop", desktopEntry("deleted", "Hidden=true\n"));
  write(".dot.desktop", desktopEntry("dot"));
  write("other.txt", desktopEntry("other"));
  write("group.desktop", "[Another]\nName=group\n");
  write("outside.desktop", "Name=outside\n" + desktopEntry("outside"));
  write("empty.desktop", "");
  write("large.desktop",
        desktopEntry("large", "#" + std::string(1 << 20, 'x')));
  std::filesystem::create_directory(folder.path("autostart/folder.desktop"));
  ASSERT_EQ(::mkfifo(folder.path("autostart/pipe.desktop").c_str(), 0600), 0);
  folder.link("autostart/dangling.desktop", "nowhere");

  EXPECT_EQ(namesIn(list), (Names{"first", "second", "third", "fourth", "off",
                                  "twice", "linked", ""}));
  EXPECT_FALSE(list.items()[4].isEnabled());
  EXPECT_TRUE(list.items()[3].isEnabled());
}

TEST(LoginItem, ResolvesToItsBundle) {
  const TemporaryFolder folder;
  const std::string app = writeApplication(folder, "A B.app", "");
  const std::string inner = app + "/Contents/Helper.app";
  std::filesystem::create_directories(inner);
  const struct {
    std::string lines;
    std::optional<std::string> path;
    int error;
  } cases[] = {
      {"X-Quillhaven-Bundle=file://" + folder.path() + "/A%20B.app\n", app, 0},
      {"X-Quillhaven-Bundle=file://" + folder.path() +
           "/A%20B.app\nExec=/x.app",
       app, 0},
      {"X-Quillhaven-Bundle=A B.app\n", std::nullopt, 0},
      {"Exec=\"" + app + "/Contents/MacOS/X\" --flag %U\n", app, 0},
      {"Exec=" + folder.path() + "/A\\\\ B.app/Contents/MacOS/X\n", app, 0},
      {"Exec='" + inner + "/Contents/MacOS/X'\n", inner, 0},
      {"Exec='" + app + "'\n", app, 0},
      {"Exec=/bin/sh '" + app + "'\n", std::nullopt, 0},
      {"Exec=A.app/Contents/MacOS/X\n", std::nullopt, 0},
      {"Exec=\"" + app + "/not closed\n", std::nullopt, 0},
      {"Exec=/" + std::string(1 << 19, '/') + "x\n", std::nullopt, 0},
      {"", std::nullopt, 0},
      {"Exec=/nowhere/B.app/x\n", std::nullopt, kLoginItemNotThere},
      {"Exec='" + app + "/Contents/Info.plist/B.app/x'\n", std::nullopt,
       kLoginItemNotThere},
      {"Exec=/" + std::string(300, 'x') + ".app/x\n", std::nullopt,
       -ENAMETOOLONG},
  };
  const LoginItemList list(folder.path("autostart"));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.lines.substr(0, 200));
    folder.write("autostart/a.desktop", desktopEntry("a", c.lines));
    const auto resolution = onlyItemOf(list).resolve();
    EXPECT_EQ(resolution.path, c.path);
    EXPECT_EQ(resolution.error, c.error);
  }
}

// What GLib, and with it most desktops, runs for an entry.
std::string startedBy(const std::string& entry, const TemporaryFolder& folder) {
  std::filesystem::remove(folder.path("started"));
  GDesktopAppInfo* const application =
      ::g_desktop_app_info_new_from_filename(entry.c_str());
  if (application == nullptr) return "no application";
  const bool isLaunched =
      ::g_app_info_launch(G_APP_INFO(application), nullptr, nullptr, nullptr);
  ::g_object_unref(application);
  if (!isLaunched) return "not launched";
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!std::filesystem::exists(folder.path("started")) &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  return folder.read("started");
}

TEST(LoginItemList, InsertsEntriesThatDesktopsStart) {
  const struct {
    std::string name, identifier, program, file;
  } cases[] = {
      {"Plain.app", "com.example.plain", "Plain", "com.example.plain"},
      {"Q \"u\" $HOME `id` \\ 100%f 'x'.app", "a b/../c", "P %% \\n $1",
       "a_b_.._c"},
      {"\xC3\xA9.app", ".hidden", "\xE2\x82\xAC", "_hidden"},
      {"a=b.app", "com.example.equal", "P", "com.example.equal"},
      {"No identifier.app", "", "P", "No_identifier"},
      {"Folder", "com.example." + std::string(300, 'x'), "P",
       "com.example." + std::string(188, 'x')},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const TemporaryFolder folder;
    const std::string app =
        writeApplication(folder, c.name, c.identifier, c.program);
    const LoginItemList list(folder.path("new/autostart"));
    list.insertLast(Bundle(app), true);

    const LoginItem item = onlyItemOf(list);
    EXPECT_EQ(item.fileName(), c.file + ".desktop");
    EXPECT_EQ(item.resolve().path, app);
    EXPECT_TRUE(item.isHidden());
    const std::string entry = folder.path("new/autostart/") + item.fileName();
    EXPECT_TRUE(isValidDesktopEntry(entry));
    EXPECT_EQ(startedBy(entry, folder),
              app + "/Contents/MacOS/" + c.program + "\n--hidden\n");
  }
  const TemporaryFolder folder;
  const LoginItemList list(folder.path("autostart"));
  EXPECT_EQ(
      errorOf([&] { list.insertLast(Bundle(folder.path("\xFF.app")), true); }),
      EILSEQ);
  folder.write("autostart", "");
  EXPECT_EQ(errorOf([&] { list.insertLast(Bundle("/A.app"), true); }), ENOTDIR);
}

TEST(LoginItemList, InsertsBehindAllOthersUnderAFreeName) {
  const TemporaryFolder folder;
  const Bundle bundle(writeApplication(folder, "Q.app", "com.example.q"));
  const std::string name = "autostart/com.example.q.desktop";
  const std::string other = desktopEntry("Other", "X-Quillhaven-Order=41\n");
  folder.write(name, other);
  folder.link("autostart/com.example.q-1.desktop", "nowhere");
  const LoginItemList list(folder.path("autostart"));
  list.insertLast(bundle, false);
  ASSERT_EQ(namesIn(list), (Names{"Other", "Q"}));
  EXPECT_EQ(folder.read(name), other);
  EXPECT_EQ(list.items()[1].fileName(), "com.example.q-2.desktop");
  EXPECT_FALSE(list.items()[1].isHidden());

  // An entry that appeared meanwhile stays, one of ours that was deleted goes.
  std::filesystem::remove(folder.path(name));
  list.remove(list.items()[0]);
  folder.write(name, desktopEntry("Q", "X-Quillhaven-Bundle=file://" +
                                           bundle.bundlePath() + "\n"));
  list.insertLast(bundle, true);
  EXPECT_FALSE(onlyItemOf(list).isHidden());
  folder.write(name, folder.read(name) + "Hidden=true\n");
  list.insertLast(bundle, true);
  EXPECT_TRUE(onlyItemOf(list).isHidden());

  folder.write(
      "autostart/last.desktop",
      desktopEntry("last", "X-Quillhaven-Order=9223372036854775807\n"));
  list.remove(list.items()[0]);
  list.insertLast(bundle, true);
  EXPECT_EQ(list.items().size(), 2U);
}

// GLib puts some between groups.
std::string withoutBlankLines(std::string text) {
  for (std::size_t at = text.find("\n\n"); at != std::string::npos;
       at = text.find("\n\n", at)) {
    text.erase(at, 1);
  }
  return text;
}

TEST(LoginItemList, ChangesNothingButTheProperties) {
  const TemporaryFolder folder;
  const LoginItemList list(folder.path("autostart"));
  const std::string file = folder.write(
      "autostart/a.desktop",
      "# From the shop\n[Desktop Entry]\nType=Application\nName=A\n"
      "Name[de]=Ä\n# What to start\nExec=/A.app/x \"--hidden x\"\n"
      "X-Unknown=a;b;\nActions=new;\n\n[Desktop Action "
      "new]\nName=New\nExec=/x\n");
  auto item = onlyItemOf(list);
  EXPECT_FALSE(item.isHidden());
  list.setHidden(item, true);
  EXPECT_TRUE(item.isHidden());
  list.setEnabled(item, false);
  EXPECT_EQ(withoutBlankLines(folder.read("autostart/a.desktop")),
            "# From the shop\n[Desktop Entry]\nType=Application\nName=A\n"
            "Name[de]=Ä\n# What to start\nExec=/A.app/x \"--hidden x\" "
            "--hidden\nX-Unknown=a;b;\nActions=new;\nX-Quillhaven-Hidden=true\n"
            "X-GNOME-Autostart-enabled=false\n[Desktop Action new]\nName=New\n"
            "Exec=/x\n");
  EXPECT_TRUE(isValidDesktopEntry(file));

  const auto before = item;
  list.setHidden(item, false);
  EXPECT_FALSE(onlyItemOf(list).isHidden());
  EXPECT_NE(folder.read("autostart/a.desktop").find("\"--hidden x\"\n"),
            std::string::npos);
  // The entry is no longer the one that was read.
  const std::string now = folder.read("autostart/a.desktop");
  item = before;
  EXPECT_EQ(errorOf([&] { list.setHidden(item, true); }), ESTALE);
  EXPECT_EQ(errorOf([&] { list.remove(item); }), ESTALE);
  EXPECT_EQ(folder.read("autostart/a.desktop"), now);
  // True alone does not hide it: its command must say so, too.
  folder.write("autostart/a.desktop",
               desktopEntry("a", "Exec=/x\nX-Quillhaven-Hidden=true\n"));
  EXPECT_FALSE(onlyItemOf(list).isHidden());
}

TEST(LoginItemList, RemovesWithoutUncoveringTheSystemsEntry) {
  const TemporaryFolder folder;
  const std::string entry = desktopEntry("A", "X-Own=1\n");
  const std::string shared = folder.write("shared.desktop", entry);
  folder.write("system/autostart/a.desktop", entry);
  const LoginItemList list(
      folder.path("autostart"),
      {folder.path("none"), folder.path("system/autostart")});
  folder.write("autostart/a.desktop", entry);
  list.remove(onlyItemOf(list));
  EXPECT_TRUE(list.items().empty());
  EXPECT_EQ(folder.read("autostart/a.desktop"), entry + "Hidden=true\n");

  std::filesystem::remove(folder.path("autostart/a.desktop"));
  folder.link("autostart/a.desktop", shared);
  list.remove(onlyItemOf(list));
  EXPECT_EQ(folder.read("autostart/a.desktop"), entry + "Hidden=true\n");
  EXPECT_EQ(folder.read("shared.desktop"), entry);

  folder.link("autostart/b.desktop", shared);
  list.remove(onlyItemOf(list));
  EXPECT_FALSE(std::filesystem::is_symlink(folder.path("autostart/b.desktop")));
  EXPECT_EQ(folder.read("shared.desktop"), entry);
}

TEST(CommandRemoving, TakesWholeWordsOnly) {
  const struct {
    std::string_view command, rest;
  } cases[] = {
      {"x --hidden", "x"},
      {"x --hidden --hidden y", "x y"},
      {"x  --hidden  ", "x  "},
      {"x --hidden=1 a--hidden '--hidden' \"a --hidden b\"",
       "x --hidden=1 a--hidden '--hidden' \"a --hidden b\""},
      {"\"a\\\" --hidden\" --hidden", "\"a\\\" --hidden\""},
      {"a\\ --hidden", "a\\ --hidden"},
      {"'a\\' --hidden b", "'a\\' b"},
      {"\"open --hidden", "\"open --hidden"},
      {"x\\", "x\\"},
      {"", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(internal::commandRemoving(std::string(c.command), "--hidden"),
              c.rest);
  }
}

}  // namespace
}  // namespace quillhaven::platform
