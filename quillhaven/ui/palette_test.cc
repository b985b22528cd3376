#include "quillhaven/ui/palette.h"

#include <gtest/gtest.h>

namespace quillhaven::ui {
namespace {

TEST(Palette, HasTheseBytes) {
  const struct {
    const char* name;
    const QColor& (*color)();
    QRgb expected;  // 0xAARRGGBB
  } cases[] = {
      {"mintControl", mintControl, 0xff96cebc},
      {"royalControl", royalControl, 0xff7d9bd0},
      {"rustControl", rustControl, 0xffdb7171},
      {"sandControl", sandControl, 0xfff2c264},
      {"mintDarkControl", mintDarkControl, 0xff4da386},
      {"royalDarkControl", royalDarkControl, 0xff7495cd},
      {"rustDarkControl", rustDarkControl, 0xffd04343},
      {"sandDarkControl", sandDarkControl, 0xffc68910},
      {"mintDarkerControl", mintDarkerControl, 0xff3c806b},
      {"royalDarkerControl", royalDarkerControl, 0xff4b75be},
      {"rustDarkerControl", rustDarkerControl, 0xffa32a29},
      {"sandDarkerControl", sandDarkerControl, 0xffc99d45},
      {"mintBackground", mintBackground, 0xffa5d5c8},
      {"royalBackground", royalBackground, 0xff8facd9},
      {"rustBackground", rustBackground, 0xffe48784},
      {"sandBackground", sandBackground, 0xfff6cc76},
      {"noteBackgrond", noteBackgrond, 0x59c99d45},
      {"taskBackgrond", taskBackgrond, 0x594b75be},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.color().rgba(), c.expected);
    EXPECT_EQ(&c.color(), &c.color());
  }
  EXPECT_NEAR(noteBackgrond().alphaF(), 0.35, 1e-5);
}

TEST(RgbColor, StaysInRange) {
  EXPECT_EQ(rgbColor(1, 2, 3, 0).rgba(), 0x00010203u);
  EXPECT_EQ(rgbColor(-1, 256, 255, 2).rgba(), 0xff00ffffu);
}

TEST(ColorBrightness, KeepsHueAndSaturationAtBothEnds) {
  const QColor mint = mintControl();
  for (const QColor& changed : {lighten(mint, 1), darken(mint, 100)}) {
    EXPECT_NEAR(changed.hueF(), mint.hueF(), 1e-4);
    EXPECT_NEAR(changed.hsvSaturationF(), mint.hsvSaturationF(), 1e-4);
  }
  EXPECT_EQ(lighten(mint, 1).valueF(), 1);
  EXPECT_EQ(darken(mint, 100).valueF(), 0);
  EXPECT_NEAR(lighten(mint, 2).valueF(), mint.valueF() * 1.02, 1e-4);
  EXPECT_NEAR(darken(noteBackgrond(), 0.5).alphaF(), 0.35, 1e-4);

  // A grey has no hue, in Qt's numbers -1; nothing else is invalid.
  EXPECT_EQ(darken(QColor(200, 200, 200), 50).rgb(), 0xff646464);
  EXPECT_FALSE(lighten(QColor(), 1).isValid());
}

TEST(IsLightColor, GoesByBrightnessAlone) {
  EXPECT_TRUE(isLightColor(mintControl()));           // 206 of 255
  EXPECT_FALSE(isLightColor(mintDarkControl()));      // 163
  EXPECT_FALSE(isLightColor(QColor(178, 178, 178)));  // 0.698
  EXPECT_TRUE(isLightColor(QColor(179, 0, 0)));       // 0.702
  EXPECT_FALSE(isLightColor(QColor()));
}

}  // namespace
}  // namespace quillhaven::ui
