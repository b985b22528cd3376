// Removal of the mark of downloaded files from a whole bundle.
#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillhaven/identity/bundle_info.h"
#include "quillhaven/platform/files/extended_attributes.h"

namespace quillhaven::identity {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, CloseFolder>;

bool removeMark(const std::string& path) {
  return platform::removeExtendedAttribute(path,
                                           platform::kQuarantineAttribute) == 0;
}

// A link to a folder is none.
bool isFolder(const dirent& entry, const std::string& path) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Removes the mark from all entries of one folder and appends those that are
// folders to `folders`. A folder that cannot be read has no entries.
bool removeMarksIn(const std::string& folder,
                   std::vector<std::string>& folders) {
  const FolderPtr opened(::opendir(folder.c_str()));
  if (!opened) return true;
  while (const dirent* const entry = ::readdir(opened.get())) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::string path = folder;
    path.append("/").append(name);
    if (!removeMark(path)) return false;
    if (isFolder(*entry, path)) folders.push_back(std::move(path));
  }
  return true;
}

}  // namespace

bool dequarantine(const platform::Bundle& bundle) {
  const std::string& path = bundle.bundlePath();
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return true;
  if (!removeMark(path)) return false;
  if (!S_ISDIR(status.st_mode)) return true;
  std::vector<std::string> folders = {path};
  while (!folders.empty()) {
    const std::string folder = std::move(folders.back());
    folders.pop_back();
    if (!removeMarksIn(folder, folders)) return false;
  }
  return true;
}

}  // namespace quillhaven::identity
