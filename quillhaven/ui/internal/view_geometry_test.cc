#include "quillhaven/ui/internal/view_geometry.h"

#include <gtest/gtest.h>

#include <optional>

namespace quillhaven::ui::internal {
namespace {

TEST(BackgroundSections, ArePlacedFromTheTop) {
  constexpr std::optional<Stretch> kNone;
  const struct {
    const char* name;
    double topSectionHeight;
    bool hasBottom, hasSeparator;
    BackgroundSections expected;  // of a view 100 points high
  } cases[] = {
      {"top alone", 0, false, false, {kNone, {0, 100}, kNone}},
      {"no separator without a height",
       0,
       false,
       true,
       {kNone, {0, 100}, kNone}},
      {"two halves", 0, true, true, {kNone, {-50, 100}, Stretch{50, 50}}},
      {"negative", -20, true, false, {kNone, {-50, 100}, Stretch{50, 50}}},
      {"30 points", 30, false, false, {kNone, {-70, 100}, kNone}},
      {"separator", 30, false, true, {Stretch{30, 1}, {-70, 100}, kNone}},
      {"all", 30, true, true, {Stretch{30, 1}, {-70, 100}, Stretch{30, 70}}},
      {"as high as the view",
       100,
       true,
       false,
       {kNone, {0, 100}, Stretch{100, 0}}},
      {"higher", 130, true, false, {kNone, {30, 100}, Stretch{130, 0}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(backgroundSections(100, c.topSectionHeight, c.hasBottom,
                                 c.hasSeparator),
              c.expected);
  }
}

TEST(ResizedHeight, StaysBetweenTheFittingHeightAndTheScreen) {
  const struct {
    double start, dragged, fitting;
    std::optional<double> screen;
    double expected;
  } cases[] = {
      {300, 50, 100, 1000, 350},
      {300, -50, 100, 1000, 250},
      {300, -250, 100, 1000, 100},
      {300, 501, 100, 1000, 800},
      {300, 400, 100, std::nullopt, 640},
      {300, 0, 900, 1000, 800},  // the screen counts for more
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.start << " and " << c.dragged);
    EXPECT_EQ(resizedHeight(c.start, c.dragged, c.fitting, c.screen),
              c.expected);
  }
}

}  // namespace
}  // namespace quillhaven::ui::internal
