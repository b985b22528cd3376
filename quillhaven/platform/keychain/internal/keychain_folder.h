// The folder of the sealed file: whole files read and replaced there so that a
// crash at any moment leaves the old or the new one, and a lock between
// processes.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_KEYCHAIN_FOLDER_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_KEYCHAIN_FOLDER_H_

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/keychain/secret_bytes.h"

namespace quillhaven::platform::internal {

// What replacing a file does, in order.
enum class WriteStep { kCreate, kWrite, kSync, kRename, kSyncFolder };

// Called before each step; anything but 0 is the errno with which the step
// fails instead. For tests.
using WriteStepHook = std::function<int(WriteStep)>;

// Every file is made with mode 0600, the folder with 0700. Operations return 0
// or an errno. Thread-safe.
class KeychainFolder {
 public:
  // Files beyond this are not read (EFBIG).
  static constexpr std::size_t kMaximumFileSize = std::size_t{64} << 20;

  explicit KeychainFolder(std::string path, WriteStepHook hook = {});

  // Reads a whole file. ENOENT when there is none, or no folder.
  int read(const char* name, SecretBytes& bytes) const;

  // Makes the folder and those on its way and takes the lock, waiting for other
  // threads and processes. The lock ends with `lock`.
  int lock(UniqueFd& lock) const;

  // Replaces a file, or makes it. The caller holds the lock.
  int replace(const char* name, std::string_view bytes) const;

 private:
  [[nodiscard]] int before(WriteStep step) const;
  int open(UniqueFd& folder) const;
  int writeNew(int folder, std::string_view bytes) const;

  std::string path_;
  WriteStepHook hook_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_KEYCHAIN_FOLDER_H_
