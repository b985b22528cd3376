// The content of a popover: two background colours, a badge, and an edge to
// resize the popover with.
#ifndef QUILLHAVEN_UI_COLORED_POPOVER_VIEW_H_
#define QUILLHAVEN_UI_COLORED_POPOVER_VIEW_H_

#include <QColor>
#include <QPixmap>
#include <QWidget>
#include <memory>

#include "quillhaven/ui/colored_background_view.h"

namespace quillhaven::ui {

// A popover is any window, commonly a QWidget with Qt::Popup, that this view
// fills but for the window's contents margins. When the view gets into a window
// it puts its background view behind everything else there, over all of the
// window. Main thread only.
class ColoredPopoverView : public QWidget {
  Q_OBJECT
  Q_PROPERTY(QWidget* resizablePopover READ resizablePopover WRITE
                 setResizablePopover NOTIFY resizablePopoverChanged)
  Q_PROPERTY(QPixmap badgeImage READ badgeImage WRITE setBadgeImage RESET
                 resetBadgeImage NOTIFY badgeImageChanged)
  Q_PROPERTY(QColor topBackgroundColor READ topBackgroundColor WRITE
                 setTopBackgroundColor NOTIFY topBackgroundColorChanged)
  Q_PROPERTY(double topSectionHeight READ topSectionHeight WRITE
                 setTopSectionHeight NOTIFY topSectionHeightChanged)
  Q_PROPERTY(QColor bottomBackgroundColor READ bottomBackgroundColor WRITE
                 setBottomBackgroundColor RESET resetBottomBackgroundColor
                     NOTIFY bottomBackgroundColorChanged)

 public:
  explicit ColoredPopoverView(QWidget* parent = nullptr);
  ~ColoredPopoverView() override;

  // The window that the lowest 10 points of this view resize when they are
  // dragged; null, as at first, when none is, and once it is destroyed. Its
  // height goes from this view's minimum to 80 % of the primary screen's; its
  // width stays this view's.
  [[nodiscard]] QWidget* resizablePopover() const;
  void setResizablePopover(QWidget* popover);

  // Shown at half its size in the bottom left corner; null, as at first, for
  // none.
  [[nodiscard]] QPixmap badgeImage() const;
  void resetBadgeImage() { setBadgeImage({}); }

  // As those of ColoredBackgroundView, but for the default at the top, which is
  // mintControl(). They are handed on to backgroundView().
  [[nodiscard]] QColor topBackgroundColor() const;
  [[nodiscard]] double topSectionHeight() const;
  [[nodiscard]] QColor bottomBackgroundColor() const;
  void resetBottomBackgroundColor() { setBottomBackgroundColor({}); }

  // Lives as long as this view, which owns it wherever it lies.
  [[nodiscard]] ColoredBackgroundView* backgroundView() const;

 public Q_SLOTS:
  void setBadgeImage(const QPixmap& image);
  void setTopBackgroundColor(const QColor& color);
  void setTopSectionHeight(double height);
  void setBottomBackgroundColor(const QColor& color);

 Q_SIGNALS:
  void resizablePopoverChanged(QWidget* popover);
  void badgeImageChanged(const QPixmap& image);
  void topBackgroundColorChanged(const QColor& color);
  void topSectionHeightChanged(double height);
  void bottomBackgroundColorChanged(const QColor& color);

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  class Private;

  std::unique_ptr<Private> d;
};

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_COLORED_POPOVER_VIEW_H_
