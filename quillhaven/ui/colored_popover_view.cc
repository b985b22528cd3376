#include "quillhaven/ui/colored_popover_view.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPointer>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <optional>

#include "quillhaven/ui/internal/view_geometry.h"
#include "quillhaven/ui/palette.h"

namespace quillhaven::ui {
namespace {

std::optional<double> screenHeight() {
  const QScreen* const screen = QGuiApplication::primaryScreen();
  if (screen == nullptr) return std::nullopt;
  return screen->geometry().height();
}

// Sets the size of what `popover` holds within its margins.
void setContentSize(QWidget& popover, int width, int height) {
  const QSize margins = popover.size() - popover.contentsRect().size();
  popover.resize(QSize(width, height) + margins);
}

}  // namespace

class ColoredPopoverView::Private {
 public:
  explicit Private(ColoredPopoverView& view)
      : view_(view), backgroundView_(new ColoredBackgroundView(&view)) {
    backgroundView_->hide();
  }

  // Lays the background below everything else in the view's window.
  void moveToWindow() {
    backgroundView_->setTopBackgroundColor(topBackgroundColor_);
    backgroundView_->setTopSectionHeight(topSectionHeight_);
    backgroundView_->setBottomBackgroundColor(bottomBackgroundColor_);
    QWidget* const frame = view_.window();
    if (frame != frame_) {
      leaveFrame();
      frame_ = frame;
      backgroundView_->setParent(frame);
      if (frame != &view_) {
        frame->installEventFilter(&view_);
        // The window takes its children along; the background is not its own.
        destruction_ = connect(frame, &QObject::destroyed, &view_,
                               [this] { backgroundView_->setParent(&view_); });
      }
    }
    backgroundView_->setGeometry(frame->rect());
    backgroundView_->lower();
    backgroundView_->show();
  }

  void leaveFrame() {
    disconnect(destruction_);
    if (frame_ != nullptr) frame_->removeEventFilter(&view_);
  }

  [[nodiscard]] bool isFrame(const QObject* object) const {
    return object == frame_.data();
  }

  void fillFrame() {
    if (frame_ != nullptr) backgroundView_->setGeometry(frame_->rect());
  }

  [[nodiscard]] bool isInStrip(QPointF point) const {
    const QRectF strip(0, view_.height() - internal::kResizeStripHeight,
                       view_.width(), internal::kResizeStripHeight);
    return resizablePopover_ != nullptr && point.x() >= strip.left() &&
           point.x() < strip.right() && point.y() >= strip.top() &&
           point.y() < strip.bottom();
  }

  // Shows whether the popover can be taken hold of here.
  void setResizeCursor(bool isShown) {
    if (isShown == isResizeCursorShown_) return;
    isResizeCursorShown_ = isShown;
    if (isShown) {
      earlierCursor_.reset();
      if (view_.testAttribute(Qt::WA_SetCursor))
        earlierCursor_ = view_.cursor();
      view_.setCursor(Qt::SizeVerCursor);
    } else if (earlierCursor_) {
      view_.setCursor(*earlierCursor_);
    } else {
      view_.unsetCursor();
    }
  }

  // The least height in which all content has room.
  [[nodiscard]] int fittingHeight() const {
    return std::max(view_.minimumSizeHint().height(), view_.minimumHeight());
  }

  void resizePopover(double mouseY) {
    if (!dragStartLocation_ || !dragStartHeight_) return;
    const double height =
        internal::resizedHeight(*dragStartHeight_, mouseY - *dragStartLocation_,
                                fittingHeight(), screenHeight());
    setContentSize(*resizablePopover_, view_.width(),
                   static_cast<int>(std::lround(height)));
  }

