#include "quillhaven/ui/values.h"

#include <algorithm>
#include <cmath>

namespace quillhaven::ui {
namespace {

constexpr double kBrightnessOfLight = 0.7;

// The two readings meet at 1: all of it.
double fractionOf(double amount) { return amount > 1 ? amount / 100 : amount; }

HueSaturationBrightness withBrightnessTimes(HueSaturationBrightness color,
                                            double factor) {
  color.brightness = std::clamp(color.brightness * factor, 0.0, 1.0);
  return color;
}

}  // namespace

HueSaturationBrightness lighten(HueSaturationBrightness color, double by) {
  return withBrightnessTimes(color, 1 + fractionOf(by));
}

HueSaturationBrightness darken(HueSaturationBrightness color, double by) {
  return withBrightnessTimes(color, 1 - fractionOf(by));
}

bool isLightColor(const HueSaturationBrightness& color) {
  return color.brightness > kBrightnessOfLight;
}

Size proportionallyScale(Size size, Size toSize) {
  if (size == toSize) return toSize;

  // A side of 0 gives an infinite ratio, which the other side's goes below.
  const double ratio =
      std::min(size.width > 0 ? toSize.width / size.width : HUGE_VAL,
               size.height > 0 ? toSize.height / size.height : HUGE_VAL);
  if (ratio == HUGE_VAL) return {};
  return {size.width * ratio, size.height * ratio};
}

}  // namespace quillhaven::ui
