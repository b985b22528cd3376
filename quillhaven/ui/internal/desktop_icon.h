// Icons of programs that have a desktop entry.
#ifndef QUILLHAVEN_UI_INTERNAL_DESKTOP_ICON_H_
#define QUILLHAVEN_UI_INTERNAL_DESKTOP_ICON_H_

#include <QIcon>
#include <QString>
#include <optional>

namespace quillhaven::ui::internal {

// Returns the icon of the desktop entry `name`, with or without ".desktop", in
// the user's folder of applications or else the machine's. The icon is null if
// the entry has none or the theme lacks it; nothing is returned if there is no
// such entry or it is marked as removed.
[[nodiscard]] std::optional<QIcon> desktopEntryIcon(const QString& name);

}  // namespace quillhaven::ui::internal

#endif  // QUILLHAVEN_UI_INTERNAL_DESKTOP_ICON_H_
