#include "quillhaven/system/internal/socket_listing.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <system_error>

namespace quillhaven::system::internal {
namespace {

using platform::Descriptor;
using platform::ProcessSockets;
using platform::ReadOutcome;
using platform::SocketInformation;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
using DescriptorBuffer = std::unique_ptr<Descriptor[], Free>;

std::string errorText(int error) {
  return std::generic_category().message(error);
}

void reportTaskSummary(std::int32_t processIdentifier, int error) {
  if (error == EPERM) {
    std::fprintf(stderr, "PID %d: permission error\n", processIdentifier);
  } else if (error == ESRCH) {
    std::fprintf(stderr, "PID %d: no such process\n", processIdentifier);
  } else {
    std::fprintf(stderr, "PID %d: information error: %s\n", processIdentifier,
                 errorText(error).c_str());
  }
}

// Returns the number of open files; nothing, said on standard error, when the
// process cannot be looked at.
std::optional<std::int32_t> openFileCount(ProcessSockets& sockets,
                                          std::int32_t processIdentifier) {
  platform::TaskSummary summary;
  const ReadOutcome read = sockets.readTaskSummary(summary);
  if (read.size <= 0) {
    reportTaskSummary(processIdentifier, read.error);
    return std::nullopt;
  }
  if (read.size < platform::kTaskSummarySize) {
    std::fprintf(stderr,
                 "PID %d: proc_pidinfo(PROC_PIDTASKALLINFO);\n"
                 "too few bytes; expected %ld, got %d\n",
                 processIdentifier, long{platform::kTaskSummarySize},
                 read.size);
    return std::nullopt;
  }
  return summary.openFileCount;
}

// Returns what `sockets` says about a descriptor; nothing when that failed.
std::optional<SocketInformation> readSocket(ProcessSockets& sockets,
                                            std::int32_t processIdentifier,
                                            std::int32_t descriptor) {
  SocketInformation socket;
  const ReadOutcome read = sockets.readSocket(descriptor, socket);
  if (read.size <= 0) {
    // Any other error means that the descriptor was closed meanwhile.
    if (read.error == EPERM) {
      std::fprintf(stderr, "PID %d fd %d: permission error\n",
                   processIdentifier, descriptor);
    }
    return std::nullopt;
  }
  if (read.size < platform::kSocketInformationSize) {
    // With a capital letter, unlike the one above; deliberate.
    std::fprintf(stderr, "Too few bytes; expected %ld, got %d\n",
                 long{platform::kSocketInformationSize}, read.size);
    return std::nullopt;
  }
  return socket;
}

std::string dottedQuad(const std::array<std::uint8_t, 4>& address) {
  std::array<char, sizeof "255.255.255.255"> text;
  char* at = text.data();
  for (const std::uint8_t number : address) {
    if (at != text.data()) *at++ = '.';
    at = std::to_chars(at, text.data() + text.size(), number).ptr;
  }
  return {text.data(), at};
}

TCPSocketInfo infoFrom(const SocketInformation& socket) {
  TCPSocketInfo info;
  info.state = socket.state;
  info.localPort = socket.localPort;
  info.localAddress = dottedQuad(socket.localAddress);
  info.remotePort = socket.remotePort;
  info.remoteAddress = dottedQuad(socket.remoteAddress);
  return info;
}

}  // namespace

std::vector<std::int32_t> socketFileDescriptors(
    ProcessSockets& sockets, std::int32_t processIdentifier) {
  std::vector<std::int32_t> found;
  const auto count = openFileCount(sockets, processIdentifier);
  if (!count) return found;
  // A count beyond all memory is a message, not an exception.
  const auto capacity = static_cast<std::size_t>(*count);
  const DescriptorBuffer descriptors(static_cast<Descriptor*>(
      std::calloc(std::max<std::size_t>(capacity, 1), sizeof(Descriptor))));
  if (!descriptors) {
    std::fprintf(stderr, "PID %d: can't allocate space for %d FDs\n",
                 processIdentifier, *count);
    return found;
  }

  const ReadOutcome read =
      sockets.readDescriptors({descriptors.get(), capacity});
  if (read.size <= 0) {
    // Without a line feed, unlike all others; deliberate.
    if (read.error != ESRCH) {
      std::fprintf(stderr, "PID %d: FD info error: %s", processIdentifier,
                   errorText(read.error).c_str());
    }
    return found;
  }
  const auto filled =
      static_cast<std::size_t>(read.size / platform::kDescriptorSize);
  for (std::size_t i = 0; i < filled; ++i) {
    if (descriptors[i].kind == platform::DescriptorKind::kSocket) {
      found.push_back(descriptors[i].number);
    }
  }
  return found;
}

std::map<std::int32_t, std::vector<TCPSocketInfo>> tcpSocketInfo(
    ProcessSockets& sockets, std::int32_t processIdentifier) {
  const std::vector<std::int32_t> descriptors =
      socketFileDescriptors(sockets, processIdentifier);
  std::vector<SocketInformation> found;
  found.reserve(descriptors.size());
  std::map<std::int32_t, std::size_t> counts;  // by state
  for (const std::int32_t descriptor : descriptors) {
    const auto socket = readSocket(sockets, processIdentifier, descriptor);
    if (!socket || socket->family != platform::SocketFamily::kIPv4 ||
        socket->kind != platform::SocketKind::kTCP) {
      continue;
    }
    found.push_back(*socket);
    ++counts[socket->state];
  }
  std::map<std::int32_t, std::vector<TCPSocketInfo>> byState;
  for (const auto& [state, count] : counts) byState[state].reserve(count);
  for (const SocketInformation& socket : found) {
    byState[socket.state].push_back(infoFrom(socket));
  }
  return byState;
}

}  // namespace quillhaven::system::internal
