// The geometry of the product's views, in points from the top left corner.
#ifndef QUILLHAVEN_UI_INTERNAL_VIEW_GEOMETRY_H_
#define QUILLHAVEN_UI_INTERNAL_VIEW_GEOMETRY_H_

#include <optional>

#include "quillhaven/ui/values.h"

namespace quillhaven::ui::internal {

// A stretch over the whole width of a view, which clips it.
struct Stretch {
  double top = 0;
  double height = 0;

  friend bool operator==(const Stretch&, const Stretch&) = default;
};

// What a ColoredBackgroundView with a top colour fills, in this order.
struct BackgroundSections {
  std::optional<Stretch> separator;
  Stretch top;
  std::optional<Stretch> bottom;

  friend bool operator==(const BackgroundSections&,
                         const BackgroundSections&) = default;
};

// Returns the sections of a view of `height` points. With a `topSectionHeight`
// of 0 or less a bottom section takes half of the view, else there is but the
// top.
[[nodiscard]] BackgroundSections backgroundSections(double height,
                                                    double topSectionHeight,
                                                    bool hasBottom,
                                                    bool hasSeparator);

// How far from its bottom edge a resizable popover can be taken hold of.
inline constexpr int kResizeStripHeight = 10;

// Returns the height of a popover's content that was `startHeight` high when
// the mouse was `dragged` points higher up than it is now: at least
// `fittingHeight`, but never more than 80 % of the screen, or 640 where there
// is none.
[[nodiscard]] double resizedHeight(double startHeight, double dragged,
                                   double fittingHeight,
                                   std::optional<double> screenHeight);

}  // namespace quillhaven::ui::internal

#endif  // QUILLHAVEN_UI_INTERNAL_VIEW_GEOMETRY_H_
