#include "quillhaven/ui/color_button_cell.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include "quillhaven/ui/palette.h"

namespace quillhaven::ui {
namespace {

const QString kBlocks = QString::fromUtf8("████");

// A button on a white window.
class ColorButtonCellTest : public testing::Test {
 protected:
  ColorButtonCellTest() {
    QPalette white;
    white.setColor(QPalette::Window, Qt::white);
    window_.setPalette(white);
    window_.resize(200, 100);
    button_.setGeometry(10, 10, 120, 40);
    button_.setFocusPolicy(Qt::NoFocus);
    window_.show();
  }

  QColor pixel(QPoint point) {
    return window_.grab().toImage().pixelColor(point + button_.pos());
  }

  // The rectangle in which the button is exactly of `color`.
  QRect areaOf(QColor color) {
    const QImage image = window_.grab(button_.geometry()).toImage();
    QRect area;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, y) == color) area |= QRect(x, y, 1, 1);
      }
    }
    return area;
  }

  QWidget window_;
  ColorButtonCell button_{&window_};
};

TEST_F(ColorButtonCellTest, DrawsNoBezelWithoutAColor) {
  EXPECT_EQ(areaOf(Qt::white), QRect(0, 0, 120, 40));
  button_.setBezelColor(royalControl());
  EXPECT_EQ(areaOf(royalControl()), QRect(0, 0, 120, 40));
  button_.resetBezelColor();
  EXPECT_EQ(areaOf(Qt::white), QRect(0, 0, 120, 40));
}

TEST_F(ColorButtonCellTest, RoundsTheCorners) {
  button_.setBezelColor(royalControl());
  EXPECT_NE(pixel({0, 0}), royalControl());
  EXPECT_EQ(pixel({3, 0}), royalControl());
  button_.setCornerRadius(20);
  EXPECT_EQ(pixel({4, 4}), QColor(Qt::white));
  EXPECT_EQ(pixel({20, 0}), royalControl());
  button_.setCornerRadius(0);
  EXPECT_EQ(pixel({0, 0}), royalControl());
}

TEST_F(ColorButtonCellTest, IsDarkerWhilePressedAndPaleWhenDisabled) {
  button_.setBezelColor(royalControl());
  QSignalSpy clicks(&button_, &QPushButton::clicked);
  QTest::mousePress(&button_, Qt::LeftButton);
  const QColor pressed = darken(royalControl(), 0.12);
  EXPECT_EQ(pixel({60, 20}).rgb(), pressed.rgb());
  QTest::mouseRelease(&button_, Qt::LeftButton);
  EXPECT_EQ(pixel({60, 20}), royalControl());
  EXPECT_EQ(clicks.size(), 1);

  button_.setEnabled(false);
  QTest::mouseClick(&button_, Qt::LeftButton);
  EXPECT_EQ(clicks.size(), 1);
  const QColor pale = pixel({60, 20});  // 30 % of it over white
  EXPECT_NEAR(pale.red(), 255 - 0.3 * (255 - 125), 1);
  EXPECT_NEAR(pale.green(), 255 - 0.3 * (255 - 155), 1);
  EXPECT_NEAR(pale.blue(), 255 - 0.3 * (255 - 208), 1);
}

TEST_F(ColorButtonCellTest, GrowsByTheHorizontalPaddingAlone) {
  QPushButton plain(kBlocks);
  button_.setText(kBlocks);
  EXPECT_EQ(button_.sizeHint(), plain.sizeHint());
  button_.setPadding(4);
  EXPECT_EQ(button_.sizeHint(), plain.sizeHint() + QSize(8, 0));
  EXPECT_EQ(button_.minimumSizeHint(), button_.sizeHint());
  button_.setVerticalPadding(100);
  EXPECT_EQ(button_.sizeHint(), plain.sizeHint() + QSize(8, 0));
  button_.setHorizontalPadding(0.25);
  EXPECT_EQ(button_.sizeHint(), plain.sizeHint() + QSize(1, 0));
}

TEST_F(ColorButtonCellTest, PaddingSetsTheOthersAndKeepsItsOwnValue) {
  QSignalSpy changes(&button_, &ColorButtonCell::paddingChanged);
  button_.setPadding(4);
  button_.setHorizontalPadding(1);
  EXPECT_EQ(button_.padding(), 4);
  EXPECT_EQ(button_.verticalPadding(), 4);
  button_.setPadding(4);
  EXPECT_EQ(button_.horizontalPadding(), 4);
  EXPECT_EQ(changes.size(), 1);
}

TEST_F(ColorButtonCellTest, DrawsTheTitleInsetInItsColor) {
  button_.setText(kBlocks);
  button_.setTitleColor(Qt::red);
  const QRect title = areaOf(Qt::red);
  ASSERT_FALSE(title.isEmpty());
  EXPECT_NEAR(title.center().x(), 60, 1);

  // What does not fit between the paddings is cut off at them.
  button_.setHorizontalPadding(55);
  const QRect inset = areaOf(Qt::red);
  EXPECT_GE(inset.left(), 55);
  EXPECT_LE(inset.right(), 120 - 55);
  // Lines stay whole above and below.
  button_.setHorizontalPadding(0);
  button_.setVerticalPadding(18);
  EXPECT_EQ(areaOf(Qt::red), title);

  button_.setEnabled(false);
  const QColor pale = pixel(title.center() - QPoint(title.width() / 8, 0));
  EXPECT_NEAR(pale.green(), 128, 2);  // half red, half white
  EXPECT_EQ(pale.red(), 255);
}

}  // namespace
}  // namespace quillhaven::ui
