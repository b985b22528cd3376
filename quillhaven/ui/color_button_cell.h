// A button with a colour of its own.
#ifndef QUILLHAVEN_UI_COLOR_BUTTON_CELL_H_
#define QUILLHAVEN_UI_COLOR_BUTTON_CELL_H_

#include <QColor>
#include <QPushButton>
#include <memory>

namespace quillhaven::ui {

// A push button whose bezel is a rounded rectangle of `bezelColor`, darker by
// 12 % of its brightness while pressed and at 30 % opacity while disabled; the
// style draws none. Its title is drawn by the style in `titleColor`, at 50 %
// opacity while disabled, inset by the paddings. Lengths are in points. Main
// thread only.
class ColorButtonCell : public QPushButton {
  Q_OBJECT
  Q_PROPERTY(QColor bezelColor READ bezelColor WRITE setBezelColor RESET
                 resetBezelColor NOTIFY bezelColorChanged)
  Q_PROPERTY(double cornerRadius READ cornerRadius WRITE setCornerRadius NOTIFY
                 cornerRadiusChanged)
  Q_PROPERTY(QColor titleColor READ titleColor WRITE setTitleColor RESET
                 resetTitleColor NOTIFY titleColorChanged)
  // Before the two that it sets, so that a form with all three keeps them.
  Q_PROPERTY(double padding READ padding WRITE setPadding NOTIFY paddingChanged)
  Q_PROPERTY(double horizontalPadding READ horizontalPadding WRITE
                 setHorizontalPadding NOTIFY horizontalPaddingChanged)
  Q_PROPERTY(double verticalPadding READ verticalPadding WRITE
                 setVerticalPadding NOTIFY verticalPaddingChanged)

 public:
  explicit ColorButtonCell(QWidget* parent = nullptr);
  explicit ColorButtonCell(const QString& text, QWidget* parent = nullptr);
  ColorButtonCell(const QIcon& icon, const QString& text,
                  QWidget* parent = nullptr);
  ~ColorButtonCell() override;

  // An invalid colour, as at first, is none: no bezel is drawn.
  [[nodiscard]] QColor bezelColor() const;
  void resetBezelColor() { setBezelColor({}); }

  // 3 at first.
  [[nodiscard]] double cornerRadius() const;
  void setCornerRadius(double radius);

  // An invalid colour, as at first, is none: that of the style.
  [[nodiscard]] QColor titleColor() const;
  void resetTitleColor() { setTitleColor({}); }

  // Left and right of the title, 0 at first. The size hint grows by both.
  [[nodiscard]] double horizontalPadding() const;
  void setHorizontalPadding(double padding);

  // Above and below the title, 0 at first. The size hint does not grow.
  [[nodiscard]] double verticalPadding() const;
  void setVerticalPadding(double padding);

  // What was last set here, 0 at first, whatever the two above are now.
  [[nodiscard]] double padding() const;
  // Sets all three.
  void setPadding(double padding);

  [[nodiscard]] QSize sizeHint() const override;

 public Q_SLOTS:
  void setBezelColor(const QColor& color);
  void setTitleColor(const QColor& color);

 Q_SIGNALS:
  void bezelColorChanged(const QColor& color);
  void cornerRadiusChanged(double radius);
  void titleColorChanged(const QColor& color);
  void paddingChanged(double padding);
  void horizontalPaddingChanged(double padding);
  void verticalPaddingChanged(double padding);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  class Private;

  std::unique_ptr<Private> d;
};

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_COLOR_BUTTON_CELL_H_
