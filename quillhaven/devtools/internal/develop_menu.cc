#include "quillhaven/devtools/internal/develop_menu.h"

#include <QApplication>
#include <QStyle>
#include <memory>
#include <utility>

#include "quillhaven/devtools/menu_builders.h"

namespace quillhaven::devtools::internal {
namespace {

// Holds the submenu of an item, for an item does not own its menu.
class SubmenuOwner final : public QObject {
 public:
  SubmenuOwner(QAction& item, std::unique_ptr<QMenu> menu)
      : QObject(&item), menu_(std::move(menu)) {}

 private:
  std::unique_ptr<QMenu> menu_;
};

void validateItemsWithShortcut(const QMenu& menu) {
  const QList<QAction*> items = menu.actions();
  for (QAction* item : items) {
    const ItemValidation* validation = ItemValidation::of(*item);
    if (validation && !item->shortcut().isEmpty()) validation->validate();
    if (const QMenu* submenu = item->menu<QMenu*>()) {
      validateItemsWithShortcut(*submenu);
    }
  }
}

bool isChoosingKey(const QKeyEvent& event, const QWidget& menu) {
  switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
      return true;
    case Qt::Key_Space:
      return menu.style()->styleHint(QStyle::SH_Menu_SpaceActivatesItem,
                                     nullptr, &menu) != 0;
    default:
      return false;
  }
}

}  // namespace

void ItemValidation::attach(QAction& item, Rule rule) {
  new ItemValidation(item, std::move(rule));  // owned by the item
}

const ItemValidation* ItemValidation::of(const QAction& item) {
  for (const QObject* child : item.children()) {
    if (const auto* found = dynamic_cast<const ItemValidation*>(child)) {
      return found;
    }
  }
  return nullptr;
}

ItemValidation::ItemValidation(QAction& item, Rule rule)
    : QObject(&item), item_(item), rule_(std::move(rule)) {}

void ItemValidation::validate() const { item_.setEnabled(rule_(item_)); }

DevelopMenu::DevelopMenu(const QString& title) : DevelopMenu(title, nullptr) {
  QApplication::instance()->installEventFilter(this);
}

DevelopMenu::DevelopMenu(const QString& title, QWidget* parent)
    : QMenu(title, parent) {
  // Each separator is shown, also one at the top.
  setSeparatorsCollapsible(false);
  connect(this, &QMenu::aboutToShow, this, &DevelopMenu::validateItems);
}

DevelopMenu* DevelopMenu::addSubmenu(const QString& title) {
  auto* const submenu = new DevelopMenu(QString(), this);
  devTools_addItemWithTitle(*this, title, {}, nullptr, {})->setMenu(submenu);
  return submenu;
}

void DevelopMenu::giveSubmenu(QAction& item,
                              const std::function<void(DevelopMenu&)>& fill) {
  if (item.menu<QMenu*>() != nullptr) return;
  std::unique_ptr<DevelopMenu> submenu(new DevelopMenu(QString(), nullptr));
  fill(*submenu);
  item.setMenu(submenu.get());
  new SubmenuOwner(item, std::move(submenu));  // owned by the item
}

void DevelopMenu::removeSubmenu(QAction& item) {
  item.setMenu(static_cast<QMenu*>(nullptr));
  for (QObject* child : item.children()) {
    // Later: the submenu may be handling the click that led here.
    if (dynamic_cast<SubmenuOwner*>(child) != nullptr) child->deleteLater();
  }
}

void DevelopMenu::validateItems() const {
  const QList<QAction*> items = actions();
  for (const QAction* item : items) {
    if (const auto* validation = ItemValidation::of(*item)) {
      validation->validate();
    }
  }
}

// A disabled item's shortcut is not even looked at, so the items are brought up
// to date when the key is announced, before it is looked up.
bool DevelopMenu::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride &&
      static_cast<QKeyEvent*>(event)->modifiers().testFlag(
          Qt::ControlModifier)) {
    validateItemsWithShortcut(*this);
  }
  return QMenu::eventFilter(watched, event);
}

void DevelopMenu::mouseReleaseEvent(QMouseEvent* event) {
  const QAction* item = actionAt(event->position().toPoint());
  if (event->button() == Qt::LeftButton && item != nullptr &&
      item == activeAction() && chooseItemWithSubmenu()) {
    return;
  }
  QMenu::mouseReleaseEvent(event);
}

void DevelopMenu::keyPressEvent(QKeyEvent* event) {
  if (isChoosingKey(*event, *this) && chooseItemWithSubmenu()) return;
  QMenu::keyPressEvent(event);
}

bool DevelopMenu::chooseItemWithSubmenu() {
  QAction* const item = activeAction();
  if (item == nullptr || item->menu<QMenu*>() == nullptr ||
      !item->isEnabled() || ItemValidation::of(*item) == nullptr) {
    return false;
  }
  while (auto* open = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
    if (!open->close()) break;
  }
  item->trigger();
  return true;
}

}  // namespace quillhaven::devtools::internal
