#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/plan_tier_credentials.h"
#include "quillhaven/devtools/testing/dev_tools_host.h"
#include "quillhaven/platform/files/security_scoped_bookmark.h"
#include "quillhaven/platform/keychain/testing/in_memory_keychain.h"

namespace quillhaven::devtools {
namespace {

namespace fs = std::filesystem;
using testing::AlertAnswer;
using testing::DevToolsHost;
using testing::waitUntil;
using Calls = std::vector<std::string>;

// The button with this title; null if there is none.
QPushButton* button(const QWidget& window, const QString& title) {
  const QList<QPushButton*> all = window.findChildren<QPushButton*>();
  for (QPushButton* one : all) {
    if (one->text() == title) return one;
  }
  return nullptr;
}

class DeveloperSheet : public DevToolsHost {
 protected:
  // The sheet that is to come, or the reason for none.
  QDialog& shownSheet() {
    EXPECT_TRUE(waitUntil([this] {
      return sheet() && sheet()->isAncestorOf(QApplication::focusWidget());
    }));
    return *sheet();
  }
  // The editable fields of the sheet from top to bottom.
  static std::vector<QLineEdit*> fields(const QDialog& dialog) {
    const QList<QLineEdit*> all = dialog.findChildren<QLineEdit*>();
    std::vector<QLineEdit*> sorted(all.begin(), all.end());
    std::sort(sorted.begin(), sorted.end(),
              [](auto* one, auto* other) { return one->y() < other->y(); });
    return sorted;
  }
  // Types into the field with the focus, in place of what it holds.
  static void type(const QDialog& dialog, const QString& text) {
    QWindow* const to = dialog.windowHandle();
    QTest::keyClick(to, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(to, Qt::Key_Delete);
    for (const QChar c : text) QTest::keyClick(to, c.toLatin1());
  }
  void press(Qt::Key key) {
    const QPointer<QDialog> before = sheet();
    QTest::keyClick(before->windowHandle(), key);
    EXPECT_TRUE(waitUntil([&] { return !before || !before->isVisible(); }));
  }
  static void click(const QDialog& dialog, const QString& title) {
    QPushButton* const found = button(dialog, title);
    ASSERT_NE(found, nullptr);
    QTest::mouseClick(dialog.windowHandle(), Qt::LeftButton, {},
                      found->geometry().center());
  }

  // Shows the URL sheet and keeps what it ends with.
  void askForURL(std::optional<std::string_view> defaultURL = std::nullopt,
                 ServerType type = ServerType::kWebComponents) {
    response.reset();
    tools->_showChooseServerURLSheetWithDefaultURL(
        defaultURL, type,
        [this](int code, const std::optional<std::string>& chosen) {
          response = code;
          url = chosen;
        });
  }

  std::optional<int> response;
  std::optional<std::string> url;
};

TEST_F(DeveloperSheet, IsLaidOutInPoints) {
  tools = QHDevTools::initWithCapabilities(0, defaults);
  std::vector<QLineEdit*> fields;
  const auto urlSheet =
      tools->_inputSheetWindowForType(InputSheetType::kServerURL, fields);
  ASSERT_EQ(fields.size(), 1U);
  urlSheet->show();
  const QRect field = fields[0]->geometry();
  const QLabel& label = *urlSheet->findChild<QLabel*>();
  const auto* choose = button(*urlSheet, "Choose Local Folder\u2026");
  const auto* set = button(*urlSheet, "Set");
  const auto* cancel = button(*urlSheet, "Cancel");
  EXPECT_EQ(label.text(), "URL:");
  EXPECT_EQ(label.pos(), QPoint(20, 20));
  EXPECT_EQ(field.x() - label.geometry().right() - 1, 10);
  EXPECT_EQ(field.width(), 250);
  EXPECT_NEAR(field.center().y(), label.geometry().center().y(), 1);
  EXPECT_NEAR(choose->geometry().center().y(), field.center().y(), 1);
  EXPECT_EQ(choose->x() - field.right() - 1, 10);
  EXPECT_EQ(urlSheet->width() - choose->geometry().right() - 1, 20);
  EXPECT_EQ(set->y() - field.bottom() - 1, 20);
  for (const QSize moved : {QSize(0, 0), QSize(40, 60)}) {
    urlSheet->setFixedSize(urlSheet->size() + moved);
    QCoreApplication::processEvents();
    EXPECT_EQ(urlSheet->width() - set->geometry().right() - 1, 20);
    EXPECT_EQ(urlSheet->height() - set->geometry().bottom() - 1, 20);
    EXPECT_EQ(set->x() - cancel->geometry().right() - 1, 12);
    EXPECT_EQ(cancel->y(), set->y());
    EXPECT_EQ(cancel->height(), set->height());
  }
  EXPECT_EQ(fields[0]->placeholderText(), "Server URL");
  EXPECT_EQ(fields[0]->property("tag"), 1000);
  EXPECT_LT(choose->font().pointSizeF(), set->font().pointSizeF());
  EXPECT_TRUE(set->isDefault());
  EXPECT_EQ(cancel->shortcut(), QKeySequence(Qt::Key_Escape));

  const auto login =
      tools->_inputSheetWindowForType(InputSheetType::kLogin, fields);
  ASSERT_EQ(fields.size(), 2U);
  login->show();
  const QList<QLabel*> labels = login->findChildren<QLabel*>();
  ASSERT_EQ(labels.size(), 2);
  EXPECT_EQ(labels[0]->text(), "Email:");
  EXPECT_EQ(labels[1]->text(), "Password:");
  EXPECT_EQ(labels[0]->pos(), QPoint(20, 20));
  EXPECT_EQ(labels[1]->x(), 20);
  EXPECT_EQ(labels[1]->y() - labels[0]->geometry().bottom() - 1, 15);
  for (int i = 0; i < 2; ++i) {
    const QRect row = fields[static_cast<std::size_t>(i)]->geometry();
    EXPECT_EQ(row.x() - labels[i]->geometry().right() - 1, 10);
    EXPECT_EQ(login->width() - row.right() - 1, 20);
    EXPECT_NEAR(row.center().y(), labels[i]->geometry().center().y(), 1);
  }
  EXPECT_GE(fields[0]->width(), 200);
  EXPECT_EQ(fields[1]->width(), 200);
  EXPECT_EQ(button(*login, "Login")->y() - fields[1]->geometry().bottom() - 1,
            20);
  EXPECT_EQ(fields[0]->placeholderText(), "Email Address");
  EXPECT_EQ(fields[0]->echoMode(), QLineEdit::Normal);
  EXPECT_EQ(fields[1]->echoMode(), QLineEdit::Password);

  const auto other =
      tools->_inputSheetWindowForType(static_cast<InputSheetType>(7), fields);
  EXPECT_TRUE(fields.empty());
  other->show();
  EXPECT_EQ(other->size(), QSize(200, 100));
  EXPECT_NE(button(*other, "Set"), nullptr);
  EXPECT_TRUE(other->findChildren<QLineEdit*>().isEmpty());
}

TEST_F(DeveloperSheet, LeadsFromTheRightWhereTextDoes) {
  tools = QHDevTools::initWithCapabilities(0, defaults);
  std::vector<QLineEdit*> fields;
  const auto login =
      tools->_inputSheetWindowForType(InputSheetType::kLogin, fields);
  login->setLayoutDirection(Qt::RightToLeft);
  login->show();
  const auto* label = login->findChild<QLabel*>();
  EXPECT_EQ(login->width() - label->geometry().right() - 1, 20);
  EXPECT_EQ(fields[0]->x(), 20);
  EXPECT_EQ(button(*login, "Login")->x(), 20);
}

TEST_F(DeveloperSheet, EndsByButtonAndByKey) {
  makeTools(0);
  const struct {
    std::function<void()> end;
    int response;
  } cases[] = {
      {[this] { click(*sheet(), "Set"); }, 1},
      {[this] { press(Qt::Key_Return); }, 1},
      {[this] { press(Qt::Key_Enter); }, 1},
      {[this] {
         // Return is the default button's, also on another one.
         QTest::keyClick(sheet()->windowHandle(), Qt::Key_Tab);
         EXPECT_TRUE(button(*sheet(), "Choose Local Folder\u2026")->hasFocus());
         press(Qt::Key_Return);
       },
       1},
      {[this] { click(*sheet(), "Cancel"); }, 0},
      {[this] { press(Qt::Key_Escape); }, 0},
      {[this] { sheet()->close(); }, 0},
  };
  for (const auto& c : cases) {
    askForURL("https://example.com/");
    QPointer<QDialog> shown = &shownSheet();
    EXPECT_EQ(shown->windowModality(), Qt::WindowModal);
    EXPECT_EQ(shown->parentWidget(), &window);
    EXPECT_EQ(delegate.takeCalls(), Calls{"window"});
    c.end();
    EXPECT_TRUE(waitUntil([&] { return !shown; }));
    EXPECT_EQ(response, c.response);
    EXPECT_EQ(url, "https://example.com/");
  }
}

TEST_F(DeveloperSheet, WantsAReadableFolder) {
  makeTools(0);
  const std::string plain = folder.path("plain folder");
  fs::create_directory(plain);
  const std::string closed = folder.path("closed");
  fs::create_directory(closed);
  fs::permissions(closed, fs::perms::none);
  const bool isRoot = ::geteuid() == 0;  // who may read everything

  const struct {
    std::string text;
    int response;
    std::optional<std::string> url;
    bool hasBookmark = false;
  } cases[] = {
      {" \t https://example.com/x  ", 1, "https://example.com/x"},
      {plain, 1, folder.path("plain%20folder")},
      {"file://" + folder.path("plain%20folder"), 1,
       "file://" + folder.path("plain%20folder"), true},
      {"file://" + plain + "2", -1001,
       "file://" + folder.path("plain%20folder2")},
      {plain + "2", -1001, folder.path("plain%20folder2")},
      {"nowhere", -1001, "nowhere"},
      {"", -1001, std::nullopt},
      {"http://host:x", -1001, std::nullopt},
      {closed, isRoot ? 1 : -1001, closed},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    defaults.removeObject("QHDevelopCheckoutBaseURLSecBookmark");
    const AlertAnswer answer("OK");
    askForURL(c.text, ServerType::kCheckout);
    shownSheet();
    press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return response.has_value(); }));
    EXPECT_EQ(response, c.response);
    EXPECT_EQ(url, c.url);
    const QString text = QString::fromStdString(c.text).trimmed();
    EXPECT_EQ(answer.shown(),
              c.response == 1
                  ? QString()
                  : "No read permissions to folder\nMail does not have read "
                    "permissions to '" +
                        text +
                        "'. Make sure to use the Choose\u2026 button for file "
                        "URLs.\nOK");
    EXPECT_EQ(defaults.dataForKey("QHDevelopCheckoutBaseURLSecBookmark"),
              c.hasBookmark ? platform::securityScopedBookmarkForPath(plain)
                            : std::nullopt);
  }
  fs::permissions(closed, fs::perms::owner_all);
  EXPECT_FALSE(defaults.dataForKey("QHDevelopWebComponentsBaseURLSecBookmark"));

