// Lists the TCP sockets that a process holds.
#ifndef QUILLHAVEN_SYSTEM_TCP_SOCKETS_H_
#define QUILLHAVEN_SYSTEM_TCP_SOCKETS_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillhaven::system {

// One IPv4 TCP socket. One thread at a time.
class TCPSocketInfo {
 public:
  // 0 CLOSED, 1 LISTEN, 2 SYN_SENT, 3 SYN_RECEIVED, 4 ESTABLISHED,
  // 5 CLOSE_WAIT, 6 FIN_WAIT_1, 7 CLOSING, 8 LAST_ACK, 9 FIN_WAIT_2,
  // 10 TIME_WAIT.
  std::int32_t state = 0;
  std::int32_t localPort = 0;  // in the machine's byte order, as the remote one
  std::string localAddress;    // four decimal numbers, as "127.0.0.1"
  std::int32_t remotePort = 0;
  std::string remoteAddress;

  // Returns the name of the state, such as "LISTEN", and "RESERVED" for 11;
  // nothing when `state` is outside 0 to 11.
  [[nodiscard]] std::optional<std::string> stateDescription() const;

  // Returns "<TCPSocketInfo: ADDRESS local=127.0.0.1:25, remote=0.0.0.0:0,
  // state=LISTEN>", where ADDRESS is this object's in memory; a state without a
  // name is "(null)".
  [[nodiscard]] std::string description() const;

  // The same without ADDRESS and the blank behind it: equal sockets have equal
  // ones.
  [[nodiscard]] std::string descriptionWithoutAddress() const;
};

// Looks at a process from outside. Both operations return what they could
// gather, never throw because of the process, and say on standard error what
// went wrong: that there is no such process, that it may not be looked at. They
// may be called from any thread.
class TCPSocketsForPID {
 public:
  TCPSocketsForPID() = delete;

  // Returns the numbers of the descriptors that are sockets of any kind, in
  // ascending order.
  [[nodiscard]] static std::vector<std::int32_t> socketFileDescriptorsForPID(
      std::int32_t processIdentifier);

  // Returns the IPv4 TCP sockets by state, those of a state in the order of
  // their descriptors; a socket that several descriptors hold stands there for
  // each. IPv6 sockets are not in it, even when they serve IPv4.
  [[nodiscard]] static std::map<std::int32_t, std::vector<TCPSocketInfo>>
  tcpSocketInfoForPID(std::int32_t processIdentifier);
};

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_TCP_SOCKETS_H_
