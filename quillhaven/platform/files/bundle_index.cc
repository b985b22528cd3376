#include "quillhaven/platform/files/bundle_index.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "quillhaven/platform/files/folders.h"

namespace quillhaven::platform {
namespace {

timespec timeOfChange(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mtim : timespec{};
}

std::vector<std::string> sortedEntries(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<std::string> entries;
  std::error_code error;
  for (auto at = fs::directory_iterator(
           folder, fs::directory_options::skip_permission_denied, error);
       !error && at != fs::directory_iterator(); at.increment(error)) {
    entries.push_back(at->path().string());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

}  // namespace

std::vector<std::string> applicationFolders() {
  std::vector<std::string> folders;
  if (const std::string home = homeFolder(); !home.empty()) {
    folders.push_back(home + "/Applications");
  }
  folders.emplace_back("/Applications");
  folders.emplace_back("/System/Applications");
  for (const std::string& folder : dataFolders()) {
    folders.push_back(folder + "/applications");
  }
  return folders;
}

BundleIndex::BundleIndex(std::vector<std::string> folders) {
  for (std::string& path : folders) folders_.push_back({std::move(path), {}});
}

bool BundleIndex::isCurrent() const {
  return isBuilt_ &&
         std::all_of(folders_.begin(), folders_.end(), [](const Folder& f) {
           const timespec now = timeOfChange(f.path);
           return now.tv_sec == f.modified.tv_sec &&
                  now.tv_nsec == f.modified.tv_nsec;
         });
}

void BundleIndex::build() {
  paths_.clear();
  for (Folder& folder : folders_) {
    folder.modified = timeOfChange(folder.path);
    for (const std::string& path : sortedEntries(folder.path)) {
      const Bundle bundle(path);
      if (const auto identifier = bundle.bundleIdentifier()) {
        paths_.emplace(*identifier, path);
      }
    }
  }
  isBuilt_ = true;
}

// The time of a folder says nothing of what changed inside a bundle, so what is
// found is looked at again.
std::optional<Bundle> BundleIndex::bundleWithIdentifier(
    std::string_view identifier) {
  const std::lock_guard guard(lock_);
  for (bool isFresh = false; true; isFresh = true) {
    if (isFresh || !isCurrent()) build();
    const auto found = paths_.find(identifier);
    if (found == paths_.end()) return std::nullopt;
    Bundle bundle(found->second);
    if (bundle.bundleIdentifier() == identifier) return bundle;
    if (isFresh) return std::nullopt;
  }
}

}  // namespace quillhaven::platform
