#include "quillhaven/ui/internal/view_geometry.h"

#include <algorithm>

namespace quillhaven::ui::internal {
namespace {

constexpr double kSeparatorHeight = 1;
constexpr double kPartOfScreen = 0.8;
constexpr double kHeightWithoutScreen = 640;

}  // namespace

BackgroundSections backgroundSections(double height, double topSectionHeight,
                                      bool hasBottom, bool hasSeparator) {
  BackgroundSections sections;
  // Where the top section ends. It keeps the full height of the view and begins
  // above it, so that a section higher than the view leaves its top free;
  // deliberate.
  double end = height;
  if (topSectionHeight > 0) {
    end = topSectionHeight;
  } else if (hasBottom) {
    end = height / 2;
  }
  sections.top = {end - height, height};
  // Below it, where a bottom section is drawn over it; deliberate.
  if (topSectionHeight > 0 && hasSeparator) {
    sections.separator = Stretch{end, kSeparatorHeight};
  }
  if (hasBottom) sections.bottom = Stretch{end, std::max(height - end, 0.0)};
  return sections;
}

double resizedHeight(double startHeight, double dragged, double fittingHeight,
                     std::optional<double> screenHeight) {
  const double most =
      screenHeight ? *screenHeight * kPartOfScreen : kHeightWithoutScreen;
  return std::min(most, std::max(startHeight + dragged, fittingHeight));
}

}  // namespace quillhaven::ui::internal
