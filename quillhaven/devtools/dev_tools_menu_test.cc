#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QWindow>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/menu_builders.h"
#include "quillhaven/devtools/plan_tier_credentials.h"
#include "quillhaven/devtools/testing/dev_tools_host.h"
#include "quillhaven/devtools/testing/recording_delegate.h"
#include "quillhaven/platform/keychain/testing/in_memory_keychain.h"

namespace quillhaven::devtools {
namespace {

using testing::AlertAnswer;
using testing::clickItem;
using testing::closeMenus;
using testing::DevToolsHost;
using testing::itemTitled;
using testing::MinimalDelegate;
using testing::waitUntil;
using Calls = std::vector<std::string>;

// One line an item: title, [action], #tag, (shortcut); submenus indented.
std::string described(const QMenu& menu, const std::string& indentation = "") {
  std::string text;
  for (const QAction* item : menu.actions()) {
    text += indentation;
    if (item->isSeparator()) {
      text += "---\n";
      continue;
    }
    text += item->text().toStdString();
    if (!item->objectName().isEmpty()) {
      text += "[" + item->objectName().toStdString() + "]";
    }
    if (item->data().isValid()) {
      text += "#" + std::to_string(item->data().toInt());
    }
    if (!item->shortcut().isEmpty()) {
      text += "(" + item->shortcut().toString().toStdString() + ")";
    }
    text += "\n";
    if (const auto* submenu = item->menu<QMenu*>()) {
      text += described(*submenu, indentation + "  ");
    }
  }
  return text;
}

class DevelopMenu : public DevToolsHost {};

TEST_F(DevelopMenu, HasItsGroupsInOrder) {
  const std::string hide = "---\nHide Develop Menu[setHideDevelopMenu]\n";
  const std::string logging =
      "Logging\n"
      "  Log Backend Request Body[setLogBackendRequestBody]\n"
      "  Log Backend Response Body[setLogBackendResponseBody]\n"
      "  ---\n"
      "  Disable Mail Logging[setDisableMailLogs]\n"
      "  Disable Quillhaven Logging[setDisableQuillhavenLogs]\n";
  const std::string profiler =
      "Swizzling Profiler\n"
      "  [enableSwizzlingProfiler]\n"
      "  ---\n"
      "  Import Data\u2026[importSwizzlingProfilerData](Ctrl+Shift+I)\n"
      "  Load Results\u2026[loadSwizzlingProfilerResults](Ctrl+Shift+P)\n";
  const std::string undoSend =
      "Undo Send Plugin\n  Reset Settings[resetUndoSendSettings]\n";
  const std::string beforeLogging =
      "Quick Login\n"
      "  [doQuickLogin]#0\n  [doQuickLogin]#1\n"
      "  [doQuickLogin]#2\n  [doQuickLogin]#3\n"
      "Copy Token[copyToken](Ctrl+Shift+*)\n"
      "---\n"
      "Switch To\n"
      "  Developer Preview[switchToBeta]\n"
      "  Release[switchToRelease]\n"
      "---\n"
      "[setOverrideWebComponentsServer]\n"
      "[setOverrideCheckoutServer]\n"
      "---\n"
      "Quillhaven Account Configuration"
      "[showAccountConfigurationWindowForDevTools]\n"
      "Quillhaven Checkout[showCheckoutWindowForDevTools]\n"
      "---\n"
      "Web Developer Tools[setEnableDevTools]\n"
      "Auto-Clear Web Components Cache[setAutoClearWebComponentsCache]\n"
      "Re-inject Web Components Token on Reload"
      "[setReInjectWebComponentsToken]\n"
      "Debug Tracking Details[setDebugTrackingDetails]\n";
  const struct {
    std::uint64_t capabilities;
    std::string menu;
  } cases[] = {
      {0, hide},
      {~std::uint64_t{0x3FE}, hide},  // every bit without a group
      {0x3FE, beforeLogging + "---\n" + logging + profiler + undoSend + hide},
      {8, "---\n[setOverrideCheckoutServer]\n" + hide},
      {4, "---\n[setOverrideWebComponentsServer]\n" + hide},
      {64, "---\n" + logging + hide},
      {128, "---\n" + profiler + hide},
      {512, "---\n" + undoSend + hide},
      {64 + 128, "---\n" + logging + profiler + hide},
      {64 + 512, "---\n" + logging + undoSend + hide},
      {128 + 512, "---\n" + profiler + undoSend + hide},
  };
  delegate.isUndoSendPluginInstalled = true;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.capabilities);
    tools = QHDevTools::initWithCapabilities(c.capabilities, defaults);
    tools->setDelegate(&delegate);
    const auto built = tools->newDevelopMenu();
    EXPECT_EQ(built->title(), "Develop");
    EXPECT_EQ(described(*built), c.menu);
  }
  // The last group wants a delegate that has the plug-in and says so.
  delegate.isUndoSendPluginInstalled = false;
  EXPECT_EQ(described(*tools->newDevelopMenu()), "---\n" + profiler + hide);
  MinimalDelegate minimal;
  tools->setDelegate(&minimal);
  EXPECT_EQ(described(*tools->newDevelopMenu()), "---\n" + profiler + hide);
  tools->setDelegate(nullptr);
  EXPECT_EQ(described(*tools->newDevelopMenu()), "---\n" + profiler + hide);
}