  void showBadge() {
    if (badgeImage_.isNull()) {
      badgeImageView_.reset();
      return;
    }
    if (!badgeImageView_) {
      badgeImageView_ = std::make_unique<QLabel>(&view_);
      badgeImageView_->setScaledContents(true);
      badgeImageView_->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    badgeImageView_->setPixmap(badgeImage_);
    placeBadge();
    badgeImageView_->raise();
    badgeImageView_->show();
  }

  void placeBadge() {
    if (!badgeImageView_) return;
    const QSize size = (badgeImage_.deviceIndependentSize() / 2).toSize();
    badgeImageView_->setGeometry(0, view_.height() - size.height(),
                                 size.width(), size.height());
  }

  ColoredPopoverView& view_;
  QPointer<QWidget> resizablePopover_;
  std::unique_ptr<QLabel> badgeImageView_;
  QPixmap badgeImage_;
  std::optional<double> dragStartLocation_;  // y on the screen
  std::optional<double> dragStartHeight_;
  QColor topBackgroundColor_ = mintControl();
  double topSectionHeight_ = 0;
  QColor bottomBackgroundColor_;
  std::unique_ptr<ColoredBackgroundView> backgroundView_;

 private:
  QPointer<QWidget> frame_;  // the window that the background lies in
  QMetaObject::Connection destruction_;
  bool isResizeCursorShown_ = false;
  std::optional<QCursor> earlierCursor_;  // absent where none was set
};

ColoredPopoverView::ColoredPopoverView(QWidget* parent)
    : QWidget(parent), d(std::make_unique<Private>(*this)) {}

ColoredPopoverView::~ColoredPopoverView() { d->leaveFrame(); }

QWidget* ColoredPopoverView::resizablePopover() const {
  return d->resizablePopover_;
}

void ColoredPopoverView::setResizablePopover(QWidget* popover) {
  if (popover == d->resizablePopover_) return;
  d->resizablePopover_ = popover;
  setMouseTracking(popover != nullptr);  // for the cursor
  if (popover == nullptr) d->setResizeCursor(false);
  Q_EMIT resizablePopoverChanged(popover);
}

QPixmap ColoredPopoverView::badgeImage() const { return d->badgeImage_; }

void ColoredPopoverView::setBadgeImage(const QPixmap& image) {
  const bool isChange = image.cacheKey() != d->badgeImage_.cacheKey();
  d->badgeImage_ = image;
  d->showBadge();
  if (isChange) Q_EMIT badgeImageChanged(image);
}

QColor ColoredPopoverView::topBackgroundColor() const {
  return d->topBackgroundColor_;
}

void ColoredPopoverView::setTopBackgroundColor(const QColor& color) {
  const bool isChange = color != d->topBackgroundColor_;
  d->topBackgroundColor_ = color;
  d->backgroundView_->setTopBackgroundColor(color);
  if (isChange) Q_EMIT topBackgroundColorChanged(color);
}

double ColoredPopoverView::topSectionHeight() const {
  return d->topSectionHeight_;
}

void ColoredPopoverView::setTopSectionHeight(double height) {
  const bool isChange = height != d->topSectionHeight_;
  d->topSectionHeight_ = height;
  d->backgroundView_->setTopSectionHeight(height);
  if (isChange) Q_EMIT topSectionHeightChanged(height);
}

QColor ColoredPopoverView::bottomBackgroundColor() const {
  return d->bottomBackgroundColor_;
}

void ColoredPopoverView::setBottomBackgroundColor(const QColor& color) {
  const bool isChange = color != d->bottomBackgroundColor_;
  d->bottomBackgroundColor_ = color;
  d->backgroundView_->setBottomBackgroundColor(color);
  if (isChange) Q_EMIT bottomBackgroundColorChanged(color);
}

ColoredBackgroundView* ColoredPopoverView::backgroundView() const {
  return d->backgroundView_.get();
}

bool ColoredPopoverView::event(QEvent* event) {
  // Moved out of a window, the background stays there until it is moved into
  // another; deliberate.
  if (event->type() == QEvent::ParentChange && parentWidget() != nullptr) {
    d->moveToWindow();
  }
  return QWidget::event(event);
}

bool ColoredPopoverView::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize && d->isFrame(watched)) d->fillFrame();
  return QWidget::eventFilter(watched, event);
}

void ColoredPopoverView::leaveEvent(QEvent* event) {
  d->setResizeCursor(false);
  QWidget::leaveEvent(event);
}

void ColoredPopoverView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !d->isInStrip(event->position())) {
    QWidget::mousePressEvent(event);
    return;
  }
  d->dragStartLocation_ = event->globalPosition().y();
  d->dragStartHeight_ = d->resizablePopover_->contentsRect().height();
  event->accept();
}

void ColoredPopoverView::mouseMoveEvent(QMouseEvent* event) {
  if (d->resizablePopover_ == nullptr) {
    QWidget::mouseMoveEvent(event);
    return;
  }
  if (event->buttons() == Qt::NoButton) {
    d->setResizeCursor(d->isInStrip(event->position()));
    QWidget::mouseMoveEvent(event);
    return;
  }
  d->resizePopover(event->globalPosition().y());
}

void ColoredPopoverView::mouseReleaseEvent(QMouseEvent* event) {
  if (d->resizablePopover_ == nullptr) {
    QWidget::mouseReleaseEvent(event);
    return;
  }
  d->dragStartLocation_.reset();
  d->dragStartHeight_.reset();
}

void ColoredPopoverView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  d->placeBadge();
  if (d->isFrame(this)) d->fillFrame();
}

void ColoredPopoverView::showEvent(QShowEvent* event) {
  d->moveToWindow();
  QWidget::showEvent(event);
}

}  // namespace quillhaven::ui
