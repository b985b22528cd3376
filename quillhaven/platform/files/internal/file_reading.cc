#include "quillhaven/platform/files/internal/file_reading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace quillhaven::platform::internal {

int openRegularFile(const std::string& path, UniqueFd& fd) {
  fd.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!fd.valid()) return errno;
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) return errno;
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

int readWhole(int fd, std::size_t maximum, std::string& bytes) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return errno;
  // One byte more than it seems to hold shows its end.
  bytes.resize(std::min(static_cast<std::size_t>(status.st_size), maximum) + 1);
  std::size_t used = 0;
  while (true) {
    const ssize_t count = ::pread(fd, bytes.data() + used, bytes.size() - used,
                                  static_cast<off_t>(used));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    used += static_cast<std::size_t>(count);
    if (used > maximum) return EFBIG;
    if (count == 0) break;
    if (used == bytes.size()) bytes.resize(std::min(2 * used, maximum + 1));
  }
  bytes.resize(used);
  return 0;
}

}  // namespace quillhaven::platform::internal
