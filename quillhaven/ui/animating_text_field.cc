#include "quillhaven/ui/animating_text_field.h"

#include <QEasingCurve>
#include <QEvent>
#include <QFontMetricsF>
#include <QList>
#include <QPainter>
#include <QStyle>
#include <QVariantAnimation>
#include <cmath>

namespace quillhaven::ui {
namespace {

constexpr int kFadeMilliseconds = 250;

// What is less opaque than this shows on no screen.
constexpr double kLeastOpacity = 1.0 / 255;

// A text on its way out.
struct FadingText {
  QString text;
  double opacity;  // when the fade under way began
};

}  // namespace

class AnimatingTextField::Private {
 public:
  explicit Private(AnimatingTextField& field) : fade_(&field) {
    fade_.setDuration(kFadeMilliseconds);
    fade_.setEasingCurve(QEasingCurve::InOutQuad);
    fade_.setStartValue(0.0);
    fade_.setEndValue(1.0);
    connect(&fade_, &QVariantAnimation::valueChanged, &field,
            [&field] { field.update(); });
    connect(&fade_, &QVariantAnimation::finished, &field, [this, &field] {
      leaving_.clear();
      field.update();
    });
  }

  // How much of the present text is seen.
  [[nodiscard]] double opacity() const {
    return isFading() ? fade_.currentValue().toDouble() : 1;
  }

  // How much of the leaving ones is left.
  [[nodiscard]] double remainder() const { return 1 - opacity(); }

  [[nodiscard]] bool isFading() const {
    return fade_.state() != QAbstractAnimation::Stopped;
  }

  // Lets the present text leave, and those that are leaving go on from where
  // they are.
  void startFade() {
    const double left = remainder();
    for (FadingText& leaving : leaving_) leaving.opacity *= left;
    leaving_.append({stringValue_, opacity()});
    leaving_.removeIf([](const FadingText& leaving) {
      return leaving.opacity < kLeastOpacity;
    });
    fade_.stop();
    fade_.start();
  }

  void endFade() {
    fade_.stop();
    leaving_.clear();
  }

  QString stringValue_ = QStringLiteral("Label");
  QColor textColor_;
  Qt::Alignment textAlignment_ = Qt::AlignLeft;
  QSizeF textLayerSize_ = QSizeF(0, 0);
  QList<FadingText> leaving_;

 private:
  QVariantAnimation fade_;
};

AnimatingTextField::AnimatingTextField(QWidget* parent)
    : QWidget(parent), d(std::make_unique<Private>(*this)) {}

AnimatingTextField::~AnimatingTextField() = default;

QString AnimatingTextField::stringValue() const { return d->stringValue_; }

void AnimatingTextField::setStringValue(const QString& text) {
  if (text == d->stringValue_) return;
  const bool isAnimated =
      isVisible() && style()->styleHint(QStyle::SH_Widget_Animation_Duration,
                                        nullptr, this) > 0;
  if (isAnimated) d->startFade();
  d->stringValue_ = text;
  measure();
  update();
  Q_EMIT stringValueChanged(text);
}

QColor AnimatingTextField::textColor() const { return d->textColor_; }

void AnimatingTextField::setTextColor(const QColor& color) {
  if (color == d->textColor_) return;
  d->textColor_ = color;
  update();
  Q_EMIT textColorChanged(color);
}

Qt::Alignment AnimatingTextField::textAlignment() const {
  return d->textAlignment_;
}

void AnimatingTextField::setTextAlignment(Qt::Alignment alignment) {
  if (alignment == d->textAlignment_) return;
  d->textAlignment_ = alignment;
  measure();
  update();
  Q_EMIT textAlignmentChanged(alignment);
}

QSizeF AnimatingTextField::intrinsicContentSize() const {
  return d->textLayerSize_;
}

QSize AnimatingTextField::sizeHint() const {
  return {static_cast<int>(std::ceil(d->textLayerSize_.width())),
          static_cast<int>(std::ceil(d->textLayerSize_.height()))};
}

QSize AnimatingTextField::minimumSizeHint() const { return sizeHint(); }

void AnimatingTextField::measure() {
  if (!testAttribute(Qt::WA_SetFont)) return;
  d->textLayerSize_ = QFontMetricsF(font(), this).size(0, d->stringValue_);
  updateGeometry();
}

void AnimatingTextField::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) measure();
  // Colours of the appearance, the font and whether it is enabled count when
  // it is drawn, and never fade.
  update();
  QWidget::changeEvent(event);
}

void AnimatingTextField::hideEvent(QHideEvent* event) {
  d->endFade();
  QWidget::hideEvent(event);
}

void AnimatingTextField::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setFont(font());
  painter.setPen(d->textColor_.isValid() ? d->textColor_
                                         : palette().color(foregroundRole()));
  const int flags = static_cast<int>(d->textAlignment_.toInt());
  for (const FadingText& leaving : d->leaving_) {
    painter.setOpacity(leaving.opacity * d->remainder());
    painter.drawText(rect(), flags, leaving.text);
  }
  painter.setOpacity(d->opacity());
  painter.drawText(rect(), flags, d->stringValue_);
}

}  // namespace quillhaven::ui
