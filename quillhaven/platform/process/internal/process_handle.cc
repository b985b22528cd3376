#include "quillhaven/platform/process/internal/process_handle.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace quillhaven::platform::internal {

// The C library's own declarations of these calls lack C linkage in 2.36.
ProcessHandle::ProcessHandle(std::int32_t processIdentifier)
    : process_(
          static_cast<int>(::syscall(SYS_pidfd_open, processIdentifier, 0))) {}

bool ProcessHandle::hasEnded() const {
  if (!isOpen()) return true;
  pollfd process = {descriptor(), POLLIN, 0};
  int count;
  do {
    count = ::poll(&process, 1, 0);
  } while (count < 0 && errno == EINTR);
  return count > 0;
}

bool ProcessHandle::signal(int number) const {
  return isOpen() && ::syscall(SYS_pidfd_send_signal, descriptor(), number,
                               nullptr, 0) == 0;
}

bool isSelfOrDescendant(const ProcessTable& table,
                        std::int32_t processIdentifier, std::int32_t ancestor) {
  // Numbers that are used again meanwhile could make a ring.
  constexpr int kMostSteps = 1024;
  for (int step = 0; processIdentifier > 0 && step < kMostSteps; ++step) {
    if (processIdentifier == ancestor) return true;
    const auto record = table.record(processIdentifier);
    if (!record) return false;
    processIdentifier = record->parentProcessIdentifier;
  }
  return false;
}

}  // namespace quillhaven::platform::internal
