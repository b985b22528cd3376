#include "quillhaven/ui/values.h"

#include <gtest/gtest.h>

namespace quillhaven::ui {
namespace {

TEST(Brightness, ReadsAnAmountAboveOneAsAPercentage) {
  const struct {
    double brightness, by, lighter, darker;
  } cases[] = {
      {0.4, 0, 0.4, 0.4},     {0.4, 0.5, 0.6, 0.2},
      {0.4, 50, 0.6, 0.2},    {0.4, 1, 0.8, 0},
      {0.4, 100, 0.8, 0},     {0.4, 1.0001, 0.40400040000000, 0.39599960000000},
      {0.4, 2, 0.408, 0.392}, {0.4, -0.5, 0.2, 0.6},
      {0.8, 1, 1, 0},    // no brighter than white
      {0.8, 150, 1, 0},  // nor darker than black
      {0, 0.5, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.brightness << " by " << c.by);
    const HueSaturationBrightness color{0.25, 0.5, c.brightness, 0.75};
    const auto lighter = lighten(color, c.by);
    const auto darker = darken(color, c.by);
    EXPECT_NEAR(lighter.brightness, c.lighter, 1e-12);
    EXPECT_NEAR(darker.brightness, c.darker, 1e-12);
    for (const auto& changed : {lighter, darker}) {
      EXPECT_EQ(changed.hue, 0.25);
      EXPECT_EQ(changed.saturation, 0.5);
      EXPECT_EQ(changed.alpha, 0.75);
    }
  }
}

TEST(Brightness, IsLightAboveSevenTenths) {
  EXPECT_FALSE(isLightColor({0, 0, 0.7, 1}));
  EXPECT_TRUE(isLightColor({0, 1, 0.7001, 0}));
}

TEST(ProportionallyScale, FitsIntoTheTarget) {
  const struct {
    Size from, to, expected;
  } cases[] = {
      {{100, 50}, {50, 50}, {50, 25}},   {{50, 100}, {50, 50}, {25, 50}},
      {{100, 50}, {100, 50}, {100, 50}}, {{10, 5}, {100, 100}, {100, 50}},
      {{3, 2}, {1, 1}, {1, 2.0 / 3}},    {{100, 50}, {0, 50}, {0, 0}},
      {{0, 50}, {100, 100}, {0, 100}},   {{0, 0}, {100, 100}, {0, 0}},
      {{0, 0}, {0, 0}, {0, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << c.from.width << " by " << c.from.height << " to "
                 << c.to.width << " by " << c.to.height);
    const Size scaled = proportionallyScale(c.from, c.to);
    EXPECT_DOUBLE_EQ(scaled.width, c.expected.width);
    EXPECT_DOUBLE_EQ(scaled.height, c.expected.height);
  }
}

}  // namespace
}  // namespace quillhaven::ui
