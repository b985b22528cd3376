#include "quillhaven/ui/internal/desktop_icon.h"

#include <glib.h>

#include <QDir>
#include <memory>
#include <string>

#include "quillhaven/platform/files/folders.h"

namespace quillhaven::ui::internal {
namespace {

struct Unref {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
  void operator()(char* text) const { g_free(text); }
};

QIcon iconOf(GKeyFile* entry) {
  const std::unique_ptr<char, Unref> icon(g_key_file_get_locale_string(
      entry, G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_ICON, nullptr,
      nullptr));
  if (!icon) return {};
  const QString name = QString::fromUtf8(icon.get());
  return QDir::isAbsolutePath(name) ? QIcon(name) : QIcon::fromTheme(name);
}

}  // namespace

std::optional<QIcon> desktopEntryIcon(const QString& name) {
  if (name.isEmpty() || name.contains(u'/')) return std::nullopt;
  constexpr QLatin1String kSuffix(".desktop");
  const std::string fileName =
      (name.endsWith(kSuffix) ? name : name + kSuffix).toStdString();
  for (const std::string& folder : platform::dataFolders()) {
    const std::unique_ptr<GKeyFile, Unref> entry(g_key_file_new());
    const std::string path = folder + "/applications/" + fileName;
    if (g_key_file_load_from_file(entry.get(), path.c_str(), G_KEY_FILE_NONE,
                                  nullptr) == FALSE) {
      continue;
    }
    // The user's entry stands for the machine's, also as a mark of removal.
    if (g_key_file_get_boolean(entry.get(), G_KEY_FILE_DESKTOP_GROUP,
                               G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr) != 0) {
      return std::nullopt;
    }
    return iconOf(entry.get());
  }
  return std::nullopt;
}

}  // namespace quillhaven::ui::internal
