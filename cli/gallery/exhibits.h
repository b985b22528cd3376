// The parts of the gallery: every view of the library in its states.
#ifndef QUILLHAVEN_CLI_GALLERY_EXHIBITS_H_
#define QUILLHAVEN_CLI_GALLERY_EXHIBITS_H_

#include <QMessageBox>
#include <QString>
#include <QWidget>
#include <memory>

namespace quillhaven::gallery {

// One part: `name` is that of its picture's file.
struct Exhibit {
  QString name;
  QString title;
  QWidget* (*make)(QWidget* parent);
};

inline constexpr int kExhibitCount = 8;
extern const Exhibit kExhibits[kExhibitCount];

// Returns a popover that can be resized, not yet shown.
[[nodiscard]] std::unique_ptr<QWidget> makePopover(QWidget* parent);

// Returns an alert with three buttons, not yet shown.
[[nodiscard]] std::unique_ptr<QMessageBox> makeAlert(QWidget* parent);

// Lets the animated label of a part that was made and shown begin a fade, and
// stops it half way.
void holdFade(QWidget& exhibit);

}  // namespace quillhaven::gallery

#endif  // QUILLHAVEN_CLI_GALLERY_EXHIBITS_H_
