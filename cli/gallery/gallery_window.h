// The gallery's window.
#ifndef QUILLHAVEN_CLI_GALLERY_GALLERY_WINDOW_H_
#define QUILLHAVEN_CLI_GALLERY_GALLERY_WINDOW_H_

#include <QMainWindow>
#include <memory>

#include "cli/gallery/develop_menu.h"

namespace quillhaven::gallery {

// Shows every exhibit, with the menus. Main thread only.
class GalleryWindow : public QMainWindow {
 public:
  GalleryWindow();

  [[nodiscard]] const DevelopMenu& developMenu() const { return developMenu_; }

  // The widget of the exhibit with this name; null if there is none.
  [[nodiscard]] QWidget* exhibit(const QString& name) const;

 private:
  DevelopMenu developMenu_;
};

}  // namespace quillhaven::gallery

#endif  // QUILLHAVEN_CLI_GALLERY_GALLERY_WINDOW_H_