  // A cancelled sheet checks nothing; other servers have no bookmark.
  askForURL("/nowhere");
  shownSheet();
  press(Qt::Key_Escape);
  EXPECT_EQ(response, 0);
  EXPECT_EQ(url, "/nowhere");
  askForURL("file://" + plain, static_cast<ServerType>(2));
  shownSheet();
  press(Qt::Key_Return);
  EXPECT_EQ(response, 1);
  EXPECT_EQ(defaults.dictionaryRepresentation().size(), 0U);
}

TEST_F(DeveloperSheet, OverridesAServer) {
  makeTools(kWebComponentsServer | kCheckoutServer);
  const struct {
    QString title;
    std::string key, recentKey;
    Calls calls;
  } cases[] = {{"Override Web Components Server",
                "QHDevelopWebComponentsBaseURL",
                "QHDevelopWebComponentsRecentBaseURL",
                {"window", "reload"}},
               {"Override Checkout Server",
                "QHDevelopCheckoutBaseURL",
                "QHDevelopCheckoutRecentBaseURL",
                {"window"}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    static_cast<void>(delegate.takeCalls());
    validate();
    choose({c.title});
    EXPECT_EQ(fields(shownSheet())[0]->text(), "");
    type(*sheet(), "https://one.example");
    press(Qt::Key_Escape);
    EXPECT_EQ(stored(c.key), std::nullopt);
    EXPECT_EQ(delegate.takeCalls(), Calls{"window"});

    choose({c.title});
    shownSheet();
    type(*sheet(), "https://two.example ");
    press(Qt::Key_Return);
    EXPECT_EQ(stored(c.key), "https://two.example");
    EXPECT_EQ(stored(c.recentKey), "https://two.example");
    EXPECT_EQ(delegate.takeCalls(), c.calls);

    validate();
    choose({c.title + " (https://two.example)", "Change\u2026"});
    EXPECT_EQ(fields(shownSheet())[0]->text(), "https://two.example");
    type(*sheet(), "/nowhere");
    const AlertAnswer answer("OK");
    press(Qt::Key_Return);
    EXPECT_NE(answer.shown(), "");
    EXPECT_EQ(stored(c.key), "https://two.example");
    EXPECT_EQ(delegate.takeCalls(), Calls{"window"});

    validate();
    choose({c.title + " (https://two.example)", "Change\u2026"});
    shownSheet();
    type(*sheet(), QString::fromStdString("file://" + folder.path()));
    press(Qt::Key_Return);
    EXPECT_EQ(stored(c.key), "file://" + folder.path());
    EXPECT_TRUE(defaults.dataForKey(c.key + "SecBookmark"));
  }
}

// The open panel runs a loop of its own; this acts in it.
void inPanel(const std::function<void(QFileDialog&)>& act) {
  auto* const timer = new QTimer(qApp);
  QObject::connect(timer, &QTimer::timeout, timer, [timer, act] {
    auto* const panel =
        qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (!panel || !panel->isVisible()) return;
    timer->deleteLater();
    timer->stop();
    act(*panel);
  });
  timer->start(5);
}

TEST_F(DeveloperSheet, TakesAChosenFolderAtOnce) {
  makeTools(kWebComponentsServer);
  const std::string chosen = folder.path("server 1");
  fs::create_directory(chosen);
  folder.write("file", "x");

  validate();
  choose({"Override Web Components Server"});
  shownSheet();
  inPanel([](QFileDialog& panel) {
    EXPECT_EQ(panel.fileMode(), QFileDialog::Directory);
    EXPECT_TRUE(panel.testOption(QFileDialog::ShowDirsOnly));
    QTest::keyClick(&panel, Qt::Key_Escape);
  });
  click(*sheet(), "Choose Local Folder\u2026");
  ASSERT_NE(sheet(), nullptr);
  EXPECT_EQ(fields(*sheet())[0]->text(), "");

  inPanel([&](QFileDialog& panel) {
    panel.setDirectory(QString::fromStdString(folder.path()));
    auto* const name = panel.findChild<QLineEdit*>("fileNameEdit");
    name->setText(QString::fromStdString(chosen));
    QTest::keyClick(name, Qt::Key_Return);
  });
  click(*sheet(), "Choose Local Folder\u2026");
  EXPECT_TRUE(waitUntil([this] { return sheet() == nullptr; }));
  const std::string chosenURL = "file://" + folder.path("server%201/");
  EXPECT_EQ(stored("QHDevelopWebComponentsBaseURL"), chosenURL);
  EXPECT_EQ(stored("QHDevelopWebComponentsRecentBaseURL"), chosenURL);
  EXPECT_EQ(delegate.takeCalls(), (Calls{"window", "reload"}));
  const auto bookmark =
      defaults.dataForKey("QHDevelopWebComponentsBaseURLSecBookmark");
  ASSERT_TRUE(bookmark);
  EXPECT_EQ(platform::resolveSecurityScopedBookmark(*bookmark)->path,
            chosen + "/");
}

TEST_F(DeveloperSheet, GivesUpAFolderThatIsGone) {
  const struct {
    const char* what;
    void (*change)(const std::string& path);
    bool isKept;
  } cases[] = {
      {"there", [](const std::string&) {}, true},
      {"deleted", [](const std::string& path) { fs::remove(path); }, false},
      {"replaced",
       [](const std::string& path) {
         fs::remove(path);
         fs::create_directory(path);
       },
       false},
  };
  for (const std::string server : {"WebComponents", "Checkout"}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(server + c.what);
      const std::string path = folder.path(server);
      fs::create_directory(path);
      for (const std::string kind : {"WebComponents", "Checkout"}) {
        defaults.set("QHDevelop" + kind + "BaseURL", "x");
        defaults.set("QHDevelop" + kind + "RecentBaseURL", "y");
      }
      defaults.set("QHDevelop" + server + "BaseURLSecBookmark",
                   platform::PropertyList::Data{
                       *platform::securityScopedBookmarkForPath(path)});
      c.change(path);
      tools = QHDevTools::initWithCapabilities(0, defaults);
      EXPECT_EQ(defaults.dictionaryRepresentation().size(), c.isKept ? 5U : 2U);
      EXPECT_EQ(stored("QHDevelop" + server + "RecentBaseURL").has_value(),
                c.isKept);
      defaults.removeObject("QHDevelop" + server + "BaseURLSecBookmark");
      fs::remove(path);
    }
  }
  defaults.set("QHDevelopCheckoutBaseURLSecBookmark",
               platform::PropertyList::Data{"no bookmark"});
  tools = QHDevTools::initWithCapabilities(0, defaults);
  EXPECT_FALSE(stored("QHDevelopCheckoutBaseURL"));
}

