// The product's colours: four brand hues in control, dark, darker and
// background shades, two translucent backgrounds, and helpers for a colour's
// brightness.
#ifndef QUILLHAVEN_UI_PALETTE_H_
#define QUILLHAVEN_UI_PALETTE_H_

#include <QColor>

namespace quillhaven::ui {

// The palette, in sRGB and opaque unless said otherwise. It is the same in a
// light and in a dark appearance. Each colour is made on first use and lives as
// long as the process; any thread may ask.
const QColor& mintControl();
const QColor& royalControl();
const QColor& rustControl();
const QColor& sandControl();
const QColor& mintDarkControl();
const QColor& royalDarkControl();
const QColor& rustDarkControl();
const QColor& sandDarkControl();
const QColor& mintDarkerControl();
const QColor& royalDarkerControl();
const QColor& rustDarkerControl();
const QColor& sandDarkerControl();
const QColor& mintBackground();
const QColor& royalBackground();
const QColor& rustBackground();
const QColor& sandBackground();
// sandDarkerControl and royalDarkerControl at 35 % opacity. Callers know the
// two by these spellings.
const QColor& noteBackgrond();
const QColor& taskBackgrond();

// Returns the sRGB colour of three components from 0 to 255 and an opacity from
// 0 to 1. What lies outside is moved to the nearer end.
[[nodiscard]] QColor rgbColor(int r, int g, int b, double a);

// Return `color` with its brightness (the B of HSB) raised or lowered by a part
// of itself. An amount above 1 is a percentage, any other a fraction: 1 and 100
// both mean all of it, 0.5 and 50 half, 2 means two hundredths. Hue, saturation
// and opacity stay, also where the brightness becomes 0; a brightness above 1
// becomes 1. An invalid colour stays invalid.
[[nodiscard]] QColor lighten(const QColor& color, double by);
[[nodiscard]] QColor darken(const QColor& color, double by);

// Returns whether the brightness of `color` is above 0.7. An invalid colour is
// not light.
[[nodiscard]] bool isLightColor(const QColor& color);

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_PALETTE_H_