TEST_F(DevelopMenu, ShowsASeparatorAtTheTop) {
  makeTools(0);
  openMenu();
  EXPECT_GT(menu->actionGeometry(item("Hide Develop Menu")).top(),
            menu->actionGeometry(menu->actions().front()).top());
}

TEST_F(DevelopMenu, WantsCapabilities) {
  try {
    static_cast<void>(QHDevTools::init());
    FAIL();
  } catch (const InternalInconsistencyException& exception) {
    EXPECT_STREQ(exception.what(),
                 "QHDevTools must be initialized with initWithCapabilities:.");
  }
}

TEST_F(DevelopMenu, TurnsSwitches) {
  makeTools(kWebDeveloperTools | kLogging);
  platform::UserDefaults& standard = platform::UserDefaults::standard();
  const char* const group =
      "__WebInspectorPageGroupLevel1__.WebKit2InspectorStartsAttached";
  const char* const setting =
      "WebKit Web Inspector Setting - inspectorStartsAttached";
  standard.set(group, true);
  const QString dependents[] = {"Auto-Clear Web Components Cache",
                                "Re-inject Web Components Token on Reload",
                                "Debug Tracking Details"};

  validate();
  EXPECT_TRUE(item("Web Developer Tools")->isVisible());
  EXPECT_FALSE(item("Web Developer Tools")->isChecked());
  for (const QString& title : dependents) {
    EXPECT_FALSE(item(title)->isVisible());
  }

  choose({"Web Developer Tools"});
  EXPECT_EQ(delegate.takeCalls(), Calls{"reload"});
  EXPECT_EQ(standard.object(group), platform::PropertyList(false));
  EXPECT_EQ(standard.object(setting), platform::PropertyList("false"));
  validate();
  EXPECT_TRUE(item("Web Developer Tools")->isChecked());
  for (const QString& title : dependents) {
    EXPECT_TRUE(item(title)->isVisible());
    EXPECT_EQ(item(title)->isChecked(), title != dependents[2]);
    choose({title});
    EXPECT_EQ(delegate.takeCalls(), Calls{"reload"});
    validate();
    EXPECT_EQ(item(title)->isChecked(), title == dependents[2]);
  }
  choose({dependents[0]});
  choose({"Web Developer Tools"});
  EXPECT_EQ(delegate.takeCalls(), (Calls{"reload", "reload"}));
  EXPECT_FALSE(standard.object(group) || standard.object(setting));
  EXPECT_EQ(defaults.object("QHDevelopWebComponentsAutoClearCache"),
            platform::PropertyList(false));
  EXPECT_EQ(defaults.object("QHDevelopWebComponentsReInjectTokenOnReload"),
            platform::PropertyList(false));
  EXPECT_TRUE(
      defaults.boolForKey("QHDevelopWebComponentsDebugTrackingDetails"));
}