TEST_F(DeveloperSheet, LogsInQuickly) {
  makeTools(kQuickLogin);
  validate("Quick Login");
  choose({"Quick Login", "Grove"});
  type(shownSheet(), " a@example.com ");
  press(Qt::Key_Escape);
  platform::OSStatus status = 0;
  EXPECT_FALSE(_keychainAccountCredentialsForPlanTier(1, status));
  EXPECT_EQ(delegate.takeCalls(), Calls{"window"});

  choose({"Quick Login", "Grove"});
  type(shownSheet(), " a@example.com ");
  QTest::keyClick(sheet()->windowHandle(), Qt::Key_Tab);
  type(*sheet(), "secret");
  EXPECT_EQ(fields(*sheet())[1]->displayText().count("secret"), 0);
  press(Qt::Key_Return);
  EXPECT_EQ(delegate.takeCalls(),
            (Calls{"window", "logout", "login: a@example.com secret"}));

  // Now one click is enough.
  validate("Quick Login");
  choose({"Quick Login", "Grove (a@example.com)"});
  EXPECT_EQ(delegate.takeCalls(),
            (Calls{"logout", "login: a@example.com secret"}));
  EXPECT_EQ(sheet(), nullptr);

  // "Change…" asks again and updates the item.
  QMenu* const tiers = openSubmenu("Quick Login");
  QAction* const tier = item("Grove (a@example.com)");
  ASSERT_NE(tier, nullptr);
  testing::pointAt(*tiers, *tier);
  QMenu* const change = tier->menu<QMenu*>();
  ASSERT_TRUE(waitUntil([&] { return change->isVisible(); }));
  testing::clickItem(*change, *change->actions().front());
  type(shownSheet(), "b@example.com");
  click(*sheet(), "Login");
  EXPECT_TRUE(waitUntil([this] { return sheet() == nullptr; }));
  EXPECT_EQ(delegate.takeCalls(),
            (Calls{"window", "logout", "login: b@example.com "}));
  EXPECT_EQ(_keychainAccountCredentialsForPlanTier(1, status),
            (AccountCredentials{"b@example.com", ""}));

  tools->_loginAccountWithPlanTier(3);
  EXPECT_EQ(delegate.takeCalls(),
            (Calls{"logout", "login: (absent) (absent)"}));
}

