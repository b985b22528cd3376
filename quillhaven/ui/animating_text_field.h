// A label whose text fades over into the next one.
#ifndef QUILLHAVEN_UI_ANIMATING_TEXT_FIELD_H_
#define QUILLHAVEN_UI_ANIMATING_TEXT_FIELD_H_

#include <QColor>
#include <QSizeF>
#include <QString>
#include <QWidget>
#include <memory>

namespace quillhaven::ui {

// Draws `stringValue` along the top of its rectangle. When the text changes
// while the label is shown, the old one fades out and the new one in, 250
// milliseconds long; not where the style shows no animations.
//
// The size hint is the size of the text measured last, which takes a font that
// was set on this very widget: as long as none is, the hint stays as it was, at
// first 0 by 0, and only the drawing uses the inherited font. Main thread only.
class AnimatingTextField : public QWidget {
  Q_OBJECT
  Q_PROPERTY(QString stringValue READ stringValue WRITE setStringValue NOTIFY
                 stringValueChanged USER true)
  Q_PROPERTY(QColor textColor READ textColor WRITE setTextColor RESET
                 resetTextColor NOTIFY textColorChanged)
  Q_PROPERTY(Qt::Alignment textAlignment READ textAlignment WRITE
                 setTextAlignment NOTIFY textAlignmentChanged)

 public:
  explicit AnimatingTextField(QWidget* parent = nullptr);
  ~AnimatingTextField() override;

  // "Label" at first. May have several lines.
  [[nodiscard]] QString stringValue() const;

  // An invalid colour, as at first, is none: that of the palette's text.
  [[nodiscard]] QColor textColor() const;
  void resetTextColor() { setTextColor({}); }

  // Left at first; the top of the rectangle where no vertical part is given.
  [[nodiscard]] Qt::Alignment textAlignment() const;
  void setTextAlignment(Qt::Alignment alignment);

  // The size of the text measured last, in points, not rounded.
  [[nodiscard]] QSizeF intrinsicContentSize() const;

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 public Q_SLOTS:
  void setStringValue(const QString& text);
  void setTextColor(const QColor& color);

 Q_SIGNALS:
  void stringValueChanged(const QString& text);
  void textColorChanged(const QColor& color);
  void textAlignmentChanged(Qt::Alignment alignment);

 protected:
  void changeEvent(QEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  class Private;

  void measure();

  std::unique_ptr<Private> d;
};

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_ANIMATING_TEXT_FIELD_H_
