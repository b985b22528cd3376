// The Develop menu on a display, with a window manager, used by a real pointer
// and keyboard: what the display does with grabs and layouts is not known to
// events made inside the process. Runs in devtools_window_test.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QStringList>
#include <string>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/testing/dev_tools_host.h"

namespace quillhaven::devtools {
namespace {

using testing::DevToolsHost;
using testing::waitUntil;

class DevelopMenuOnADisplay : public DevToolsHost {
 protected:
  void SetUp() override {
    ASSERT_EQ(QGuiApplication::platformName(), "xcb") << "needs a display";
  }

  static void user(const QStringList& does) {
    ASSERT_EQ(QProcess::execute("xdotool", does), 0)
        << does.join(' ').toStdString();
  }
  static void userPointsAt(const QWidget& widget, QPoint at) {
    const QPoint there = widget.mapToGlobal(at);
    user({"mousemove", QString::number(there.x() - 3),
          QString::number(there.y())});
    user({"mousemove", QString::number(there.x()), QString::number(there.y())});
  }
  static void userClicks(const QWidget& widget, QPoint at) {
    userPointsAt(widget, at);
    user({"click", "1"});
  }
  void userOpensTheMenu() {
    const QMenuBar& bar = *window.menuBar();
    userClicks(bar, bar.actionGeometry(menu->menuAction()).center());
    ASSERT_TRUE(waitUntil([this] { return menu->isVisible(); }));
  }
  // The pointer comes to rest on an item that has a submenu.
  QMenu& userOpensSubmenuOf(const QMenu& open, QAction& way) {
    userPointsAt(open, open.actionGeometry(&way).center());
    QMenu* const submenu = way.menu<QMenu*>();
    EXPECT_TRUE(waitUntil([&] { return submenu->isVisible(); }));
    return *submenu;
  }
  void expectSheet() {
    ASSERT_TRUE(waitUntil([this] {
      return sheet() && sheet()->isAncestorOf(QApplication::focusWidget());
    }));
  }
  void expectNoSheet() {
    EXPECT_TRUE(waitUntil([this] { return sheet() == nullptr; }));
  }

  std::string answer;
};

TEST_F(DevelopMenuOnADisplay, TriggersAnItemWithASubmenu) {
  defaults.set("QHDevelopCheckoutBaseURL", "https://example.com");
  makeTools(kCheckoutServer);
  userOpensTheMenu();
  QAction& override = *item("Override Checkout Server (https://example.com)");
  userOpensSubmenuOf(*menu, override);
  userClicks(*menu, menu->actionGeometry(&override).center());
  EXPECT_TRUE(waitUntil(
      [this] { return !stored("QHDevelopCheckoutBaseURL").has_value(); }));
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);

  // Its submenu acts for itself.
  defaults.set("QHDevelopCheckoutBaseURL", "https://example.com");
  userOpensTheMenu();
  const QMenu& change = userOpensSubmenuOf(*menu, override);
  userClicks(change, change.actionGeometry(change.actions()[0]).center());
  expectSheet();
  user({"key", "ctrl+a"});
  user({"type", "https://two.example"});
  user({"key", "Return"});
  expectNoSheet();
  EXPECT_EQ(stored("QHDevelopCheckoutBaseURL"), "https://two.example");
}

TEST_F(DevelopMenuOnADisplay, CopiesTheTokenByItsKeys) {
  makeTools(kQuickLogin);
  ASSERT_TRUE(item("Copy Token")->isEnabled());  // not validated yet
  QApplication::clipboard()->setText("before");
  user({"key", "ctrl+shift+8"});  // the asterisk of this keyboard
  EXPECT_TRUE(waitUntil([this] { return !item("Copy Token")->isEnabled(); }));
  EXPECT_EQ(QApplication::clipboard()->text(), "before");
  delegate.token = "token";
  user({"key", "ctrl+shift+8"});
  EXPECT_TRUE(
      waitUntil([] { return QApplication::clipboard()->text() == "token"; }));
}

TEST_F(DevelopMenuOnADisplay, LogsIn) {
  makeTools(kQuickLogin);
  userOpensTheMenu();
  QMenu& tiers = userOpensSubmenuOf(*menu, *item("Quick Login"));
  userClicks(tiers, tiers.actionGeometry(item("Sprout")).center());
  expectSheet();
  user({"key", "Escape"});
  expectNoSheet();

  tools->_showLoginSheetWithCompletionHandler(
      [this](int response, const std::string& email,
             const std::string& password) {
        answer = std::to_string(response) + email + password;
      });
  expectSheet();
  user({"type", "a@example.com"});
  user({"key", "Tab"});
  user({"type", "Secret"});
  user({"key", "Return"});
  expectNoSheet();
  EXPECT_EQ(answer, "1a@example.comSecret");
}

}  // namespace
}  // namespace quillhaven::devtools