TEST_F(DeveloperSheet, TellsWhyAnAccountIsNotSaved) {
  makeTools(kQuickLogin);
  platform::setKeychainBackend(
      std::make_shared<platform::testing::InMemoryKeychain>(
          [](std::string_view operation) {
            return operation == "add" ? platform::kErrSecAuthFailed
                                      : platform::OSStatus{0};
          }));
  validate("Quick Login");
  choose({"Quick Login", "Sprout"});
  type(shownSheet(), "a@example.com");
  const AlertAnswer answer("OK");
  press(Qt::Key_Return);
  EXPECT_EQ(answer.shown(),
            "Keychain Error\nUnable to save account in Keychain: -25293\nOK");
  EXPECT_EQ(delegate.takeCalls(), Calls{"window"});
}

TEST_F(DeveloperSheet, GoesWithItsOwners) {
  makeTools(0);
  askForURL("https://example.com");
  QPointer<QDialog> shown = &shownSheet();
  tools.reset();
  EXPECT_FALSE(shown);

  makeTools(0);
  auto host = std::make_unique<QMainWindow>();
  host->show();
  delegate.window = host.get();
  askForURL();
  const QPointer<QDialog> other =
      host->findChild<QDialog*>(QString(), Qt::FindDirectChildrenOnly);
  ASSERT_TRUE(other);
  host.reset();
  EXPECT_FALSE(other);

  // Nowhere to be attached: nothing is shown, nothing is called.
  EXPECT_EQ(delegate.window, nullptr);
  askForURL();
  tools->setDelegate(nullptr);
  askForURL();
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
  EXPECT_FALSE(response);
}

}  // namespace
}  // namespace quillhaven::devtools
