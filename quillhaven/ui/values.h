// The arithmetic of the user interface, without any of its classes.
#ifndef QUILLHAVEN_UI_VALUES_H_
#define QUILLHAVEN_UI_VALUES_H_

namespace quillhaven::ui {

// A colour by hue, saturation, brightness and opacity, each from 0 to 1.
struct HueSaturationBrightness {
  double hue = 0;
  double saturation = 0;
  double brightness = 0;
  double alpha = 1;

  friend bool operator==(const HueSaturationBrightness&,
                         const HueSaturationBrightness&) = default;
};

// Return `color` with its brightness multiplied by 1 plus, or 1 minus, a
// fraction. An amount above 1 is a percentage of which the fraction is the
// hundredth part; any other amount is the fraction. A brightness outside 0 to 1
// is moved to the nearer end; hue, saturation and opacity stay.
[[nodiscard]] HueSaturationBrightness lighten(HueSaturationBrightness color,
                                              double by);
[[nodiscard]] HueSaturationBrightness darken(HueSaturationBrightness color,
                                             double by);

// Returns whether the brightness is above 0.7.
[[nodiscard]] bool isLightColor(const HueSaturationBrightness& color);

// Width and height in points (device-independent pixels).
struct Size {
  double width = 0;
  double height = 0;

  friend bool operator==(const Size&, const Size&) = default;
};

// Returns the largest size of `size`'s proportions that fits into `toSize`;
// `toSize` itself where the two are equal. A side that is 0 in `size` does not
// limit the other; of an empty size 0 by 0 is left.
[[nodiscard]] Size proportionallyScale(Size size, Size toSize);

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_VALUES_H_
