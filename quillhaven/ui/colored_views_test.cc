#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>
#include <memory>

#include "quillhaven/ui/colored_background_view.h"
#include "quillhaven/ui/colored_popover_view.h"
#include "quillhaven/ui/images.h"
#include "quillhaven/ui/palette.h"

namespace quillhaven::ui {
namespace {

// The colours of a column of `widget`, from the top: each with the first row in
// which it is.
QList<std::pair<int, QColor>> column(QWidget& widget, int x = 1) {
  const QImage image = widget.grab().toImage();
  QList<std::pair<int, QColor>> rows;
  for (int y = 0; y < image.height(); ++y) {
    const QColor color = image.pixelColor(x, y);
    if (rows.isEmpty() || rows.last().second != color) rows.append({y, color});
  }
  return rows;
}

using Rows = QList<std::pair<int, QColor>>;

class ColoredBackgroundViewTest : public testing::Test {
 protected:
  ColoredBackgroundViewTest() {
    QPalette gray;
    gray.setColor(QPalette::Window, Qt::gray);
    view_.setPalette(gray);
    view_.resize(40, 100);
  }

  ColoredBackgroundView view_;
};

TEST_F(ColoredBackgroundViewTest, DrawsNothingWithoutATopColor) {
  view_.setTopBackgroundColor(QColor());
  view_.setBottomBackgroundColor(Qt::red);
  view_.setTopSeparator(true);
  view_.setTopSectionHeight(20);
  EXPECT_EQ(column(view_), (Rows{{0, Qt::gray}}));
}

TEST_F(ColoredBackgroundViewTest, DrawsItsSections) {
  view_.setTopBackgroundColor(Qt::blue);
  EXPECT_EQ(column(view_), (Rows{{0, Qt::blue}}));
  view_.setBottomBackgroundColor(Qt::red);
  EXPECT_EQ(column(view_), (Rows{{0, Qt::blue}, {50, Qt::red}}));
  view_.setTopSectionHeight(20);
  EXPECT_EQ(column(view_), (Rows{{0, Qt::blue}, {20, Qt::red}}));

  view_.setTopSeparator(true);
  view_.setTopSeparatorColor(Qt::green);
  EXPECT_EQ(column(view_), (Rows{{0, Qt::blue}, {20, Qt::red}}));
  view_.resetBottomBackgroundColor();
  EXPECT_EQ(column(view_),
            (Rows{{0, Qt::blue}, {20, Qt::green}, {21, Qt::gray}}));
  view_.setTopSeparatorColor(QColor());
  EXPECT_EQ(column(view_), (Rows{{0, Qt::blue}, {20, Qt::gray}}));
}

TEST_F(ColoredBackgroundViewTest, HasColorsOfTheAppearanceFirst) {
  const QString name = QStringLiteral("MsgBackgroundSuccess");
  const QPalette dark(Qt::white, Qt::black, Qt::white, Qt::black, Qt::gray,
                      Qt::white, Qt::black);
  const QColor inLight = view_.topBackgroundColor();
  EXPECT_EQ(column(view_), (Rows{{0, inLight}}));
  view_.setPalette(dark);
  EXPECT_EQ(column(view_), (Rows{{0, *quillhavenUtilitiesColor(name, dark)}}));
  EXPECT_NE(view_.topBackgroundColor(), inLight);
  view_.setTopBackgroundColor(Qt::blue);
  view_.resetTopBackgroundColor();
  EXPECT_EQ(view_.topBackgroundColor(), *quillhavenUtilitiesColor(name, dark));
}

// A popover with margins around the view, which has two lines of text.
class Popover : public QWidget {
 public:
  // As a popup it is out of a window manager's hands.
  Popover() : QWidget(nullptr, Qt::BypassWindowManagerHint) {
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    setContentsMargins(5, 5, 5, 5);
    view = new ColoredPopoverView;
    view->setMinimumHeight(100);
    outer->addWidget(view);
    resize(210, 310);
    setMouseTracking(true);
    show();
  }

