// The Develop menu of the gallery.
#ifndef QUILLHAVEN_CLI_GALLERY_DEVELOP_MENU_H_
#define QUILLHAVEN_CLI_GALLERY_DEVELOP_MENU_H_

#include <QList>
#include <QMainWindow>
#include <QMenu>
#include <QString>
#include <functional>
#include <memory>

namespace quillhaven::gallery {

// A window that can be shown for its picture.
struct DevelopWindow {
  QString name;  // of its picture's file
  std::function<std::unique_ptr<QWidget>()> make;
};

// The menu with all its groups, with a delegate that tells in the window's
// status bar what it is asked. Its switches and test accounts are in user
// defaults and a keychain of its own, which are thrown away. Main thread only.
class DevelopMenu {
 public:
  // Adds the menu to the window's menu bar.
  explicit DevelopMenu(QMainWindow& window);
  DevelopMenu(const DevelopMenu&) = delete;
  DevelopMenu& operator=(const DevelopMenu&) = delete;
  ~DevelopMenu();

  // Null in a build without the developer tools.
  [[nodiscard]] QMenu* menu() const;

  // The sheets and alerts that the menu leads to.
  [[nodiscard]] QList<DevelopWindow> windows() const;

 private:
  class Private;

  std::unique_ptr<Private> d;
};

}  // namespace quillhaven::gallery

#endif  // QUILLHAVEN_CLI_GALLERY_DEVELOP_MENU_H_
