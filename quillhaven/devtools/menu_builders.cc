#include "quillhaven/devtools/menu_builders.h"

#include <utility>

namespace quillhaven::devtools {

std::unique_ptr<ui::MenuItem> devTools_initWithTitle(
    const QString& title, SenderAction action, QObject* target,
    QStringView keyEquivalent) {
  auto item = std::make_unique<ui::MenuItem>(title, ui::MenuAction{}, nullptr,
                                             keyEquivalent);
  if (action) {
    QObject::connect(item.get(), &QAction::triggered,
                     target ? target : item.get(),
                     [sender = item.get(), perform = std::move(action)] {
                       perform(*sender);
                     });
  }
  return item;
}

ui::MenuItem* devTools_addItemWithTitle(QMenu& menu, const QString& title,
                                        SenderAction action, QObject* target,
                                        QStringView keyEquivalent) {
  auto item =
      devTools_initWithTitle(title, std::move(action), target, keyEquivalent);
  item->setParent(&menu);
  menu.addAction(item.get());
  return item.release();
}

}  // namespace quillhaven::devtools
