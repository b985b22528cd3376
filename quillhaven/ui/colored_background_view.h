// A background of two colours, one above the other.
#ifndef QUILLHAVEN_UI_COLORED_BACKGROUND_VIEW_H_
#define QUILLHAVEN_UI_COLORED_BACKGROUND_VIEW_H_

#include <QColor>
#include <QWidget>
#include <memory>

namespace quillhaven::ui {

// Fills its top section, and with a bottom colour the rest, too. Main thread
// only.
class ColoredBackgroundView : public QWidget {
  Q_OBJECT
  Q_PROPERTY(QColor topBackgroundColor READ topBackgroundColor WRITE
                 setTopBackgroundColor RESET resetTopBackgroundColor NOTIFY
                     topBackgroundColorChanged)
  Q_PROPERTY(double topSectionHeight READ topSectionHeight WRITE
                 setTopSectionHeight NOTIFY topSectionHeightChanged)
  Q_PROPERTY(QColor bottomBackgroundColor READ bottomBackgroundColor WRITE
                 setBottomBackgroundColor RESET resetBottomBackgroundColor
                     NOTIFY bottomBackgroundColorChanged)
  Q_PROPERTY(bool topSeparator READ topSeparator WRITE setTopSeparator NOTIFY
                 topSeparatorChanged)
  Q_PROPERTY(
      QColor topSeparatorColor READ topSeparatorColor WRITE setTopSeparatorColor
          RESET resetTopSeparatorColor NOTIFY topSeparatorColorChanged)

 public:
  explicit ColoredBackgroundView(QWidget* parent = nullptr);
  ~ColoredBackgroundView() override;

  // The library's colour "MsgBackgroundSuccess" in the present appearance until
  // another is set. An invalid colour is none, and then nothing at all is
  // drawn: a bottom colour only ever complements one for the top.
  [[nodiscard]] QColor topBackgroundColor() const;
  void resetTopBackgroundColor();

  // In points. With 0, as at first, or less the top section is the upper half
  // if there is a bottom colour, else all of the view.
  [[nodiscard]] double topSectionHeight() const;

  // An invalid colour, as at first, is none.
  [[nodiscard]] QColor bottomBackgroundColor() const;
  void resetBottomBackgroundColor() { setBottomBackgroundColor({}); }

  // Whether a line of 1 point lies below a top section with a height; false at
  // first. A bottom colour is drawn over it.
  [[nodiscard]] bool topSeparator() const;

  // The library's colour "BorderWeak" in the present appearance until another
  // is set. An invalid colour is none: no line is drawn.
  [[nodiscard]] QColor topSeparatorColor() const;
  void resetTopSeparatorColor();

 public Q_SLOTS:
  void setTopBackgroundColor(const QColor& color);
  void setTopSectionHeight(double height);
  void setBottomBackgroundColor(const QColor& color);
  void setTopSeparator(bool isShown);
  void setTopSeparatorColor(const QColor& color);

 Q_SIGNALS:
  void topBackgroundColorChanged(const QColor& color);
  void topSectionHeightChanged(double height);
  void bottomBackgroundColorChanged(const QColor& color);
  void topSeparatorChanged(bool isShown);
  void topSeparatorColorChanged(const QColor& color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  class Private;

  std::unique_ptr<Private> d;
};

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_COLORED_BACKGROUND_VIEW_H_
