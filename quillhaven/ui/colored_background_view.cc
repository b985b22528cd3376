#include "quillhaven/ui/colored_background_view.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <optional>

#include "quillhaven/ui/images.h"
#include "quillhaven/ui/internal/view_geometry.h"

namespace quillhaven::ui {

class ColoredBackgroundView::Private {
 public:
  // Absent as long as the library's own stand for them.
  std::optional<QColor> topBackgroundColor_;
  std::optional<QColor> topSeparatorColor_;
  QColor bottomBackgroundColor_;
  double topSectionHeight_ = 0;
  bool topSeparator_ = false;
};

ColoredBackgroundView::ColoredBackgroundView(QWidget* parent)
    : QWidget(parent), d(std::make_unique<Private>()) {}

ColoredBackgroundView::~ColoredBackgroundView() = default;

QColor ColoredBackgroundView::topBackgroundColor() const {
  if (d->topBackgroundColor_) return *d->topBackgroundColor_;
  return quillhavenUtilitiesColor(QStringLiteral("MsgBackgroundSuccess"),
                                  palette())
      .value_or(QColor());
}

void ColoredBackgroundView::setTopBackgroundColor(const QColor& color) {
  if (color == d->topBackgroundColor_) return;
  d->topBackgroundColor_ = color;
  update();
  Q_EMIT topBackgroundColorChanged(color);
}

void ColoredBackgroundView::resetTopBackgroundColor() {
  if (!d->topBackgroundColor_) return;
  d->topBackgroundColor_.reset();
  update();
  Q_EMIT topBackgroundColorChanged(topBackgroundColor());
}

double ColoredBackgroundView::topSectionHeight() const {
  return d->topSectionHeight_;
}

void ColoredBackgroundView::setTopSectionHeight(double height) {
  if (height == d->topSectionHeight_) return;
  d->topSectionHeight_ = height;
  update();
  Q_EMIT topSectionHeightChanged(height);
}

QColor ColoredBackgroundView::bottomBackgroundColor() const {
  return d->bottomBackgroundColor_;
}

void ColoredBackgroundView::setBottomBackgroundColor(const QColor& color) {
  if (color == d->bottomBackgroundColor_) return;
  d->bottomBackgroundColor_ = color;
  update();
  Q_EMIT bottomBackgroundColorChanged(color);
}

bool ColoredBackgroundView::topSeparator() const { return d->topSeparator_; }

void ColoredBackgroundView::setTopSeparator(bool isShown) {
  if (isShown == d->topSeparator_) return;
  d->topSeparator_ = isShown;
  update();
  Q_EMIT topSeparatorChanged(isShown);
}

QColor ColoredBackgroundView::topSeparatorColor() const {
  if (d->topSeparatorColor_) return *d->topSeparatorColor_;
  return quillhavenUtilitiesColor(QStringLiteral("BorderWeak"), palette())
      .value_or(QColor());
}

void ColoredBackgroundView::setTopSeparatorColor(const QColor& color) {
  if (color == d->topSeparatorColor_) return;
  d->topSeparatorColor_ = color;
  update();
  Q_EMIT topSeparatorColorChanged(color);
}

void ColoredBackgroundView::resetTopSeparatorColor() {
  if (!d->topSeparatorColor_) return;
  d->topSeparatorColor_.reset();
  update();
  Q_EMIT topSeparatorColorChanged(topSeparatorColor());
}

void ColoredBackgroundView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  // What a plain widget has only with a style sheet.
  QStyleOption option;
  option.initFrom(this);
  style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);

  const QColor top = topBackgroundColor();
  if (!top.isValid()) return;
  const QColor separator = topSeparatorColor();
  const bool hasSeparator = d->topSeparator_ && separator.isValid();
  const auto sections = internal::backgroundSections(
      height(), d->topSectionHeight_, d->bottomBackgroundColor_.isValid(),
      hasSeparator);
  const auto fill = [this, &painter](const internal::Stretch& stretch,
                                     const QColor& color) {
    painter.fillRect(QRectF(0, stretch.top, width(), stretch.height), color);
  };
  if (sections.separator) fill(*sections.separator, separator);
  fill(sections.top, top);
  if (sections.bottom) fill(*sections.bottom, d->bottomBackgroundColor_);
}

}  // namespace quillhaven::ui
