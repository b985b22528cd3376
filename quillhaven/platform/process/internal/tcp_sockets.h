// The TCP sockets of IPv4 in a network namespace, by inode.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_TCP_SOCKETS_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_TCP_SOCKETS_H_

#include <cstdint>
#include <functional>
#include <string_view>

#include "quillhaven/platform/process/process_sockets.h"

namespace quillhaven::platform::internal {

// Receives one socket. Its inode is what the links of its descriptors name; 0
// when no descriptor holds it any more.
using SocketSink =
    std::function<void(std::uint64_t inode, const SocketInformation&)>;

// Returns the number that the product uses for the kernel's TCP state `state`:
// the order of RFC 793's diagram, from 0 CLOSED and 1 LISTEN to 10 TIME_WAIT.
[[nodiscard]] std::int32_t tcpStateFromKernel(unsigned state);

// What a dump contains. For sockets that are bound to a port and neither listen
// nor are connected the kernel walks a table more, and hardly a process has
// any.
enum class DumpScope { kListeningOrConnected, kAll };

// Hands the TCP sockets of IPv4 in this thread's network namespace to `sink`,
// from one dump of the kernel's socket diagnostics; those that no descriptor
// holds any more may be left out. False when there is none (no such service,
// not allowed); the sink may then have received some.
[[nodiscard]] bool dumpTCPSockets(DumpScope scope, const SocketSink& sink);

// Hands the sockets listed in `table`, the text of a file net/tcp, to `sink`.
// Lines that cannot be read are passed over.
void readTCPTable(std::string_view table, const SocketSink& sink);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_TCP_SOCKETS_H_
