#include "quillhaven/devtools/internal/input_sheet.h"

#include <QStyle>
#include <QVariant>
#include <QWidgetItem>
#include <algorithm>
#include <cstddef>

namespace quillhaven::devtools::internal {
namespace {

constexpr int kMargin = 20;         // to the edges, and above the buttons
constexpr int kBesideLabel = 10;    // label to field, field to button
constexpr int kBetweenLabels = 15;  // bottom of one to the top of the next
constexpr int kBetweenButtons = 12;
constexpr QSize kInitialSize(200, 100);

// A rectangle of this size whose centre is as high as that of `other`.
QRect centredOn(const QRect& other, int left, QSize size) {
  return {QPoint(left, other.top() + (other.height() - size.height()) / 2),
          size};
}

}  // namespace

InputSheetLayout::InputSheetLayout(QWidget* window) : QLayout(window) {
  setContentsMargins(0, 0, 0, 0);
}

void InputSheetLayout::take(QWidget* widget) {
  addChildWidget(widget);
  // The widget's own frame counts, not the one that its style would align.
  widget->setAttribute(Qt::WA_LayoutUsesWidgetRect);
  items_.push_back(std::make_unique<QWidgetItem>(widget));
  invalidate();
}

void InputSheetLayout::addRow(QLabel* label, QLineEdit* field,
                              int minimumFieldWidth, QPushButton* button) {
  take(label);
  take(field);
  if (button) take(button);
  rows_.push_back({label, field, minimumFieldWidth, button});
}

void InputSheetLayout::setButtons(QPushButton* cancel, QPushButton* accept) {
  take(accept);
  take(cancel);
  accept_ = accept;
  cancel_ = cancel;
}

void InputSheetLayout::addItem(QLayoutItem* item) { items_.emplace_back(item); }

int InputSheetLayout::count() const { return static_cast<int>(items_.size()); }

QLayoutItem* InputSheetLayout::itemAt(int index) const {
  return index >= 0 && index < count()
             ? items_[static_cast<std::size_t>(index)].get()
             : nullptr;
}

QLayoutItem* InputSheetLayout::takeAt(int index) {
  if (itemAt(index) == nullptr) return nullptr;
  const auto at = items_.begin() + index;
  QLayoutItem* const item = at->release();
  items_.erase(at);
  return item;
}

std::vector<InputSheetLayout::RowFrames> InputSheetLayout::rowFrames(
    int width) const {
  std::vector<RowFrames> frames;
  int top = kMargin;
  for (const Row& row : rows_) {
    RowFrames frame;
    frame.label = QRect(QPoint(kMargin, top), row.label->sizeHint());
    const int left = kMargin + frame.label.width() + kBesideLabel;
    int right = width - kMargin;
    if (row.button) {
      const QSize size = row.button->sizeHint();
      frame.button = centredOn(frame.label, right - size.width(), size);
      right -= size.width() + kBesideLabel;
    }
    frame.field = centredOn(frame.label, left,
                            {std::max(right - left, row.minimumFieldWidth),
                             row.field->sizeHint().height()});
    top += frame.label.height() + kBetweenLabels;
    frames.push_back(frame);
  }
  return frames;
}

QSize InputSheetLayout::sizeHint() const {
  const QSize accept = accept_ ? accept_->sizeHint() : QSize(0, 0);
  const QSize cancel = cancel_ ? cancel_->sizeHint() : QSize(0, 0);
  // Nothing is said about what is before the buttons.
  int width = accept.width() + cancel.width() + kBetweenButtons + kMargin;
  for (const Row& row : rows_) {
    int needed = row.label->sizeHint().width() + row.minimumFieldWidth +
                 kBesideLabel + 2 * kMargin;
    if (row.button) needed += kBesideLabel + row.button->sizeHint().width();
    width = std::max(width, needed);
  }
  if (rows_.empty()) {
    return kInitialSize.expandedTo({width, accept.height() + 2 * kMargin});
  }
  const QRect lastField = rowFrames(width).back().field;
  return {width,
          lastField.y() + lastField.height() + accept.height() + 2 * kMargin};
}

QSize InputSheetLayout::minimumSize() const { return sizeHint(); }

Qt::Orientations InputSheetLayout::expandingDirections() const { return {}; }

void InputSheetLayout::setGeometry(const QRect& rect) {
  QLayout::setGeometry(rect);
  // Leading is on the right where text runs from right to left.
  const auto place = [&](QWidget* widget, const QRect& frame) {
    widget->setGeometry(QStyle::visualRect(parentWidget()->layoutDirection(),
                                           rect,
                                           frame.translated(rect.topLeft())));
  };
  const std::vector<RowFrames> frames = rowFrames(rect.width());
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    place(rows_[i].label, frames[i].label);
    place(rows_[i].field, frames[i].field);
    if (rows_[i].button) place(rows_[i].button, frames[i].button);
  }
  if (!accept_ || !cancel_) return;
  const QSize size = accept_->sizeHint();
  const QRect accept(QPoint(rect.width() - kMargin - size.width(),
                            rect.height() - kMargin - size.height()),
                     size);
  const int cancelWidth = cancel_->sizeHint().width();
  place(accept_, accept);
  place(cancel_, {accept.x() - kBetweenButtons - cancelWidth, accept.y(),
                  cancelWidth, accept.height()});
}

QWidget* viewWithTag(const QWidget& window, int tag) {
  const QList<QWidget*> views = window.findChildren<QWidget*>();
  const auto found =
      std::find_if(views.begin(), views.end(), [tag](const QWidget* view) {
        const QVariant value = view->property(kTagProperty);
        return value.isValid() && value.toInt() == tag;
      });
  return found == views.end() ? nullptr : *found;
}

}  // namespace quillhaven::devtools::internal
