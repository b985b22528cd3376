#include "quillhaven/platform/process/internal/tcp_sockets.h"

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iterator>
#include <memory>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform::internal {
namespace {

// The kernel fills at most 32 KiB at a time.
constexpr std::size_t kDumpPieceSize = std::size_t{32} * 1024;

std::array<std::uint8_t, 4> addressFrom(std::uint32_t networkOrder) {
  std::array<std::uint8_t, 4> address;
  std::memcpy(address.data(), &networkOrder, sizeof networkOrder);
  return address;
}

SocketInformation ipv4TCPSocket(unsigned kernelState) {
  SocketInformation socket;
  socket.family = SocketFamily::kIPv4;
  socket.kind = SocketKind::kTCP;
  socket.state = tcpStateFromKernel(kernelState);
  return socket;
}

// The kernel's TCP states with these numbers, as bits of a request.
constexpr std::uint32_t kTimeWait = 1U << 6;
constexpr std::uint32_t kNewSynReceived = 1U << 12;
constexpr std::uint32_t kBoundInactive = 1U << 13;  // since Linux 6.8

bool sendDumpRequest(int netlink, DumpScope scope) {
  struct {
    nlmsghdr header;
    inet_diag_req_v2 body;
  } request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.body.sdiag_family = AF_INET;
  request.body.sdiag_protocol = IPPROTO_TCP;
  // No descriptor holds what waits to be forgotten or is not accepted yet.
  request.body.idiag_states = ~(kTimeWait | kNewSynReceived);
  if (scope != DumpScope::kAll) request.body.idiag_states &= ~kBoundInactive;
  return ::send(netlink, &request, sizeof request, 0) == sizeof request;
}

SocketInformation socketFrom(const inet_diag_msg& message) {
  SocketInformation socket = ipv4TCPSocket(message.idiag_state);
  socket.localPort = ntohs(message.id.idiag_sport);
  socket.remotePort = ntohs(message.id.idiag_dport);
  socket.localAddress = addressFrom(message.id.idiag_src[0]);
  socket.remoteAddress = addressFrom(message.id.idiag_dst[0]);
  return socket;
}

enum class DumpState { kGoesOn, kDone, kFailed };

// Hands on the sockets in one piece of the dump.
DumpState readDumpPiece(const char* piece, std::size_t size,
                        const SocketSink& sink) {
  while (size >= sizeof(nlmsghdr)) {
    nlmsghdr header;
    std::memcpy(&header, piece, sizeof header);
    if (header.nlmsg_len < sizeof header || header.nlmsg_len > size) break;
    if (header.nlmsg_type == NLMSG_DONE) return DumpState::kDone;
    if (header.nlmsg_type == NLMSG_ERROR) return DumpState::kFailed;
    inet_diag_msg message;
    if (header.nlmsg_len >= NLMSG_LENGTH(sizeof message)) {
      std::memcpy(&message, piece + NLMSG_HDRLEN, sizeof message);
      if (message.idiag_family == AF_INET) {
        sink(message.idiag_inode, socketFrom(message));
      }
    }
    const std::size_t step = std::min<std::size_t>(
        NLMSG_ALIGN(static_cast<std::size_t>(header.nlmsg_len)), size);
    piece += step;
    size -= step;
  }
  return size == 0 ? DumpState::kGoesOn : DumpState::kFailed;
}

// Takes the fields of a line one after the other.
class Fields {
 public:
  explicit Fields(std::string_view line) : rest_(line) {}

  // The field after the next blanks and colons; empty at the end.
  std::string_view next() {
    constexpr std::string_view kSeparators = " :";
    const std::size_t start = rest_.find_first_not_of(kSeparators);
    if (start == std::string_view::npos) return {};
    rest_.remove_prefix(start);
    const std::string_view field =
        rest_.substr(0, rest_.find_first_of(kSeparators));
    rest_.remove_prefix(field.size());
    return field;
  }

  // The number that is the next field; sets `isRead` to false without one.
  std::uint64_t number(int base, bool& isRead) {
    const std::string_view field = next();
    std::uint64_t value = 0;
    const char* const end = field.data() + field.size();
    const auto read = std::from_chars(field.data(), end, value, base);
    isRead = isRead && read.ec == std::errc() && read.ptr == end;
    return value;
  }

 private:
  std::string_view rest_;
};

void readTCPLine(std::string_view line, const SocketSink& sink) {
  Fields fields(line);
  bool isRead = true;
  fields.number(10, isRead);  // the line's own number; a heading has none
  // Addresses are shown as the machine reads them, ports turned round.
  const auto localAddress =
      static_cast<std::uint32_t>(fields.number(16, isRead));
  const auto localPort = static_cast<std::uint16_t>(fields.number(16, isRead));
  const auto remoteAddress =
      static_cast<std::uint32_t>(fields.number(16, isRead));
  const auto remotePort = static_cast<std::uint16_t>(fields.number(16, isRead));
  const auto state = static_cast<unsigned>(fields.number(16, isRead));
  // Two queues, timer and its time, retransmits, user, timeouts.
  for (int i = 0; i < 7; ++i) fields.next();
  const std::uint64_t inode = fields.number(10, isRead);
  if (!isRead) return;

  SocketInformation socket = ipv4TCPSocket(state);
  socket.localPort = localPort;
  socket.remotePort = remotePort;
  socket.localAddress = addressFrom(localAddress);
  socket.remoteAddress = addressFrom(remoteAddress);
  sink(inode, socket);
}

}  // namespace

std::int32_t tcpStateFromKernel(unsigned state) {
  constexpr std::int32_t kStates[] = {
      0,   // none
      4,   // ESTABLISHED
      2,   // SYN_SENT
      3,   // SYN_RECV
      6,   // FIN_WAIT1
      9,   // FIN_WAIT2
      10,  // TIME_WAIT
      0,   // CLOSE
      5,   // CLOSE_WAIT
      8,   // LAST_ACK
      1,   // LISTEN
      7,   // CLOSING
      3,   // NEW_SYN_RECV
      0,   // BOUND_INACTIVE
  };
  return state < std::size(kStates) ? kStates[state] : 0;
}

bool dumpTCPSockets(DumpScope scope, const SocketSink& sink) {
  const UniqueFd netlink(
      ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
  if (!netlink.valid() || !sendDumpRequest(netlink.get(), scope)) return false;
  const auto piece = std::make_unique_for_overwrite<char[]>(kDumpPieceSize);
  while (true) {
    const ssize_t count = ::recv(netlink.get(), piece.get(), kDumpPieceSize, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    const DumpState state =
        readDumpPiece(piece.get(), static_cast<std::size_t>(count), sink);
    if (state != DumpState::kGoesOn) return state == DumpState::kDone;
  }
}

void readTCPTable(std::string_view table, const SocketSink& sink) {
  while (!table.empty()) {
    const std::string_view line = table.substr(0, table.find('\n'));
    readTCPLine(line, sink);
    table.remove_prefix(std::min(line.size() + 1, table.size()));
  }
}

}  // namespace quillhaven::platform::internal
