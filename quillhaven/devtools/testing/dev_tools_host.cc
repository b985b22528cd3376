#include "quillhaven/devtools/testing/dev_tools_host.h"

#include <QApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>
#include <QTest>
#include <QWindow>
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "quillhaven/platform/keychain/sealed_file_keychain.h"

namespace quillhaven::devtools::testing {
namespace {

// Far above what anything takes on a busy machine under a sanitizer.
constexpr int kPatience = 10'000;  // ms

// The standard defaults of whoever runs the tests stay as they are.
class Surroundings : public ::testing::Environment {
 public:
  void SetUp() override {
    ::setenv("XDG_CONFIG_HOME", folder_.path("config").c_str(), 1);
    ::setenv("XDG_DATA_HOME", folder_.path("data").c_str(), 1);
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  }

 private:
  const platform::testing::TemporaryFolder folder_;
};
const ::testing::Environment* const kSurroundings =
    ::testing::AddGlobalTestEnvironment(new Surroundings);

}  // namespace

void closeMenus() {
  while (QWidget* open = QApplication::activePopupWidget()) open->close();
}

bool waitUntil(const std::function<bool()>& condition) {
  return QTest::qWaitFor(condition, kPatience);
}

QAction* itemTitled(const QMenu& menu, const QString& title) {
  const QList<QAction*> items = menu.actions();
  for (QAction* item : items) {
    if (!item->isSeparator() && item->text().replace("&&", "&") == title) {
      return item;
    }
    if (const auto* submenu = item->menu<QMenu*>()) {
      if (QAction* inside = itemTitled(*submenu, title)) return inside;
    }
  }
  return nullptr;
}

void pointAt(const QMenu& menu, QAction& item) {
  const QPoint at = menu.actionGeometry(&item).center();
  // A menu takes no notice of the first few small motions.
  for (int distance = 10; distance >= 0; --distance) {
    QTest::mouseMove(menu.windowHandle(), at - QPoint(distance, 0));
  }
}

void clickItem(const QMenu& menu, QAction& item) {
  pointAt(menu, item);
  QTest::mouseClick(menu.windowHandle(), Qt::LeftButton, {},
                    menu.actionGeometry(&item).center());
}

AlertAnswer::AlertAnswer(QString buttonTitle)
    : buttonTitle_(std::move(buttonTitle)) {
  QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { answer(); });
  timer_.start(5);
}

void AlertAnswer::answer() {
  const auto* const alert =
      qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
  if (!alert || !alert->isVisible()) return;
  timer_.stop();
  QStringList lines{alert->text(), alert->informativeText()};
  QList<QPushButton*> buttons = alert->findChildren<QPushButton*>();
  std::sort(buttons.begin(), buttons.end(), [](auto* one, auto* other) {
    return one->mapToGlobal(QPoint()).x() < other->mapToGlobal(QPoint()).x();
  });
  QPushButton* chosen = nullptr;
  for (QPushButton* button : std::as_const(buttons)) {
    lines += button->text();
    if (button->text() == buttonTitle_) chosen = button;
  }
  shown_ = lines.join('\n');
  ASSERT_NE(chosen, nullptr) << shown_.toStdString();
  QTest::mouseClick(chosen, Qt::LeftButton);
}

DevToolsHost::DevToolsHost() : defaults("develop", folder.path("defaults")) {
  platform::setKeychainBackend(platform::makeSealedFileKeychain(
      {.folder = folder.path("keychain"), .askPassphrase = {}}));
  window.resize(500, 300);
  delegate.window = &window;
}

DevToolsHost::~DevToolsHost() {
  closeMenus();
  platform::setKeychainBackend(nullptr);
}

void DevToolsHost::makeTools(std::uint64_t capabilities) {
  menu.reset();
  tools = QHDevTools::initWithCapabilities(capabilities, defaults);
  tools->setDelegate(&delegate);
  menu = tools->newDevelopMenu();
  window.menuBar()->addMenu(menu.get());
  window.show();
  // A window manager that starts meanwhile does not do what it was asked
  // before.
  for (int tries = 0; tries < 10 && !window.isActiveWindow(); ++tries) {
    window.activateWindow();
    static_cast<void>(QTest::qWaitForWindowActive(&window, 1000));
  }
  ASSERT_TRUE(window.isActiveWindow());
}

QMenu& DevToolsHost::openMenu() {
  closeMenus();
  QMenuBar& bar = *window.menuBar();
  // A window manager that starts meanwhile moves the window and closes menus.
  for (int tries = 0; tries < 10 && !menu->isVisible(); ++tries) {
    QTest::mouseClick(&bar, Qt::LeftButton, {},
                      bar.actionGeometry(menu->menuAction()).center());
    static_cast<void>(
        QTest::qWaitFor([this] { return menu->isVisible(); }, 1000));
  }
  EXPECT_TRUE(menu->isVisible());
  return *menu;
}

QMenu* DevToolsHost::openSubmenu(const QString& title) {
  QMenu& open = openMenu();
  QAction* const way = itemTitled(open, title);
  if (!way || !way->menu<QMenu*>()) {
    ADD_FAILURE() << "no submenu " << title.toStdString();
    return nullptr;
  }
  // Without an action it opens on a click, else while the pointer rests on it.
  if (way->objectName().isEmpty()) {
    clickItem(open, *way);
  } else {
    pointAt(open, *way);
  }
  QMenu* const submenu = way->menu<QMenu*>();
  EXPECT_TRUE(waitUntil([submenu] { return submenu->isVisible(); }));
  return submenu;
}

void DevToolsHost::choose(const std::vector<QString>& titles) {
  QMenu* const open =
      titles.size() > 1 ? openSubmenu(titles.front()) : &openMenu();
  ASSERT_NE(open, nullptr);
  QAction* const chosen = itemTitled(*open, titles.back());
  ASSERT_NE(chosen, nullptr) << titles.back().toStdString();
  clickItem(*open, *chosen);
}

void DevToolsHost::validate(const QString& submenuTitle) {
  if (submenuTitle.isEmpty()) {
    openMenu();
  } else {
    openSubmenu(submenuTitle);
  }
  closeMenus();
}

QDialog* DevToolsHost::sheet() const {
  const QList<QDialog*> dialogs = window.findChildren<QDialog*>();
  for (QDialog* dialog : dialogs) {
    if (dialog->isVisible()) return dialog;
  }
  return nullptr;
}

}  // namespace quillhaven::devtools::testing
