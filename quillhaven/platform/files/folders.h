// The base directories that freedesktop.org (XDG) gives a user.
#ifndef QUILLHAVEN_PLATFORM_FILES_FOLDERS_H_
#define QUILLHAVEN_PLATFORM_FILES_FOLDERS_H_

#include <optional>
#include <string>
#include <vector>

namespace quillhaven::platform {

// Each returns an absolute path without a slash at its end, as the environment
// is now; empty when not even a home folder is known. Relative values of the
// variables are ignored. Nothing need exist there.
[[nodiscard]] std::string homeFolder();
[[nodiscard]] std::string configurationFolder();  // $XDG_CONFIG_HOME
[[nodiscard]] std::string dataFolder();           // $XDG_DATA_HOME

// The folders in which settings are looked for, the most important one first:
// configurationFolder(), then those of $XDG_CONFIG_DIRS.
[[nodiscard]] std::vector<std::string> configurationFolders();

// The folder that the user keeps documents in, XDG_DOCUMENTS_DIR in the file
// user-dirs.dirs of configurationFolder(); empty when that names none.
[[nodiscard]] std::string documentsFolder();

// The home folder of the real user as the user database has it, whatever the
// environment says; nothing for a user without an entry. Thread-safe.
[[nodiscard]] std::optional<std::string> accountHomeFolder();

// The folders in which programs are installed, the most important one first:
// the user's data folder, then those of $XDG_DATA_DIRS.
[[nodiscard]] std::vector<std::string> dataFolders();

// Makes the folder at `path` and those above it that are missing, all for their
// owner alone. Returns 0 or the errno. A folder that is there is left as it is.
[[nodiscard]] int makeFolder(const std::string& path);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_FOLDERS_H_
