#include "quillhaven/platform/keychain/internal/keychain_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "quillhaven/platform/files/folders.h"

namespace quillhaven::platform::internal {
namespace {

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr const char kNewName[] = "keychain.new";
constexpr const char kLockName[] = "keychain.lock";

// Runs `call` until no signal interrupts it.
template <typename Call>
auto retrying(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

int errnoOf(int result) { return result < 0 ? errno : 0; }

int writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        retrying([&] { return ::write(fd, bytes.data(), bytes.size()); });
    if (count < 0) return errno;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

int readAll(int fd, SecretBytes& bytes) {
  std::size_t size = 0;
  while (size < bytes.size()) {
    const ssize_t count = retrying(
        [&] { return ::read(fd, bytes.data() + size, bytes.size() - size); });
    if (count < 0) return errno;
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  bytes.resize(size);
  return 0;
}

}  // namespace

KeychainFolder::KeychainFolder(std::string path, WriteStepHook hook)
    : path_(std::move(path)), hook_(std::move(hook)) {}

int KeychainFolder::read(const char* name, SecretBytes& bytes) const {
  const std::string path = path_ + "/" + name;
  // A pipe put in its place is no file, and must not keep us waiting.
  const UniqueFd file(retrying([&] {
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  }));
  if (!file.valid()) return errno;
  struct stat status {};
  if (::fstat(file.get(), &status) < 0) return errno;
  if (!S_ISREG(status.st_mode)) return EINVAL;
  const auto size = static_cast<std::size_t>(status.st_size);
  if (size > kMaximumFileSize) return EFBIG;
  // Files are replaced, never written to: the size holds.
  bytes.resize(size);
  return readAll(file.get(), bytes);
}

int KeychainFolder::lock(UniqueFd& lock) const {
  UniqueFd folder;
  if (const int error = open(folder)) return error;
  UniqueFd file(retrying([&] {
    return ::openat(folder.get(), kLockName,
                    O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kFileMode);
  }));
  if (!file.valid()) return errno;
  if (retrying([&] { return ::flock(file.get(), LOCK_EX); }) < 0) return errno;
  lock = std::move(file);
  return 0;
}

int KeychainFolder::replace(const char* name, std::string_view bytes) const {
  UniqueFd folder;
  if (const int error = open(folder)) return error;
  int error = writeNew(folder.get(), bytes);
  if (error == 0) error = before(WriteStep::kRename);
  if (error == 0) {
    error = errnoOf(::renameat(folder.get(), kNewName, folder.get(), name));
  }
  if (error != 0) {
    ::unlinkat(folder.get(), kNewName, 0);
    return error;
  }
  if ((error = before(WriteStep::kSyncFolder)) != 0) return error;
  return errnoOf(retrying([&] { return ::fsync(folder.get()); }));
}

int KeychainFolder::before(WriteStep step) const {
  return hook_ ? hook_(step) : 0;
}

// Opens the folder, makes it where it is missing and closes it to others where
// it is not.
int KeychainFolder::open(UniqueFd& folder) const {
  if (const int error = makeFolder(path_)) return error;
  folder = UniqueFd(retrying([&] {
    return ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  }));
  if (!folder.valid()) return errno;
  struct stat status {};
  if (::fstat(folder.get(), &status) < 0) return errno;
  if ((status.st_mode & 0077) == 0) return 0;
  return errnoOf(::fchmod(folder.get(), kFolderMode));
}

int KeychainFolder::writeNew(int folder, std::string_view bytes) const {
  if (const int error = before(WriteStep::kCreate)) return error;
  // Left by a process that ended while it wrote; nobody else writes now.
  ::unlinkat(folder, kNewName, 0);
  const UniqueFd file(retrying([&] {
    return ::openat(folder, kNewName,
                    O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                    kFileMode);
  }));
  if (!file.valid()) return errno;
  if (const int error = before(WriteStep::kWrite)) return error;
  if (const int error = writeAll(file.get(), bytes)) return error;
  if (const int error = before(WriteStep::kSync)) return error;
  return errnoOf(retrying([&] { return ::fsync(file.get()); }));
}

}  // namespace quillhaven::platform::internal
