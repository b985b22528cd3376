// A process held by a descriptor of its own, so that its number can never come
// to mean another one.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_PROCESS_HANDLE_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_PROCESS_HANDLE_H_

#include <cstdint>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/process/process_table.h"

namespace quillhaven::platform::internal {

// Thread-safe.
class ProcessHandle {
 public:
  // Opens the process with this number; if that fails, errno says why.
  explicit ProcessHandle(std::int32_t processIdentifier);

  // The descriptor, readable once the process has ended; below 0 if the process
  // could not be opened.
  [[nodiscard]] int descriptor() const { return process_.get(); }
  [[nodiscard]] bool isOpen() const { return process_.valid(); }

  // True for a process that has ended, reaped or not, or could not be opened.
  [[nodiscard]] bool hasEnded() const;

  // Sends a signal; false when the process has ended or is not ours.
  bool signal(int number) const;

 private:
  UniqueFd process_;
};

// True for `ancestor` itself and for what it started, by whatever number of
// steps.
[[nodiscard]] bool isSelfOrDescendant(const ProcessTable& table,
                                      std::int32_t processIdentifier,
                                      std::int32_t ancestor);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_PROCESS_HANDLE_H_
