// The loop in which an alert waits for one of its buttons.
#ifndef QUILLHAVEN_UI_INTERNAL_SYNCHRONOUS_SHEET_H_
#define QUILLHAVEN_UI_INTERNAL_SYNCHRONOUS_SHEET_H_

#include <QAbstractButton>
#include <QEventLoop>
#include <QList>
#include <QMessageBox>

namespace quillhaven::ui::internal {

// Main thread only.
class SynchronousSheet : public QObject {
  Q_OBJECT

 public:
  explicit SynchronousSheet(QMessageBox& alert);

  // Serves events until stopSynchronousSheet() or abort(); returns the
  // response.
  int run();

  // Stops the loop with the response of `sender`, a button of the alert; one of
  // another alert counts as the first. What is no button does nothing.
  void stopSynchronousSheet(const QObject* sender);

  void abort();

 private:
  QList<QAbstractButton*> buttons_;  // in the order of adding
  QEventLoop loop_;
  int response_;
};

// Returns the buttons of `alert` in the order in which they were added. Qt's
// own list follows the places that the desktop gives to their roles.
[[nodiscard]] QList<QAbstractButton*> buttonsInOrder(const QMessageBox& alert);

}  // namespace quillhaven::ui::internal

#endif  // QUILLHAVEN_UI_INTERNAL_SYNCHRONOUS_SHEET_H_
