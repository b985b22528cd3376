// The programs that start when the user logs in: the entries of the desktop's
// "autostart" folder (freedesktop.org, version 0.5) as a list of bundles.
#ifndef QUILLHAVEN_PLATFORM_FILES_LOGIN_ITEMS_H_
#define QUILLHAVEN_PLATFORM_FILES_LOGIN_ITEMS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/files/bundle.h"

namespace quillhaven::platform {

// The error of an item whose bundle is no longer where the item says.
inline constexpr int kLoginItemNotThere = 4;

// Where the bundle of an item is now.
struct LoginItemResolution {
  std::optional<std::string> path;  // absent when the item names no bundle
  int error = 0;  // kLoginItemNotThere, the negative of another errno, or 0
};

// One entry as it was when the list was read. A value.
class LoginItem {
 public:
  // The key "Name", untranslated; empty if there is none.
  [[nodiscard]] const std::string& displayName() const { return displayName_; }

  // The name of the entry's file, such as "com.quillhaven.app.desktop".
  [[nodiscard]] const std::string& fileName() const { return fileName_; }

  // True when the program is to show no window when it is started: the key
  // "X-Quillhaven-Hidden" is true and the command has the argument "--hidden".
  [[nodiscard]] bool isHidden() const { return isHidden_; }

  // False when the user has switched the entry off without removing it, by
  // "X-GNOME-Autostart-enabled".
  [[nodiscard]] bool isEnabled() const { return isEnabled_; }

  // Looks for the bundle that the key "X-Quillhaven-Bundle" names as a file URL
  // or else, up to ".app", the program of the command. Its path is as it stands
  // there: links are not resolved. An entry of any other program names none.
  [[nodiscard]] LoginItemResolution resolve() const;

 private:
  friend class LoginItemList;

  std::string fileName_;
  std::string bytes_;  // of the file
  std::string displayName_;
  std::optional<std::string> bundlePath_;
  std::int64_t order_ = 0;
  bool isHidden_ = false;
  bool isEnabled_ = true;
};

// The user's own entries. Entries that other programs wrote stay byte for byte
// as they are unless they are changed here; a change replaces the file at once
// and keeps unknown keys, comments and translations. The functions that change
// something throw std::system_error, ESTALE for an item that is no longer as it
// was read. Keeps nothing but its folders, so that any number of lists can be
// used in any threads and processes.
class LoginItemList {
 public:
  // Returns the list of this user; nothing when there is no folder for settings
  // or what is in its place cannot be read. A missing folder is an empty list.
  [[nodiscard]] static std::optional<LoginItemList> open();

  // The list in `folder`, which hides the entries with the same file names in
  // `systemFolders`.
  explicit LoginItemList(std::string folder,
                         std::vector<std::string> systemFolders = {});

  // Returns all entries that are not deleted ("Hidden"), by their
  // "X-Quillhaven-Order", which is 0 where it is missing, and then by file
  // name. Files that are no entries, or larger than 1 MiB, are left out.
  [[nodiscard]] std::vector<LoginItem> items() const;

  // Sets the key "X-Quillhaven-Hidden" and the argument "--hidden". The item is
  // then as its entry is now.
  void setHidden(LoginItem& item, bool isHidden) const;

  // Switches the entry on or off; the item follows.
  void setEnabled(LoginItem& item, bool isEnabled) const;

  // Adds an entry for the bundle at the end, which starts the bundle's program
  // and is called what the bundle is called. Its file is named by the bundle's
  // identifier, with a number where another entry has that name. When somebody
  // has added the same bundle under that name meanwhile, that entry stays. The
  // folder is made if need be.
  void insertLast(const Bundle& bundle, bool isHidden) const;

  // Removes the entry's file, or marks it as deleted where an entry of the
  // whole system would come back in its place.
  void remove(const LoginItem& item) const;

 private:
  [[nodiscard]] std::string pathOf(std::string_view fileName) const;
  [[nodiscard]] std::optional<LoginItem> read(std::string_view fileName) const;
  template <typename Edit>
  void change(LoginItem& item, const Edit& edit) const;
  [[nodiscard]] bool isSystemWide(std::string_view fileName) const;
  void checkIsCurrent(const LoginItem& item) const;

  std::string folder_;
  std::vector<std::string> systemFolders_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_LOGIN_ITEMS_H_
