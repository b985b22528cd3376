#include "quillhaven/ui/color_button_cell.h"

#include <QStyleOptionButton>
#include <QStylePainter>
#include <algorithm>
#include <cmath>

#include "quillhaven/ui/palette.h"

namespace quillhaven::ui {
namespace {

constexpr double kPressedDarkening = 0.12;
constexpr float kDisabledBezelOpacity = 0.3F;
constexpr float kDisabledTitleOpacity = 0.5F;
constexpr double kFocusLineWidth = 1.5;

QColor withOpacity(QColor color, float opacity) {
  color.setAlphaF(opacity);
  return color;
}

}  // namespace

class ColorButtonCell::Private {
 public:
  explicit Private(const ColorButtonCell& button) : button_(button) {}

  [[nodiscard]] QColor activeBezelColor() const {
    if (!bezelColor_.isValid()) return bezelColor_;
    if (!button_.isEnabled()) {
      return withOpacity(bezelColor_, kDisabledBezelOpacity);
    }
    return button_.isDown() ? darken(bezelColor_, kPressedDarkening)
                            : bezelColor_;
  }

  [[nodiscard]] QColor activeTitleColor() const {
    if (!titleColor_.isValid() || button_.isEnabled()) return titleColor_;
    return withOpacity(titleColor_, kDisabledTitleOpacity);
  }

  void drawBezel(QPainter& painter, const QRectF& frame) const {
    const QColor color = activeBezelColor();
    if (!color.isValid()) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(frame, cornerRadius_, cornerRadius_);
    painter.restore();
  }

  // Draws the title, and the icon if there is one, into `frame`.
  void drawTitle(QStylePainter& painter, QStyleOptionButton option,
                 const QRect& frame) const {
    const QRectF inset =
        QRectF(frame).adjusted(horizontalPadding_, verticalPadding_,
                               -horizontalPadding_, -verticalPadding_);
    option.rect = inset.toRect();
    // A line that is higher than what is left stays whole, where it was.
    const int missing = option.fontMetrics.height() - option.rect.height();
    if (missing > 0) {
      option.rect.adjust(0, -missing / 2, 0, missing - missing / 2);
    }
    if (const QColor color = activeTitleColor(); color.isValid()) {
      option.palette.setColor(QPalette::ButtonText, color);
    }
    painter.drawControl(QStyle::CE_PushButtonLabel, option);
  }

  // What the style would draw with its own bezel.
  void drawFocus(QPainter& painter, const QRectF& frame,
                 const QPalette& palette) const {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(palette.color(QPalette::Highlight), kFocusLineWidth));
    const double inset = kFocusLineWidth / 2;
    painter.drawRoundedRect(frame.adjusted(inset, inset, -inset, -inset),
                            cornerRadius_, cornerRadius_);
    painter.restore();
  }

  const ColorButtonCell& button_;
  QColor bezelColor_;
  double cornerRadius_ = 3;
  QColor titleColor_;
  double horizontalPadding_ = 0;
  double verticalPadding_ = 0;
  double padding_ = 0;
};

ColorButtonCell::ColorButtonCell(QWidget* parent)
    : QPushButton(parent), d(std::make_unique<Private>(*this)) {}

ColorButtonCell::ColorButtonCell(const QString& text, QWidget* parent)
    : QPushButton(text, parent), d(std::make_unique<Private>(*this)) {}

ColorButtonCell::ColorButtonCell(const QIcon& icon, const QString& text,
                                 QWidget* parent)
    : QPushButton(icon, text, parent), d(std::make_unique<Private>(*this)) {}

ColorButtonCell::~ColorButtonCell() = default;

QColor ColorButtonCell::bezelColor() const { return d->bezelColor_; }

void ColorButtonCell::setBezelColor(const QColor& color) {
  if (color == d->bezelColor_) return;
  d->bezelColor_ = color;
  update();
  Q_EMIT bezelColorChanged(color);
}

double ColorButtonCell::cornerRadius() const { return d->cornerRadius_; }

void ColorButtonCell::setCornerRadius(double radius) {
  if (radius == d->cornerRadius_) return;
  d->cornerRadius_ = radius;
  update();
  Q_EMIT cornerRadiusChanged(radius);
}

QColor ColorButtonCell::titleColor() const { return d->titleColor_; }

void ColorButtonCell::setTitleColor(const QColor& color) {
  if (color == d->titleColor_) return;
  d->titleColor_ = color;
  update();
  Q_EMIT titleColorChanged(color);
}

double ColorButtonCell::horizontalPadding() const {
  return d->horizontalPadding_;
}

void ColorButtonCell::setHorizontalPadding(double padding) {
  if (padding == d->horizontalPadding_) return;
  d->horizontalPadding_ = padding;
  updateGeometry();
  update();
  Q_EMIT horizontalPaddingChanged(padding);
}

double ColorButtonCell::verticalPadding() const { return d->verticalPadding_; }

void ColorButtonCell::setVerticalPadding(double padding) {
  if (padding == d->verticalPadding_) return;
  d->verticalPadding_ = padding;
  update();
  Q_EMIT verticalPaddingChanged(padding);
}

double ColorButtonCell::padding() const { return d->padding_; }

void ColorButtonCell::setPadding(double padding) {
  const bool isChange = padding != d->padding_;
  d->padding_ = padding;
  // Also when this one is the same: they may have been set since.
  setHorizontalPadding(padding);
  setVerticalPadding(padding);
  if (isChange) Q_EMIT paddingChanged(padding);
}

QSize ColorButtonCell::sizeHint() const {
  const int more = static_cast<int>(std::ceil(2 * d->horizontalPadding_));
  return QPushButton::sizeHint() + QSize(more, 0);
}

void ColorButtonCell::paintEvent(QPaintEvent* /*event*/) {
  QStylePainter painter(this);
  QStyleOptionButton option;
  initStyleOption(&option);
  d->drawBezel(painter, rect());
  d->drawTitle(
      painter, option,
      style()->subElementRect(QStyle::SE_PushButtonContents, &option, this));
  if ((option.state & QStyle::State_HasFocus) != 0 &&
      (option.state & QStyle::State_KeyboardFocusChange) != 0) {
    d->drawFocus(painter, rect(), palette());
  }
}

}  // namespace quillhaven::ui
