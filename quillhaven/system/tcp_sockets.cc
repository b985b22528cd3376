#include "quillhaven/system/tcp_sockets.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include "quillhaven/platform/process/process_sockets.h"
#include "quillhaven/platform/process/process_table.h"
#include "quillhaven/system/internal/socket_listing.h"

namespace quillhaven::system {
namespace {

constexpr std::array<std::string_view, 12> kStates = {
    "CLOSED",      "LISTEN",     "SYN_SENT",   "SYN_RECEIVED",
    "ESTABLISHED", "CLOSE_WAIT", "FIN_WAIT_1", "CLOSING",
    "LAST_ACK",    "FIN_WAIT_2", "TIME_WAIT",  "RESERVED"};

// `identity` stands behind the class name, with a blank at its end or empty.
std::string described(const TCPSocketInfo& info, std::string_view identity) {
  std::string text;
  text.reserve(128);  // enough for all
  text.append("<TCPSocketInfo: ")
      .append(identity)
      .append("local=")
      .append(info.localAddress)
      .append(":")
      .append(std::to_string(info.localPort))
      .append(", remote=")
      .append(info.remoteAddress)
      .append(":")
      .append(std::to_string(info.remotePort))
      .append(", state=")
      .append(info.stateDescription().value_or("(null)"))
      .append(">");
  return text;
}

}  // namespace

std::optional<std::string> TCPSocketInfo::stateDescription() const {
  if (state < 0 || static_cast<std::size_t>(state) >= kStates.size()) {
    return std::nullopt;
  }
  return std::string(kStates[static_cast<std::size_t>(state)]);
}

std::string TCPSocketInfo::description() const {
  char identity[32];
  std::snprintf(identity, sizeof identity, "%p ",
                static_cast<const void*>(this));
  return described(*this, identity);
}

std::string TCPSocketInfo::descriptionWithoutAddress() const {
  return described(*this, "");
}

std::vector<std::int32_t> TCPSocketsForPID::socketFileDescriptorsForPID(
    std::int32_t processIdentifier) {
  const platform::ProcessTable table;
  return internal::socketFileDescriptors(
      *platform::processSockets(table, processIdentifier), processIdentifier);
}

std::map<std::int32_t, std::vector<TCPSocketInfo>>
TCPSocketsForPID::tcpSocketInfoForPID(std::int32_t processIdentifier) {
  const platform::ProcessTable table;
  return internal::tcpSocketInfo(
      *platform::processSockets(table, processIdentifier), processIdentifier);
}

}  // namespace quillhaven::system
