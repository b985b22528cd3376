// Owns one file descriptor.
#ifndef QUILLHAVEN_PLATFORM_BASE_UNIQUE_FD_H_
#define QUILLHAVEN_PLATFORM_BASE_UNIQUE_FD_H_

#include <unistd.h>

#include <utility>

namespace quillhaven::platform {

// Closes its descriptor at the end of its life; a negative number is none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    reset(std::exchange(other.fd_, -1));
    return *this;
  }
  ~UniqueFd() { reset(); }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool valid() const { return fd_ >= 0; }

  void reset(int fd = -1) {
    if (valid()) ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_UNIQUE_FD_H_
