#include "quillhaven/platform/process/internal/notify_socket.h"

#include <sys/random.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>

#include "quillhaven/platform/process/internal/process_handle.h"

namespace quillhaven::platform::internal {
namespace {

// The kernel passes no more descriptors at once.
constexpr std::size_t kMostDescriptors = 253;
constexpr std::size_t kControlSize =
    CMSG_SPACE(sizeof(ucred)) + CMSG_SPACE(kMostDescriptors * sizeof(int));
// What is longer is cut; the line looked for stands first in practice.
constexpr std::size_t kLongestMessage = 4096;

[[noreturn]] void fail() {
  throw std::system_error(errno, std::system_category(), "notify socket");
}

std::string newAddress() {
  unsigned char random[16];
  if (::getrandom(random, sizeof random, 0) != sizeof random) fail();
  std::string address = "@quillhaven/launch/";
  for (const unsigned char byte : random) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    address.push_back(kDigits[byte >> 4]);
    address.push_back(kDigits[byte & 15]);
  }
  return address;
}

// The sender; closes all descriptors that came along.
std::optional<ucred> takeControl(msghdr& message) {
  std::optional<ucred> sender;
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
       part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET) continue;
    if (part->cmsg_type == SCM_CREDENTIALS) {
      sender.emplace();
      std::memcpy(&*sender, CMSG_DATA(part), sizeof *sender);
    } else if (part->cmsg_type == SCM_RIGHTS) {
      const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
      for (std::size_t i = 0; i < count; ++i) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int),
                    sizeof descriptor);
        ::close(descriptor);
      }
    }
  }
  return sender;
}

// A sender that is gone already cannot be traced back; who knew the address was
// started with it, or is the same user.
bool isFrom(const ucred& sender, std::int32_t processIdentifier) {
  const ProcessTable table;
  if (isSelfOrDescendant(table, sender.pid, processIdentifier)) return true;
  return sender.uid == ::geteuid() && !table.record(sender.pid);
}

bool hasLine(std::string_view text, std::string_view line) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (text.substr(0, end) == line) return true;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return false;
}

}  // namespace

NotifySocket::NotifySocket()
    : address_(newAddress()),
      socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  if (!socket_.valid()) fail();
  constexpr int kOn = 1;
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  // An "@" stands for the NUL of a name that is in no folder.
  std::copy(address_.begin() + 1, address_.end(), name.sun_path + 1);
  const auto size =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address_.size());
  if (::setsockopt(socket_.get(), SOL_SOCKET, SO_PASSCRED, &kOn, sizeof kOn) !=
          0 ||
      ::bind(socket_.get(), reinterpret_cast<sockaddr*>(&name), size) != 0) {
    fail();
  }
}

NotifySocket::Notifications NotifySocket::read(
    std::int32_t processIdentifier) const {
  Notifications said;
  while (true) {
    char text[kLongestMessage];
    alignas(cmsghdr) char control[kControlSize];
    iovec piece = {text, sizeof text};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size =
        ::recvmsg(socket_.get(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return said;
    const auto sender = takeControl(message);
    if (!sender || !isFrom(*sender, processIdentifier)) continue;
    said.any = true;
    if (hasLine({text, static_cast<std::size_t>(size)}, "READY=1")) {
      said.isReady = true;
    }
  }
}

}  // namespace quillhaven::platform::internal
