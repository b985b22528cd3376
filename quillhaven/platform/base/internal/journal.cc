#include "quillhaven/platform/base/internal/journal.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

namespace quillhaven::platform::internal {
namespace {

// The levels of syslog (RFC 5424, section 6.2.1).
const char* priorityOf(LogType type) {
  switch (type) {
    case LogType::kDebug:
      return "7";
    case LogType::kInfo:
      return "6";
    case LogType::kDefault:
      return "5";
    case LogType::kError:
      return "3";
    case LogType::kFault:
      return "2";
  }
  return "5";
}

// A value with line feeds goes with its length before it, little-endian.
void appendField(std::string& fields, std::string_view name,
                 std::string_view value) {
  fields.append(name);
  if (value.find('\n') == std::string_view::npos) {
    fields.push_back('=');
  } else {
    fields.push_back('\n');
    for (unsigned shift = 0; shift < 64; shift += 8) {
      fields.push_back(
          static_cast<char>(std::uint64_t{value.size()} >> shift & 0xFF));
    }
  }
  fields.append(value).push_back('\n');
}

std::string fieldsOf(const LogMessage& message) {
  std::string fields;
  fields.reserve(message.text.size() + 256);
  appendField(fields, "PRIORITY", priorityOf(message.type));
  appendField(fields, "SYSLOG_IDENTIFIER", program_invocation_short_name);
  appendField(fields, "QUILLHAVEN_SUBSYSTEM", message.subsystem);
  appendField(fields, "QUILLHAVEN_CATEGORY", message.category);
  appendField(fields, "MESSAGE", message.text);
  return fields;
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

// One message to the socket at `path`; MSG_NOSIGNAL, as the journal may go.
bool sendTo(int socket, const std::string& path, msghdr& message) {
  sockaddr_un address = addressOf(path);
  message.msg_name = &address;
  message.msg_namelen = sizeof address;
  ssize_t sent;
  do {
    sent = ::sendmsg(socket, &message, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent >= 0;
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

std::optional<Journal> Journal::behindStandardError(const char* stream,
                                                    const char* socketPath) {
  struct stat status;
  if (stream == nullptr || ::fstat(STDERR_FILENO, &status) != 0) {
    return std::nullopt;
  }
  const std::string own =
      std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  if (own != stream || ::access(socketPath, W_OK) != 0) return std::nullopt;
  const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return std::nullopt;
  return Journal(socket, socketPath);
}

Journal::Journal(int socket, std::string path)
    : socket_(socket), path_(std::move(path)) {}

Journal::Journal(Journal&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)),
      path_(std::move(other.path_)) {}

Journal::~Journal() {
  if (socket_ >= 0) ::close(socket_);
}

bool Journal::send(const LogMessage& message) const {
  const std::string fields = fieldsOf(message);
  if (sendDatagram(fields)) return true;
  return (errno == EMSGSIZE || errno == ENOBUFS) && sendFile(fields);
}

bool Journal::sendDatagram(std::string_view fields) const {
  iovec bytes{const_cast<char*>(fields.data()), fields.size()};
  msghdr message{};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  return sendTo(socket_, path_, message);
}

// What is too long for a datagram is handed over as a sealed file in memory.
bool Journal::sendFile(std::string_view fields) const {
  const int file = ::memfd_create("log", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (file < 0) return false;
  constexpr int kSeals =
      F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
  bool isSent = false;
  if (writeAll(file, fields) && ::fcntl(file, F_ADD_SEALS, kSeals) == 0) {
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof file)] = {};
    msghdr message{};
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof file);
    std::memcpy(CMSG_DATA(header), &file, sizeof file);
    isSent = sendTo(socket_, path_, message);
  }
  ::close(file);
  return isSent;
}

}  // namespace quillhaven::platform::internal
