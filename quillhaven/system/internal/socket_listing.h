// The two listings of TCPSocketsForPID over any source of kernel records.
#ifndef QUILLHAVEN_SYSTEM_INTERNAL_SOCKET_LISTING_H_
#define QUILLHAVEN_SYSTEM_INTERNAL_SOCKET_LISTING_H_

#include <cstdint>
#include <map>
#include <vector>

#include "quillhaven/platform/process/process_sockets.h"
#include "quillhaven/system/tcp_sockets.h"

namespace quillhaven::system::internal {

// `processIdentifier` is for the diagnostics, which go to standard error.
[[nodiscard]] std::vector<std::int32_t> socketFileDescriptors(
    platform::ProcessSockets& sockets, std::int32_t processIdentifier);
[[nodiscard]] std::map<std::int32_t, std::vector<TCPSocketInfo>> tcpSocketInfo(
    platform::ProcessSockets& sockets, std::int32_t processIdentifier);

}  // namespace quillhaven::system::internal

#endif  // QUILLHAVEN_SYSTEM_INTERNAL_SOCKET_LISTING_H_
