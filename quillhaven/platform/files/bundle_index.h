// Finds installed bundles by their identifiers.
#ifndef QUILLHAVEN_PLATFORM_FILES_BUNDLE_INDEX_H_
#define QUILLHAVEN_PLATFORM_FILES_BUNDLE_INDEX_H_

#include <sys/stat.h>

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/files/bundle.h"

namespace quillhaven::platform {

// The folders in which bundles are installed, the most important one first:
// "Applications" of the user, of the machine and of the system, then
// "applications" in each of dataFolders().
[[nodiscard]] std::vector<std::string> applicationFolders();

// An index of the bundles that lie directly in some folders. It is built on
// first use and anew after a folder or an entry found has changed. Of bundles
// with the same identifier the one in the folder named first counts, then the
// one whose name comes first. Thread-safe.
class BundleIndex {
 public:
  explicit BundleIndex(std::vector<std::string> folders = applicationFolders());
  BundleIndex(const BundleIndex&) = delete;
  BundleIndex& operator=(const BundleIndex&) = delete;

  // Returns the bundle with exactly this identifier, or nothing.
  [[nodiscard]] std::optional<Bundle> bundleWithIdentifier(
      std::string_view identifier);

 private:
  struct Folder {
    std::string path;
    timespec modified{};  // zero for one that is not there
  };

  [[nodiscard]] bool isCurrent() const;
  void build();

  std::mutex lock_;
  std::vector<Folder> folders_;                            // guarded by lock_
  std::map<std::string, std::string, std::less<>> paths_;  // guarded by lock_
  bool isBuilt_ = false;                                   // guarded by lock_
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_BUNDLE_INDEX_H_
