// In place of develop_menu.cc in a build without the developer tools.
#include "cli/gallery/develop_menu.h"

namespace quillhaven::gallery {

class DevelopMenu::Private {};

DevelopMenu::DevelopMenu(QMainWindow& /*window*/) {}

DevelopMenu::~DevelopMenu() = default;

QMenu* DevelopMenu::menu() const { return nullptr; }

QList<DevelopWindow> DevelopMenu::windows() const { return {}; }

}  // namespace quillhaven::gallery
