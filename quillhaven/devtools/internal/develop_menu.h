// A menu whose items are validated when it opens and before a shortcut acts,
// and may have an action beside a submenu.
#ifndef QUILLHAVEN_DEVTOOLS_INTERNAL_DEVELOP_MENU_H_
#define QUILLHAVEN_DEVTOOLS_INTERNAL_DEVELOP_MENU_H_

#include <QAction>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QObject>
#include <QString>
#include <functional>

namespace quillhaven::devtools::internal {

// The rule that brings an item up to date and says whether it is enabled. Lives
// as long as the item; only items with an action have one.
class ItemValidation final : public QObject {
 public:
  using Rule = std::function<bool(QAction& item)>;

  static void attach(QAction& item, Rule rule);
  // Null if the item has none.
  static const ItemValidation* of(const QAction& item);

  void validate() const;

 private:
  ItemValidation(QAction& item, Rule rule);

  QAction& item_;
  Rule rule_;
};

// Main thread only.
class DevelopMenu final : public QMenu {
 public:
  // A menu of the menu bar, which also validates the items of its submenus
  // that have a shortcut, before any key is looked up among the shortcuts.
  explicit DevelopMenu(const QString& title);

  // Appends an item without an action whose submenu this returns.
  DevelopMenu* addSubmenu(const QString& title);

  // Gives `item` the submenu that `fill` fills, unless it has one. The submenu
  // goes with the item.
  static void giveSubmenu(QAction& item,
                          const std::function<void(DevelopMenu&)>& fill);
  // Takes the submenu away again.
  static void removeSubmenu(QAction& item);

  bool eventFilter(QObject* watched, QEvent* event) override;

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  DevelopMenu(const QString& title, QWidget* parent);

  void validateItems() const;
  // Does what choosing the current item does when it has a submenu and an
  // action, which a plain menu would not; false when it has not both.
  bool chooseItemWithSubmenu();
};

}  // namespace quillhaven::devtools::internal

#endif  // QUILLHAVEN_DEVTOOLS_INTERNAL_DEVELOP_MENU_H_
