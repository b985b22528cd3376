// Alerts that return which button was chosen.
#ifndef QUILLHAVEN_UI_ALERTS_H_
#define QUILLHAVEN_UI_ALERTS_H_

#include <QMessageBox>
#include <QWidget>

namespace quillhaven::ui {

// The response for the first button of an alert; the second is one more, and so
// on, in the order in which they were added.
inline constexpr int kAlertFirstButtonResponse = 1000;

// The response of an alert that went without a button: it was closed by code,
// its window was destroyed, or the application quit.
inline constexpr int kAlertAborted = -1001;

// Shows `alert` as a sheet on `window`, serves events until one of its buttons
// is chosen, hides it and returns the response of that button. Meanwhile the
// window takes no input. Return chooses the alert's default button, the first
// where none is set; Escape its escape button, the one called "Cancel" where
// none is set. Does not delete the alert, which is without a parent or with the
// one it had afterwards. A null `window` is none. Main thread only.
int runModalSheet(QMessageBox& alert, QWidget* window);

// The same without a window: the application takes no other input meanwhile.
int runModal(QMessageBox& alert);

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_ALERTS_H_
