#include "quillhaven/ui/alerts.h"

#include <QPointer>
#include <QPushButton>

#include "quillhaven/ui/internal/synchronous_sheet.h"

namespace quillhaven::ui {
namespace internal {

SynchronousSheet::SynchronousSheet(QMessageBox& alert)
    : buttons_(buttonsInOrder(alert)), response_(kAlertAborted) {
  for (QAbstractButton* button : buttons_) {
    connect(button, &QAbstractButton::clicked, this,
            [this, button] { stopSynchronousSheet(button); });
  }
  // An alert that goes without a click of a button. A click comes first.
  connect(&alert, &QDialog::finished, this, &SynchronousSheet::abort);
}

int SynchronousSheet::run() {
  loop_.exec(QEventLoop::DialogExec);
  return response_;
}

void SynchronousSheet::stopSynchronousSheet(const QObject* sender) {
  const auto* const button = qobject_cast<const QAbstractButton*>(sender);
  if (button == nullptr) return;
  const auto index = buttons_.indexOf(button);
  response_ =
      kAlertFirstButtonResponse + (index < 0 ? 0 : static_cast<int>(index));
  loop_.quit();
}

void SynchronousSheet::abort() { loop_.quit(); }

QList<QAbstractButton*> buttonsInOrder(const QMessageBox& alert) {
  const QList<QAbstractButton*> shown = alert.buttons();
  QList<QAbstractButton*> buttons;
  // Children stand in the order in which they came.
  for (auto* child : alert.findChildren<QAbstractButton*>()) {
    if (shown.contains(child)) buttons.append(child);
  }
  return buttons;
}

}  // namespace internal

namespace {

// Gives the keys Return and Escape to buttons as an alert does, which is never
// without one.
void prepareButtons(QMessageBox& alert) {
  if (alert.buttons().isEmpty()) alert.addButton(QMessageBox::Ok);
  for (auto* button : internal::buttonsInOrder(alert)) {
    auto* const pushButton = qobject_cast<QPushButton*>(button);
    if (alert.defaultButton() == nullptr && pushButton != nullptr) {
      alert.setDefaultButton(pushButton);
    }
    if (alert.escapeButton() == nullptr &&
        button->text().remove(u'&') == QLatin1String("Cancel")) {
      alert.setEscapeButton(button);
    }
  }
}

// Puts a sheet on a window, and back to where it was; also when the window is
// destroyed meanwhile, which would take the sheet along.
class Attachment {
 public:
  Attachment(QMessageBox& alert, QWidget* window)
      : alert_(alert),
        parent_(alert.parentWidget()),
        flags_(alert.windowFlags()),
        modality_(alert.windowModality()) {
    if (window == nullptr) {
      alert.setWindowModality(Qt::ApplicationModal);
      return;
    }
    alert.setParent(window->window(), Qt::Sheet | Qt::Dialog);
    alert.setWindowModality(Qt::WindowModal);
    destruction_ = QObject::connect(window->window(), &QObject::destroyed,
                                    &alert, [this] { detach(nullptr); });
  }
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;
  ~Attachment() {
    QObject::disconnect(destruction_);
    detach(parent_);
  }

 private:
  void detach(QWidget* parent) {
    if (alert_.isVisible()) alert_.done(kAlertAborted);
    alert_.setParent(parent, flags_);
    alert_.setWindowModality(modality_);
  }

  QMessageBox& alert_;
  QPointer<QWidget> parent_;
  Qt::WindowFlags flags_;
  Qt::WindowModality modality_;
  QMetaObject::Connection destruction_;
};

}  // namespace

int runModalSheet(QMessageBox& alert, QWidget* window) {
  prepareButtons(alert);
  internal::SynchronousSheet sheet(alert);
  const Attachment attachment(alert, window);
  alert.show();
  return sheet.run();
}

int runModal(QMessageBox& alert) { return runModalSheet(alert, nullptr); }

}  // namespace quillhaven::ui
