#include "quillhaven/ui/menus.h"

#include <gtest/gtest.h>

#include <QMainWindow>
#include <QMenuBar>
#include <QPointer>
#include <QTest>
#include <memory>

namespace quillhaven::ui {
namespace {

class Host : public QObject {
 public:
  void save() { ++saved; }

  int saved = 0;
};

TEST(KeySequence, PutsCommandOnTheControlKey) {
  const struct {
    QString keyEquivalent;
    QKeySequence expected;
  } cases[] = {
      {"", QKeySequence()},
      {"i", Qt::CTRL | Qt::Key_I},
      {"I", Qt::CTRL | Qt::SHIFT | Qt::Key_I},
      {"*", Qt::CTRL | Qt::Key_Asterisk},
      {",", Qt::CTRL | Qt::Key_Comma},
      {"1", Qt::CTRL | Qt::Key_1},
      {"\r", Qt::CTRL | Qt::Key_Return},
      {"\x1b", Qt::CTRL | Qt::Key_Escape},
      {"\b", Qt::CTRL | Qt::Key_Backspace},
      {QString::fromUtf8("ü"), Qt::CTRL | Qt::Key_Udiaeresis},
      {QString::fromUtf8("Ü"), Qt::CTRL | Qt::SHIFT | Qt::Key_Udiaeresis},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.keyEquivalent.toStdString());
    EXPECT_EQ(keySequence(c.keyEquivalent), c.expected);
  }
  EXPECT_EQ(keySequence(u"*", Qt::ControlModifier | Qt::ShiftModifier),
            Qt::CTRL | Qt::SHIFT | Qt::Key_Asterisk);
  EXPECT_EQ(keySequence(u"\r", Qt::NoModifier), Qt::Key_Return);
}

TEST(AddItem, AppendsItemsThatActOnClicksAndKeys) {
  QMainWindow window;
  QMenu* const menu = window.menuBar()->addMenu("Menu");
  Host host;
  int opened = 0;
  MenuItem* const save = addItem(*menu, "Save", &Host::save, &host, u"s");
  MenuItem* const open = addItem(
      *menu, "Open", [&opened] { ++opened; }, nullptr, u"O");
  addItem(*menu, "Nothing", nullptr, nullptr, u"");
  ASSERT_EQ(menu->actions().size(), 3);
  EXPECT_EQ(menu->actions().first(), save);
  window.show();
  window.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

  QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(host.saved, 1);
  QTest::keyClick(&window, Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(opened, 0);
  QTest::keyClick(&window, Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(opened, 1);

  menu->popup(window.mapToGlobal(QPoint(0, 20)));
  ASSERT_TRUE(QTest::qWaitForWindowExposed(menu));
  QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier,
                    menu->actionGeometry(open).center());
  EXPECT_EQ(opened, 2);
  EXPECT_FALSE(menu->isVisible());
}

TEST(AddItem, ShowsTitlesAsTheyAre) {
  QMenu menu;
  MenuItem* const item =
      addItem(menu, "Fish & Chips && Peas", nullptr, nullptr, u"");
  EXPECT_EQ(item->title(), "Fish & Chips && Peas");
  // Shown text is what is left once Qt has taken single ones for underlines.
  EXPECT_EQ(item->text(), "Fish && Chips &&&& Peas");
  item->setTitle("A&B");
  EXPECT_EQ(item->text(), "A&&B");
}

TEST(MenuItem, DiesWithItsMenuAndOutlivesItsTarget) {
  auto menu = std::make_unique<QMenu>();
  auto host = std::make_unique<Host>();
  int called = 0;
  const QPointer<MenuItem> item = addItem(
      *menu, "Call", [&called] { ++called; }, host.get(), u"");
  item->trigger();
  host.reset();
  item->trigger();
  EXPECT_EQ(called, 1);
  menu.reset();
  EXPECT_TRUE(item.isNull());

  MenuItem alone(
      "Alone", [&called] { ++called; }, nullptr, u"a");
  alone.trigger();
  EXPECT_EQ(called, 2);
  EXPECT_EQ(alone.shortcut(), Qt::CTRL | Qt::Key_A);
}

}  // namespace
}  // namespace quillhaven::ui
