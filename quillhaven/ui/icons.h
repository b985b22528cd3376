// The running application's icon with a badge, and those of the companions that
// the product works with.
#ifndef QUILLHAVEN_UI_ICONS_H_
#define QUILLHAVEN_UI_ICONS_H_

#include <QIcon>
#include <optional>

namespace quillhaven::ui {

// All of this belongs to the main thread and needs a QGuiApplication.

// Returns the running application's icon: its window icon, else the one that
// the icon theme has for its desktop entry, else one of ours. Never null.
[[nodiscard]] QIcon applicationIcon();

// Returns that icon with `withBadge` in its bottom right corner, fitted into
// half the width and half the height, each rounded up to a whole point. It is
// drawn anew at every size and pixel ratio. A null badge is left out.
[[nodiscard]] QIcon quillhavenIcon(const QIcon& withBadge);

// Returns the application's icon badged with that of the Mail program,
// "com.apple.mail"; nothing when that is not installed.
//
// A program is found by its identifier among the installed bundles, by the
// information property list, and among the desktop entries, by the file name.
// One without an icon has our generic one.
[[nodiscard]] std::optional<QIcon> mailBadgedIcon();

// Return the application's icon badged with that of "com.apple.reminders" or of
// "com.apple.AddressBook"; without a badge when the program is not installed.
[[nodiscard]] QIcon remindersBadgedAppIcon();
[[nodiscard]] QIcon contactsBadgedAppIcon();

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_ICONS_H_
