// The way from the root of a tree of folders to one inside, as open folders.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_FOLDER_CHAIN_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_FOLDER_CHAIN_H_

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform::internal {

// Enters and leaves folders one at a time, however deep, and never through a
// symbolic link. The root and the innermost folders stay open, the others are
// found again when they are returned to. One thread at a time.
class FolderChain {
 public:
  // How many folders are open at most, besides the root.
  static constexpr std::size_t kMaximumOpen = 32;

  explicit FolderChain(UniqueFd root);

  // Opens the folder `name` in the innermost one with these flags of open(),
  // which becomes the innermost. Returns 0, or the errno and stays.
  [[nodiscard]] int enter(const char* name, int flags);

  // Goes back to the folder around the innermost, which is not the root.
  void leave();

  // Returns the innermost folder, or -1 with errno set when it is no longer
  // where it was. Valid until the next call.
  [[nodiscard]] int innermost();

 private:
  struct Folder {
    std::string name;
    UniqueFd fd;  // none once the folder was closed
    dev_t device = 0;
    ino_t inode = 0;
  };

  [[nodiscard]] bool reopen(const Folder& inside);
  [[nodiscard]] bool reopenFromRoot();

  std::vector<Folder> folders_;  // the root first; never empty
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_FOLDER_CHAIN_H_
