// Menu items that hand themselves to their action.
#ifndef QUILLHAVEN_DEVTOOLS_MENU_BUILDERS_H_
#define QUILLHAVEN_DEVTOOLS_MENU_BUILDERS_H_

#include <QMenu>
#include <QString>
#include <QStringView>
#include <functional>
#include <memory>

#include "quillhaven/ui/menus.h"

namespace quillhaven::devtools {

// What choosing an item does, told which item it was; may be empty.
using SenderAction = std::function<void(QAction& sender)>;

// Returns an item that is in no menu yet. Choosing it calls `action` as long as
// `target` lives; a null target is none to outlive. The key equivalent is a
// character, together with Command unless the item's shortcut is set anew, or
// empty (ui::keySequence()). Main thread only.
[[nodiscard]] std::unique_ptr<ui::MenuItem> devTools_initWithTitle(
    const QString& title, SenderAction action, QObject* target,
    QStringView keyEquivalent);

// The same, appended to `menu`, which owns it.
ui::MenuItem* devTools_addItemWithTitle(QMenu& menu, const QString& title,
                                        SenderAction action, QObject* target,
                                        QStringView keyEquivalent);

}  // namespace quillhaven::devtools

#endif  // QUILLHAVEN_DEVTOOLS_MENU_BUILDERS_H_