  // Drags with the left button from a point of the view by `distance` down.
  void drag(QPoint from, int distance) {
    press(from);
    QTest::mouseMove(windowHandle(), inWindow(from) + QPoint(0, distance / 2));
    QTest::mouseMove(windowHandle(), inWindow(from) + QPoint(0, distance));
    release(from + QPoint(0, distance));
  }

  void release(QPoint at) {
    QTest::mouseRelease(windowHandle(), Qt::LeftButton, {}, inWindow(at));
  }

  void press(QPoint at) {
    QTest::mousePress(windowHandle(), Qt::LeftButton, {}, inWindow(at));
  }

  QPoint inWindow(QPoint point) const { return view->mapTo(this, point); }

  ColoredPopoverView* view;
  int passedOn = 0;

 protected:
  void mousePressEvent(QMouseEvent* /*event*/) override { ++passedOn; }
};

TEST(ColoredPopoverView, PaintsBehindAllOfItsWindow) {
  Popover popover;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
  ColoredBackgroundView* const background = popover.view->backgroundView();
  EXPECT_EQ(background->parentWidget(), &popover);
  EXPECT_EQ(background->geometry(), popover.rect());
  EXPECT_EQ(background->topBackgroundColor(), mintControl());
  EXPECT_EQ(column(popover), (Rows{{0, mintControl()}}));

  popover.view->setTopSectionHeight(100);
  popover.view->setBottomBackgroundColor(sandControl());
  EXPECT_EQ(column(popover), (Rows{{0, mintControl()}, {100, sandControl()}}));
  popover.resize(300, 400);
  EXPECT_EQ(background->geometry(), popover.rect());
  // Below everything else: a label over it is seen.
  QLabel label(&popover);
  label.setAutoFillBackground(true);
  label.setGeometry(0, 0, 10, 10);
  label.show();
  EXPECT_EQ(column(popover).at(1).first, 10);
}

TEST(ColoredPopoverView, StaysBehindWhenMovedOutAndFollowsWhenMovedIn) {
  auto first = std::make_unique<Popover>();
  auto view = std::unique_ptr<ColoredPopoverView>(first->view);
  QPointer<ColoredBackgroundView> background = view->backgroundView();
  view->setParent(nullptr);
  EXPECT_EQ(background->parentWidget(), first.get());
  background->setTopBackgroundColor(Qt::red);

  QWidget second;
  second.resize(90, 80);
  view->setParent(&second);
  EXPECT_EQ(background->parentWidget(), &second);
  EXPECT_EQ(background->geometry(), second.rect());
  EXPECT_EQ(background->topBackgroundColor(), mintControl());
  first->resize(20, 20);
  EXPECT_EQ(background->geometry(), second.rect());
  first.reset();

  // The background belongs to the view, whichever of the two goes first.
  view->setParent(nullptr);
  view.reset();
  EXPECT_TRUE(background.isNull());
  auto third = std::make_unique<Popover>();
  view.reset(third->view);
  background = view->backgroundView();
  view->setParent(nullptr);
  third.reset();
  EXPECT_FALSE(background.isNull());
  view->show();  // a window of its own
  EXPECT_EQ(background->parentWidget(), view.get());
  EXPECT_EQ(background->geometry(), view->rect());
}

TEST(ColoredPopoverView, IsResizedByItsLowestTenPoints) {
  const struct {
    const char* name;
    QPoint from;  // in a view of 200 by 300 points
    int distance;
    int expected;  // height of the content
  } cases[] = {
      {"down", {100, 295}, 50, 350},
      {"up", {100, 295}, -50, 250},
      {"first row of the strip", {0, 290}, 50, 350},
      {"row above it", {0, 289}, 50, 300},
      {"last row", {199, 299}, 50, 350},
      {"no higher than 80 % of the screen", {100, 295}, 600, 640},
      {"no lower than its content", {100, 295}, -250, 100},
  };
  ASSERT_EQ(QGuiApplication::primaryScreen()->geometry().height(), 800);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Popover popover;
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
    popover.view->setResizablePopover(&popover);
    popover.drag(c.from, c.distance);
    EXPECT_EQ(popover.contentsRect().size(), QSize(200, c.expected));
    EXPECT_EQ(popover.passedOn, c.expected == 300 ? 1 : 0);
  }
}

TEST(ColoredPopoverView, PassesEventsOnWithoutAPopover) {
  Popover popover;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
  popover.drag({100, 295}, 50);
  EXPECT_EQ(popover.passedOn, 1);
  EXPECT_EQ(popover.size(), QSize(210, 310));

  // One that dies while it is dragged.
  auto other = std::make_unique<QWidget>();
  popover.view->setResizablePopover(other.get());
  popover.press({100, 295});
  other.reset();
  QTest::mouseMove(popover.windowHandle(), popover.inWindow({100, 250}));
  popover.release({100, 250});
  EXPECT_EQ(popover.view->resizablePopover(), nullptr);
}

TEST(ColoredPopoverView, EndsTheDragWhenTheButtonGoesUp) {
  Popover popover;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
  popover.view->setResizablePopover(&popover);
  popover.drag({100, 295}, 50);
  popover.press({100, 100});  // with no start to go on from
  QTest::mouseMove(popover.windowHandle(), popover.inWindow({100, 200}));
  popover.release({100, 200});
  EXPECT_EQ(popover.contentsRect().height(), 350);
}

TEST(ColoredPopoverView, ShowsWhereItCanBeTakenHoldOf) {
  Popover popover;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
  popover.view->setCursor(Qt::CrossCursor);
  popover.view->setResizablePopover(&popover);
  const auto cursorAt = [&popover](int y) {
    QTest::mouseMove(popover.windowHandle(), popover.inWindow({100, y}));
    return popover.view->cursor().shape();
  };
  EXPECT_EQ(cursorAt(289), Qt::CrossCursor);
  EXPECT_EQ(cursorAt(290), Qt::SizeVerCursor);
  EXPECT_EQ(cursorAt(100), Qt::CrossCursor);
  EXPECT_EQ(cursorAt(299), Qt::SizeVerCursor);
  popover.view->setResizablePopover(nullptr);
  EXPECT_EQ(popover.view->cursor().shape(), Qt::CrossCursor);
}

TEST(ColoredPopoverView, ShowsTheBadgeAtHalfItsSizeInTheCorner) {
  Popover popover;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
  QPixmap badge(40, 20);
  badge.fill(Qt::red);
  popover.view->setBadgeImage(badge);
  const QPointer<QLabel> label = popover.view->findChild<QLabel*>();
  ASSERT_FALSE(label.isNull());
  EXPECT_EQ(label->geometry(), QRect(0, 290, 20, 10));
  EXPECT_EQ(popover.grab().toImage().pixelColor(5, 304), QColor(Qt::red));
  popover.resize(210, 410);
  EXPECT_EQ(label->geometry(), QRect(0, 390, 20, 10));

  QPixmap larger(160, 160);
  larger.setDevicePixelRatio(2);
  larger.fill(Qt::green);
  popover.view->setBadgeImage(larger);
  EXPECT_EQ(popover.view->findChildren<QLabel*>().size(), 1);
  EXPECT_EQ(label->geometry(), QRect(0, 360, 40, 40));

  // The strip below it can be taken hold of all the same.
  popover.view->setResizablePopover(&popover);
  popover.drag({5, 395}, 20);
  EXPECT_EQ(popover.contentsRect().height(), 420);
  popover.view->resetBadgeImage();
  EXPECT_TRUE(label.isNull());
}

}  // namespace
}  // namespace quillhaven::ui
