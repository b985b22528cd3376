// The socket on which a program says how its start gets on, as sd_notify(3)
// describes.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_NOTIFY_SOCKET_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_NOTIFY_SOCKET_H_

#include <cstdint>
#include <string>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform::internal {

inline constexpr const char* kNotifyVariable = "NOTIFY_SOCKET";

// One at a time reads; movable.
class NotifySocket {
 public:
  // Opens a socket under a new name that nobody can guess. Throws
  // std::system_error.
  NotifySocket();

  // The value of $NOTIFY_SOCKET.
  [[nodiscard]] const std::string& address() const { return address_; }
  [[nodiscard]] int descriptor() const { return socket_.get(); }

  // What was said since the last call.
  struct Notifications {
    bool any = false;
    bool isReady = false;
  };
  // Reads all that has come from the process or what it started, and closes the
  // descriptors that came along: a sender waits for that.
  [[nodiscard]] Notifications read(std::int32_t processIdentifier) const;

 private:
  std::string address_;
  UniqueFd socket_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_NOTIFY_SOCKET_H_
