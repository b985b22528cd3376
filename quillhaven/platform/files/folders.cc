#include "quillhaven/platform/files/folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

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
  std::vector<char> buffer(std::size_t{16} * 1024);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) !=
          0 ||
      found == nullptr || found->pw_dir[0] != '/') {
    return {};
  }
  return withoutSlash(found->pw_dir);
}

std::string folder(const char* variable, std::string_view belowHome) {
  if (auto named = folderFromEnvironment(variable); !named.empty()) {
    return named;
  }
  std::string home = homeFolder();
  if (home.empty()) return {};
  if (home == "/") home.clear();
  return home.append(belowHome);
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

std::vector<std::string> dataFolders() {
  std::vector<std::string> folders;
  if (auto own = dataFolder(); !own.empty()) folders.push_back(std::move(own));
  const char* const named = std::getenv("XDG_DATA_DIRS");
  std::string_view rest = named != nullptr ? named : "";
  if (rest.empty()) rest = "/usr/local/share:/usr/share";
  while (!rest.empty()) {
    const std::string_view path = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), path.size() + 1));
    if (path.starts_with('/')) folders.push_back(withoutSlash(path));
  }
  return folders;
}

int makeFolder(const std::string& path) {
  constexpr mode_t kOwnerOnly = 0700;
  if (::mkdir(path.c_str(), kOwnerOnly) == 0) return 0;
  const std::size_t slash = path.find_last_of('/');
  if (errno == ENOENT && slash != std::string::npos && slash > 0) {
    if (const int error = makeFolder(path.substr(0, slash))) return error;
    if (::mkdir(path.c_str(), kOwnerOnly) == 0) return 0;
  }
  if (errno != EEXIST) return errno;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return errno;
  return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

}  // namespace quillhaven::platform
