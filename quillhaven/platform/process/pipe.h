// Pipes between this process and those it starts.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_PIPE_H_
#define QUILLHAVEN_PLATFORM_PROCESS_PIPE_H_

#include <memory>
#include <optional>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform {

// A pipe with both its ends, which are closed with it at the latest and never
// inherited unawares. One thread at a time.
class Pipe {
 public:
  // Returns a new pipe; throws std::system_error when there are no descriptors
  // left.
  [[nodiscard]] static std::shared_ptr<Pipe> pipe();

  // Takes over both ends; either may be none. Throws std::system_error when one
  // of them is a standard stream's number and cannot be moved away from there.
  Pipe(UniqueFd reading, UniqueFd writing);

  // The descriptor of an end, which stays the pipe's; absent once closed.
  [[nodiscard]] std::optional<int> fileHandleForReading() const;
  [[nodiscard]] std::optional<int> fileHandleForWriting() const;

  void closeFileHandleForReading() { reading_.reset(); }
  void closeFileHandleForWriting() { writing_.reset(); }

 private:
  UniqueFd reading_;
  UniqueFd writing_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_PIPE_H_
