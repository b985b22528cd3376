#include "quillhaven/ui/animating_text_field.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QSignalSpy>
#include <QTest>

namespace quillhaven::ui {
namespace {

// A full block, whose ink is known, at the beginning or the end of the text.
const QString kLeftBlock = QString::fromUtf8("█   ");
const QString kRightBlock = QString::fromUtf8("   █");

QFont monospaced() {
  QFont font(QStringLiteral("DejaVu Sans Mono"));
  font.setPixelSize(20);
  return font;
}

// A shown black on white label.
class ShownField : public AnimatingTextField {
 public:
  ShownField() {
    setPalette(QPalette(Qt::black, Qt::white, Qt::white, Qt::black, Qt::gray,
                        Qt::black, Qt::white));
    setAutoFillBackground(true);
    setFont(monospaced());
    setStringValue(kLeftBlock);
    resize(sizeHint());
    show();
  }

  // How dark a column of the first line is, from 0 to 1.
  double ink(int column) {
    const int width = sizeHint().width() / 4;
    const QColor color = grab().toImage().pixelColor(column * width + width / 2,
                                                     sizeHint().height() / 2);
    return 1 - color.lightnessF();
  }
};

TEST(AnimatingTextField, MeasuresOnlyWithAFontOfItsOwn) {
  QWidget parent;
  parent.setFont(monospaced());
  AnimatingTextField field(&parent);
  EXPECT_EQ(field.stringValue(), "Label");
  field.setStringValue("Much longer than before");
  EXPECT_EQ(field.intrinsicContentSize(), QSizeF(0, 0));
  EXPECT_EQ(field.sizeHint(), QSize(0, 0));

  field.setFont(monospaced());
  const QSizeF one = field.intrinsicContentSize();
  EXPECT_EQ(one, QFontMetricsF(monospaced()).size(0, field.stringValue()));
  field.setStringValue("Two\nlines");
  EXPECT_LT(field.intrinsicContentSize().width(), one.width());
  EXPECT_NEAR(field.intrinsicContentSize().height(), 2 * one.height(), 2);
  const QSizeF two = field.intrinsicContentSize();
  EXPECT_GE(field.sizeHint().width(), two.width());
  EXPECT_LT(field.sizeHint().width(), two.width() + 1);

  field.setFont(QFont());  // takes the own one back
  field.setStringValue("x");
  EXPECT_EQ(field.intrinsicContentSize(), two);
}

TEST(AnimatingTextField, FadesFromOneTextToTheNext) {
  ShownField field;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&field));
  EXPECT_EQ(field.ink(0), 1);
  EXPECT_EQ(field.ink(3), 0);

  QSignalSpy changes(&field, &AnimatingTextField::stringValueChanged);
  QElapsedTimer clock;
  clock.start();
  field.setStringValue(kRightBlock);
  EXPECT_EQ(changes.size(), 1);
  EXPECT_EQ(field.stringValue(), kRightBlock);
  bool wereBothSeen = false;
  ASSERT_TRUE(QTest::qWaitFor([&] {
    const double before = field.ink(0);
    const double after = field.ink(3);
    EXPECT_NEAR(before + after, 1, 0.05);
    wereBothSeen |= before > 0.1 && after > 0.1;
    return after == 1 && before == 0;
  }));
  EXPECT_TRUE(wereBothSeen);
  EXPECT_GE(clock.elapsed(), 240);

  field.setStringValue(kRightBlock);
  EXPECT_EQ(changes.size(), 1);
}

// A fade that begins within a fade goes on from what is seen.
TEST(AnimatingTextField, FadesOnFromAFade) {
  ShownField field;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&field));
  field.setStringValue(kRightBlock);
  ASSERT_TRUE(QTest::qWaitFor([&] { return field.ink(3) > 0.3; }));
  const double before = field.ink(0);
  field.setStringValue(QString());
  EXPECT_NEAR(field.ink(0), before, 0.15);
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return field.ink(0) == 0 && field.ink(3) == 0; }));
}

TEST(AnimatingTextField, ChangesAtOnceWhatIsNoText) {
  ShownField field;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&field));
  field.setTextAlignment(Qt::AlignRight);
  field.resize(field.sizeHint().width() * 2, field.height());
  EXPECT_EQ(field.ink(0), 0);
  EXPECT_EQ(field.ink(4), 1);

  field.setTextColor(QColor(255, 0, 0));
  const auto pixel = [&field] {
    return field.grab().toImage().pixelColor(field.width() * 9 / 16,
                                             field.height() / 2);
  };
  EXPECT_EQ(pixel(), QColor(255, 0, 0));
  field.resetTextColor();
  QPalette colors = field.palette();
  colors.setColor(QPalette::WindowText, Qt::blue);
  field.setPalette(colors);
  EXPECT_EQ(pixel(), QColor(Qt::blue));
}

TEST(AnimatingTextField, DoesNotFadeUnseen) {
  ShownField field;
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&field));
  field.hide();
  field.setStringValue(kRightBlock);
  EXPECT_EQ(field.ink(3), 1);
  field.show();
  field.setStringValue(kLeftBlock);
  field.hide();  // ends a fade under way
  EXPECT_EQ(field.ink(0), 1);
}

}  // namespace
}  // namespace quillhaven::ui
