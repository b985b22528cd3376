#include "quillhaven/ui/palette.h"

#include <algorithm>

#include "quillhaven/ui/values.h"

namespace quillhaven::ui {
namespace {

constexpr double kBackgroundOpacity = 0.35;

// Absent hues (of greys) are -1 in Qt and stay so.
HueSaturationBrightness valuesOf(const QColor& color) {
  float hue = 0, saturation = 0, brightness = 0, alpha = 0;
  color.getHsvF(&hue, &saturation, &brightness, &alpha);
  return {hue, saturation, brightness, alpha};
}

QColor colorOf(const HueSaturationBrightness& values) {
  return QColor::fromHsvF(
      static_cast<float>(values.hue), static_cast<float>(values.saturation),
      static_cast<float>(values.brightness), static_cast<float>(values.alpha));
}

}  // namespace

const QColor& mintControl() {
  static const QColor color = rgbColor(150, 206, 188, 1);
  return color;
}

const QColor& royalControl() {
  static const QColor color = rgbColor(125, 155, 208, 1);
  return color;
}

const QColor& rustControl() {
  static const QColor color = rgbColor(219, 113, 113, 1);
  return color;
}

const QColor& sandControl() {
  static const QColor color = rgbColor(242, 194, 100, 1);
  return color;
}

const QColor& mintDarkControl() {
  static const QColor color = rgbColor(77, 163, 134, 1);
  return color;
}

const QColor& royalDarkControl() {
  static const QColor color = rgbColor(116, 149, 205, 1);
  return color;
}

const QColor& rustDarkControl() {
  static const QColor color = rgbColor(208, 67, 67, 1);
  return color;
}

const QColor& sandDarkControl() {
  static const QColor color = rgbColor(198, 137, 16, 1);
  return color;
}

const QColor& mintDarkerControl() {
  static const QColor color = rgbColor(60, 128, 107, 1);
  return color;
}

const QColor& royalDarkerControl() {
  static const QColor color = rgbColor(75, 117, 190, 1);
  return color;
}

const QColor& rustDarkerControl() {
  static const QColor color = rgbColor(163, 42, 41, 1);
  return color;
}

const QColor& sandDarkerControl() {
  static const QColor color = rgbColor(201, 157, 69, 1);
  return color;
}

const QColor& mintBackground() {
  static const QColor color = rgbColor(165, 213, 200, 1);
  return color;
}

const QColor& royalBackground() {
  static const QColor color = rgbColor(143, 172, 217, 1);
  return color;
}

const QColor& rustBackground() {
  static const QColor color = rgbColor(228, 135, 132, 1);
  return color;
}

const QColor& sandBackground() {
  static const QColor color = rgbColor(246, 204, 118, 1);
  return color;
}

const QColor& noteBackgrond() {
  static const QColor color = rgbColor(201, 157, 69, kBackgroundOpacity);
  return color;
}

const QColor& taskBackgrond() {
  static const QColor color = rgbColor(75, 117, 190, kBackgroundOpacity);
  return color;
}

QColor rgbColor(int r, int g, int b, double a) {
  QColor color(std::clamp(r, 0, 255), std::clamp(g, 0, 255),
               std::clamp(b, 0, 255));
  color.setAlphaF(static_cast<float>(std::clamp(a, 0.0, 1.0)));
  return color;
}

QColor lighten(const QColor& color, double by) {
  if (!color.isValid()) return color;
  return colorOf(lighten(valuesOf(color), by));
}

QColor darken(const QColor& color, double by) {
  if (!color.isValid()) return color;
  return colorOf(darken(valuesOf(color), by));
}

bool isLightColor(const QColor& color) {
  return color.isValid() && isLightColor(valuesOf(color));
}

}  // namespace quillhaven::ui
