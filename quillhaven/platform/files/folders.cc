#include "quillhaven/platform/files/folders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/internal/accounts.h"
#include "quillhaven/platform/files/internal/file_reading.h"

namespace quillhaven::platform {
namespace {

std::string withoutSlash(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return std::string(path);
}

// The variable's value if it is an absolute path, else empty.
std::string folderFromEnvironment(const char* variable) {
  const char* const value = std::getenv(variable);
  if (value == nullptr || value[0] != '/') return {};
  return withoutSlash(value);
}

std::string homeFromAccount() {
  const auto home = accountHomeFolder();
  return home && home->starts_with('/') ? withoutSlash(*home) : std::string();
}

std::string folder(const char* variable, std::string_view belowHome) {
  if (auto named = folderFromEnvironment(variable); !named.empty()) {
    return named;
  }
  std::string home = homeFolder();
  if (home.empty()) return {};
  if (home == "/") home.clear();
  home.append(belowHome);
  return home;
}

// `own` unless it is empty, then the folders in the variable's list.
std::vector<std::string> foldersFrom(std::string own, const char* variable,
                                     std::string_view byDefault) {
  std::vector<std::string> folders;
  if (!own.empty()) folders.push_back(std::move(own));
  const char* const named = std::getenv(variable);
  std::string_view rest = named != nullptr ? named : "";
  if (rest.empty()) rest = byDefault;
  while (!rest.empty()) {
    const std::string_view path = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), path.size() + 1));
    if (path.starts_with('/')) folders.push_back(withoutSlash(path));
  }
  return folders;
}

// Returns the path in a line NAME="$HOME/..." or NAME="/...", the two forms
// that user-dirs.dirs may have; nothing for other lines. A backslash takes the
// character behind it as it is.
std::optional<std::string> userFolderIn(std::string_view line,
                                        std::string_view name) {
  constexpr std::string_view kBlanks = " \t";
  const auto skip = [&line](std::string_view text) {
    if (!line.starts_with(text)) return false;
    line.remove_prefix(text.size());
    return true;
  };
  const auto skipBlanks = [&] {
    line.remove_prefix(std::min(line.size(), line.find_first_not_of(kBlanks)));
  };
  skipBlanks();
  if (!skip(name)) return std::nullopt;
  skipBlanks();
  if (!skip("=")) return std::nullopt;
  skipBlanks();
  if (!skip("\"")) return std::nullopt;
  std::string path;
  if (skip("$HOME")) {
    path = homeFolder();
    if (path.empty() || !(line.starts_with('/') || line.starts_with('"'))) {
      return std::nullopt;
    }
    if (path == "/") path.clear();
  } else if (!line.starts_with('/')) {
    return std::nullopt;
  }
  for (std::size_t i = 0; i < line.size() && line[i] != '"'; ++i) {
    if (line[i] == '\\' && i + 1 < line.size()) ++i;
    path.push_back(line[i]);
  }
  return path.empty() ? "/" : withoutSlash(path);
}

// Makes one folder and brings its name to the disk, without which nothing in it
// would outlast a machine that stops.
int makeFolderIn(const std::string& parent, const std::string& path) {
  constexpr mode_t kOwnerOnly = 0700;
  if (::mkdir(path.c_str(), kOwnerOnly) != 0) return errno;
  const UniqueFd folder(
      ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.valid()) ::fsync(folder.get());
  return 0;
}

}  // namespace

std::string homeFolder() {
  auto home = folderFromEnvironment("HOME");
  return home.empty() ? homeFromAccount() : home;
}

std::string configurationFolder() {
  return folder("XDG_CONFIG_HOME", "/.config");
}

std::string dataFolder() { return folder("XDG_DATA_HOME", "/.local/share"); }

std::string documentsFolder() {
  // The file is read here and not by GLib, which keeps what the environment and
  // the file said when it was first asked, and leaves backslashes in.
  constexpr std::size_t kMaximumSize = std::size_t{1} << 20;
  const std::string folder = configurationFolder();
  UniqueFd file;
  std::string bytes;
  if (folder.empty() ||
      internal::openRegularFile(folder + "/user-dirs.dirs", file) != 0 ||
      internal::readWhole(file.get(), kMaximumSize, bytes) != 0) {
    return {};
  }
  std::string path;
  for (std::string_view rest = bytes; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    if (auto named = userFolderIn(line, "XDG_DOCUMENTS_DIR")) {
      path = std::move(*named);  // the last one counts, as in a shell
    }
  }
  return path;
}

std::optional<std::string> accountHomeFolder() {
  return internal::homeOfUser(::getuid());
}

std::vector<std::string> configurationFolders() {
  return foldersFrom(configurationFolder(), "XDG_CONFIG_DIRS", "/etc/xdg");
}

std::vector<std::string> dataFolders() {
  return foldersFrom(dataFolder(), "XDG_DATA_DIRS",
                     "/usr/local/share:/usr/share");
}

int makeFolder(const std::string& path) {
  // The call would take the text up to the NUL for the path.
  if (path.find('\0') != std::string::npos) return EINVAL;
  const std::size_t slash = path.find_last_of('/');
  const bool hasParent = slash != std::string::npos && slash != 0;
  const std::string parent = hasParent    ? path.substr(0, slash)
                             : slash == 0 ? "/"
                                          : ".";
  int error = makeFolderIn(parent, path);
  if (error == ENOENT && hasParent) {
    error = makeFolder(parent);
    if (error == 0) error = makeFolderIn(parent, path);
  }
  if (error != EEXIST) return error;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return errno;
  return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

}  // namespace quillhaven::platform