TEST_F(DevelopMenu, TurnsLogging) {
  makeTools(kLogging);
  const struct {
    QString title;
    const char* key;
    const char* call;  // of the delegate, which owns the key; else null
  } cases[] = {
      {"Log Backend Request Body", "QHDevelopLogBackendRequestBody", nullptr},
      {"Log Backend Response Body", "QHDevelopLogBackendResponseBody", nullptr},
      {"Disable Mail Logging", "QHDevelopDisableMailLogs",
       "disable mail logs: "},
      {"Disable Quillhaven Logging", "QHDevelopDisableQuillhavenLogs",
       "disable quillhaven logs: "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    for (const bool before : {false, true}) {
      defaults.set(c.key, before);
      validate("Logging");
      EXPECT_EQ(item(c.title)->isChecked(), before);
      choose({"Logging", c.title});
      EXPECT_EQ(defaults.boolForKey(c.key), c.call ? before : !before);
      EXPECT_EQ(delegate.takeCalls(),
                c.call ? Calls{c.call + std::to_string(!before)} : Calls{});
    }
  }
}

TEST_F(DevelopMenu, ForwardsToTheDelegate) {
  delegate.isUndoSendPluginInstalled = true;
  defaults.set("QHDevelopEnableSwizzlingProfiler", true);
  makeTools(kReleaseChannel | kAccountWindows | kSwizzlingProfiler |
            kUndoSendPlugin);
  const struct {
    std::vector<QString> titles;
    const char* call;
  } cases[] = {
      {{"Switch To", "Developer Preview"}, "beta"},
      {{"Switch To", "Release"}, "release"},
      {{"Quillhaven Account Configuration"}, "account window"},
      {{"Quillhaven Checkout"}, "checkout window"},
      {{"Swizzling Profiler", "Import Data\u2026"}, "import"},
      {{"Swizzling Profiler", "Load Results\u2026"}, "load"},
      {{"Undo Send Plugin", "Reset Settings"}, "reset: 1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.call);
    choose(c.titles);
    EXPECT_EQ(delegate.takeCalls(), Calls{c.call});
  }
  validate("Undo Send Plugin");
  EXPECT_FALSE(item("Reset Settings")->isEnabled());
  choose({"Undo Send Plugin", "Reset Settings"});
  EXPECT_EQ(delegate.takeCalls(), Calls{});

  EXPECT_FALSE(tools->showDevelopMenu());
  defaults.set("QHDevelopShowMenu", true);
  EXPECT_TRUE(tools->showDevelopMenu());
  choose({"Hide Develop Menu"});
  EXPECT_FALSE(tools->showDevelopMenu());
}

TEST_F(DevelopMenu, OutlivesItsDelegateAndItsTools) {
  auto host = std::make_unique<MinimalDelegate>();
  tools = QHDevTools::initWithCapabilities(0x3FE, defaults);
  tools->setDelegate(host.get());
  menu = tools->newDevelopMenu();
  emit menu->aboutToShow();
  EXPECT_TRUE(item("Quillhaven Checkout")->isEnabled());

  // The target of these is the delegate of the time the menu was built.
  tools->setDelegate(&delegate);
  host.reset();
  EXPECT_EQ(tools->delegate(), &delegate);
  emit menu->aboutToShow();
  EXPECT_FALSE(item("Quillhaven Checkout")->isEnabled());
  item("Developer Preview")->trigger();
  EXPECT_EQ(delegate.takeCalls(), Calls{"beta"});
  {
    const MinimalDelegate brief;
    tools->setDelegate(const_cast<MinimalDelegate*>(&brief));
  }
  EXPECT_EQ(tools->delegate(), nullptr);
  for (QAction* any : menu->actions()) any->trigger();

  tools.reset();
  emit menu->aboutToShow();
  EXPECT_FALSE(item("Web Developer Tools")->isEnabled());
  item("Developer Preview")->trigger();
}

TEST_F(DevelopMenu, CopiesTheTokenByClickAndByKey) {
  makeTools(kQuickLogin);
  QClipboard& clipboard = *QApplication::clipboard();
  clipboard.setText("before");
  const auto press = [this] {
    QTest::keyClick(&window, Qt::Key_Asterisk,
                    Qt::ControlModifier | Qt::ShiftModifier);
  };

  // The menu has not been open yet: the key validates by itself.
  press();
  EXPECT_EQ(clipboard.text(), "before");
  validate();
  EXPECT_FALSE(item("Copy Token")->isEnabled());
  choose({"Copy Token"});
  closeMenus();
  EXPECT_EQ(clipboard.text(), "before");

  delegate.token = "t\u00F6ken";
  press();
  EXPECT_EQ(clipboard.text(), "t\u00F6ken");
  delegate.token = "second";
  choose({"Copy Token"});
  EXPECT_EQ(clipboard.text(), "second");

  // A token that goes while the menu is open is not missed.
  openMenu();
  delegate.token.reset();
  clickItem(*menu, *item("Copy Token"));
  EXPECT_EQ(clipboard.text(), "second");
  press();
  EXPECT_FALSE(item("Copy Token")->isEnabled());
  MinimalDelegate minimal;
  tools->setDelegate(&minimal);
  validate();
  EXPECT_FALSE(item("Copy Token")->isEnabled());
}

TEST_F(DevelopMenu, ActsOnTheShortcutsOfSubmenus) {
  makeTools(kSwizzlingProfiler);
  const Qt::KeyboardModifiers modifiers =
      Qt::ControlModifier | Qt::ShiftModifier;
  QTest::keyClick(&window, Qt::Key_I, modifiers);
  QTest::keyClick(&window, Qt::Key_P, modifiers);  // did not run
  QTest::keyClick(&window, Qt::Key_I, Qt::ControlModifier);
  EXPECT_EQ(delegate.takeCalls(), Calls{"import"});
}

// An item with a submenu acts by itself too.
TEST_F(DevelopMenu, OverridesServers) {
  makeTools(kWebComponentsServer | kCheckoutServer);
  const struct {
    QString title;
    std::string key, recentKey;
    Calls calls;
  } cases[] = {{"Override Web Components Server",
                "QHDevelopWebComponentsBaseURL",
                "QHDevelopWebComponentsRecentBaseURL",
                {"reload"}},
               {"Override Checkout Server",
                "QHDevelopCheckoutBaseURL",
                "QHDevelopCheckoutRecentBaseURL",
                {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    const QString url = "https://example.com/?a=1&b=2";
    validate();
    QPointer<QAction> override = item(c.title);
    ASSERT_TRUE(override);
    EXPECT_FALSE(override->isChecked());
    EXPECT_EQ(override->menu<QMenu*>(), nullptr);

    defaults.set(c.recentKey, url.toStdString());
    choose({c.title});
    EXPECT_EQ(stored(c.key), url.toStdString());
    EXPECT_EQ(delegate.takeCalls(), c.calls);
    openMenu();
    EXPECT_EQ(item(c.title + " (" + url + ")"), override);
    EXPECT_TRUE(override->isChecked());
    ASSERT_NE(override->menu<QMenu*>(), nullptr);
    EXPECT_EQ(described(*override->menu<QMenu*>()),
              c.key.find("Checkout") == std::string::npos
                  ? "Change\u2026[changeWebComponentsServerOverride]\n"
                  : "Change\u2026[changeCheckoutServerOverride]\n");

    // Clicked with its submenu open, it acts and everything closes.
    testing::pointAt(*menu, *override);
    ASSERT_TRUE(
        waitUntil([&] { return override->menu<QMenu*>()->isVisible(); }));
    clickItem(*menu, *override);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(stored(c.key), std::nullopt);
    EXPECT_EQ(stored(c.recentKey), url.toStdString());
    EXPECT_EQ(delegate.takeCalls(), c.calls);
    validate();
    EXPECT_EQ(override->menu<QMenu*>(), nullptr);
    EXPECT_EQ(item(c.title), override);
  }
}

TEST_F(DevelopMenu, ActsOnReturnBesideASubmenu) {
  makeTools(kWebComponentsServer);
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    defaults.set("QHDevelopWebComponentsBaseURL", "https://example.com");
    openMenu();
    QTest::keyClick(menu->windowHandle(), Qt::Key_Down);
    QTest::keyClick(menu->windowHandle(), key);
    EXPECT_EQ(stored("QHDevelopWebComponentsBaseURL"), std::nullopt);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  }
  // An item with a submenu alone opens it, by either.
  makeTools(kLogging);
  choose({"Logging"});
  EXPECT_TRUE(waitUntil(
      [this] { return item("Logging")->menu<QMenu*>()->isVisible(); }));
  EXPECT_TRUE(menu->isVisible());
  openMenu();
  QTest::keyClick(menu->windowHandle(), Qt::Key_Down);
  QTest::keyClick(menu->windowHandle(), Qt::Key_Return);
  EXPECT_TRUE(waitUntil(
      [this] { return item("Logging")->menu<QMenu*>()->isVisible(); }));
}

TEST_F(DevelopMenu, NamesTheStoredAccounts) {
  makeTools(kQuickLogin);
  platform::OSStatus status = 0;
  ASSERT_TRUE(
      _saveKeychainAccountCredentials({"a&b@example.com", "pw"}, 2, status));
  validate("Quick Login");
  const QMenu& tiers = *item("Quick Login")->menu<QMenu*>();
  EXPECT_EQ(described(tiers),
            "Sprout[doQuickLogin]#0\n"
            "Grove[doQuickLogin]#1\n"
            "Canopy (a&&b@example.com)[doQuickLogin]#2\n"
            "  Change\u2026[setLoginCredentials]#2\n"
            "Forest[doQuickLogin]#3\n");

  QAction other;
  other.setObjectName("doQuickLogin");
  other.setText("before");
  for (const int tag : {4, 5, -1}) {
    other.setData(tag);
    EXPECT_TRUE(tools->validateMenuItem(other));
    EXPECT_EQ(other.text(), "");
    EXPECT_EQ(other.menu<QMenu*>(), nullptr);
  }
  ASSERT_TRUE(
      _saveKeychainAccountCredentials({"x@example.com", ""}, 4, status));
  EXPECT_TRUE(tools->validateMenuItem(other));
  EXPECT_EQ(other.text(), "(null) (x@example.com)");
  EXPECT_NE(other.menu<QMenu*>(), nullptr);

  // A keychain that cannot be read counts as one with an unknown account.
  platform::setKeychainBackend(
      std::make_shared<platform::testing::InMemoryKeychain>(
          [](std::string_view) { return platform::kErrSecNotAvailable; }));
  validate("Quick Login");
  EXPECT_NE(itemTitled(tiers, "Sprout ((null))"), nullptr);
}

TEST_F(DevelopMenu, AsksBeforeItSwitchesTheProfiler) {
  const QString text =
      "Mail needs to be relaunched for the changes to take affect. Would you "
      "like to relaunch now?\nRelaunch\nLater\nCancel";
  const struct {
    bool isOnAtStart;
    QString button;
    bool isOnAfterwards;
    Calls calls;
  } cases[] = {
      {false, "Relaunch", true, {"badge", "relaunch: 1"}},
      {false, "Later", true, {"badge"}},
      {false, "Cancel", false, {"badge"}},
      {true, "Relaunch", false, {"badge", "relaunch: 0"}},
      {true, "Cancel", true, {"badge"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.button.toStdString() + std::to_string(c.isOnAtStart));
    defaults.set("QHDevelopEnableSwizzlingProfiler", c.isOnAtStart);
    makeTools(kSwizzlingProfiler);
    validate("Swizzling Profiler");
    EXPECT_EQ(item("Load Results\u2026")->isEnabled(), c.isOnAtStart);
    const AlertAnswer answer(c.button);
    choose({"Swizzling Profiler", c.isOnAtStart ? "Disable Profiling\u2026"
                                                : "Enable Profiling\u2026"});
    EXPECT_EQ(answer.shown(), (c.isOnAtStart ? "Disable" : "Enable") +
                                  (" Swizzling Profiler\n" + text));
    EXPECT_EQ(defaults.boolForKey("QHDevelopEnableSwizzlingProfiler"),
              c.isOnAfterwards);
    EXPECT_EQ(delegate.takeCalls(), c.calls);
    if (c.isOnAfterwards == c.isOnAtStart) continue;

    // Back to what the process runs with: nothing is asked.
    validate("Swizzling Profiler");
    choose({"Swizzling Profiler", c.isOnAtStart ? "Enable Profiling\u2026"
                                                : "Disable Profiling\u2026"});
    EXPECT_EQ(defaults.boolForKey("QHDevelopEnableSwizzlingProfiler"),
              c.isOnAtStart);
    EXPECT_EQ(delegate.takeCalls(), Calls{});
    EXPECT_EQ(tools->initialSwizzlingProfilerEnabled(), c.isOnAtStart);
  }
}

TEST_F(DevelopMenu, LetsTheToolsGoWhileTheAlertIsShown) {
  makeTools(kSwizzlingProfiler);
  validate("Swizzling Profiler");
  QTimer waiting;
  QObject::connect(&waiting, &QTimer::timeout, [this] {
    if (QApplication::activeModalWidget()) tools.reset();
  });
  waiting.start(0);
  const AlertAnswer answer("Relaunch");
  choose({"Swizzling Profiler", "Enable Profiling\u2026"});
  EXPECT_NE(answer.shown(), "");
  EXPECT_EQ(tools, nullptr);
  EXPECT_FALSE(defaults.boolForKey("QHDevelopEnableSwizzlingProfiler"));
  EXPECT_EQ(delegate.takeCalls(), Calls{"badge"});
}

TEST(MenuBuilders, HandTheItemToItsAction) {
  QMenu menu;
  auto target = std::make_unique<QObject>();
  std::vector<QAction*> senders;
  const auto note = [&](QAction& sender) { senders.push_back(&sender); };
  auto* const added =
      devTools_addItemWithTitle(menu, "A & B", note, target.get(), u"k");
  const auto loose = devTools_initWithTitle("C", note, nullptr, {});
  const auto inert = devTools_initWithTitle("D", {}, target.get(), u"D");
  EXPECT_EQ(menu.actions(), QList<QAction*>{added});
  EXPECT_EQ(added->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_K));
  EXPECT_EQ(inert->shortcut(), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_D));
  EXPECT_TRUE(loose->shortcut().isEmpty());
  for (QAction* item :
       {static_cast<QAction*>(added), static_cast<QAction*>(loose.get()),
        static_cast<QAction*>(inert.get())}) {
    item->trigger();
  }
  EXPECT_EQ(senders, (std::vector<QAction*>{added, loose.get()}));
  target.reset();
  added->trigger();
  loose->trigger();
  EXPECT_EQ(senders.size(), 3U);
}

}  // namespace
}  // namespace quillhaven::devtools
