#include <fcntl.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillhaven/platform/process/internal/proc_files.h"
#include "quillhaven/platform/process/internal/tcp_sockets.h"
#include "quillhaven/platform/process/process_sockets.h"
#include "quillhaven/platform/process/process_table.h"

namespace quillhaven::platform {
namespace {

using internal::NumberedPath;

ReadOutcome failure(int error) {
  if (error == EACCES) error = EPERM;
  if (error == ENOENT) error = ESRCH;
  return {-1, error};
}

// Returns the inode of the socket that a descriptor's link names, or nothing
// for what is no socket. The link is only read: following it could wait for a
// file on a network that is down.
std::optional<std::uint64_t> socketInode(std::string_view link) {
  constexpr std::string_view kPrefix = "socket:[";
  if (!link.starts_with(kPrefix)) return std::nullopt;
  std::uint64_t inode = 0;
  std::from_chars(link.data() + kPrefix.size(), link.data() + link.size(),
                  inode);
  return inode;
}

// A socket of the process, and what the dump says about it.
struct OpenSocket {
  std::int32_t descriptor;
  std::uint64_t inode;
  std::optional<SocketInformation> information = {};
};

// Holds the folder of the process from the first read on, so that no later
// process with the same number can answer.
class LinuxProcessSockets : public ProcessSockets {
 public:
  LinuxProcessSockets(const ProcessTable& table, std::int32_t processIdentifier)
      : table_(table), processIdentifier_(processIdentifier) {}

  ReadOutcome readTaskSummary(TaskSummary& summary) override;
  ReadOutcome readDescriptors(std::span<Descriptor> descriptors) override;
  ReadOutcome readSocket(std::int32_t number,
                         SocketInformation& information) override;

 private:
  [[nodiscard]] bool isInOurNetwork() const;
  [[nodiscard]] bool handSocketsTo(const internal::SocketSink& sink) const;
  void findSockets();
  ReadOutcome readProtocol(std::int32_t number,
                           SocketInformation& information) const;

  const ProcessTable& table_;
  const std::int32_t processIdentifier_;
  UniqueFd process_;
  UniqueFd descriptors_;               // the folder with a link for each
  std::vector<std::int32_t> numbers_;  // of all descriptors, ascending
  std::vector<OpenSocket> sockets_;    // by descriptor
  bool areSocketsFound_ = false;
  bool isEverySocketSeen_ = false;  // the dump was whole
};

ReadOutcome LinuxProcessSockets::readTaskSummary(TaskSummary& summary) {
  if (table_.root() < 0) return {-1, table_.rootError()};
  if (!table_.mayBeProcess(processIdentifier_)) return failure(ESRCH);
  process_ = internal::openBelow(
      table_.root(), NumberedPath(processIdentifier_).get(), O_DIRECTORY);
  if (!process_.valid()) return failure(errno);
  descriptors_ = internal::openBelow(process_.get(), "fd", O_DIRECTORY);
  if (!descriptors_.valid()) return failure(errno);
  auto numbers = internal::numbersIn(descriptors_.get());
  if (!numbers) return failure(errno);
  numbers_ = std::move(*numbers);
  // Where the folder may be listed the links may still be for the owner alone.
  char link[16];
  if (!numbers_.empty() &&
      internal::readLink(descriptors_.get(),
                         NumberedPath(numbers_.front()).get(), link,
                         sizeof link)
          .empty() &&
      errno == EACCES) {
    return failure(EPERM);
  }
  summary.openFileCount = static_cast<std::int32_t>(numbers_.size());
  return {kTaskSummarySize, 0};
}

ReadOutcome LinuxProcessSockets::readDescriptors(
    std::span<Descriptor> descriptors) {
  std::size_t count = 0;
  for (const std::int32_t number : numbers_) {
    if (count == descriptors.size()) break;
    char buffer[64];
    const std::string_view link = internal::readLink(
        descriptors_.get(), NumberedPath(number).get(), buffer, sizeof buffer);
    if (link.empty()) {
      if (errno == EACCES || errno == EPERM) return failure(EPERM);
      continue;  // closed since, or the whole process is gone
    }
    const auto inode = socketInode(link);
    if (inode) sockets_.push_back({number, *inode});
    descriptors[count++] = {
        number, inode ? DescriptorKind::kSocket : DescriptorKind::kOther};
  }
  // A process that holds nothing is a zombie or one that closed everything;
  // both have nothing to report, like one that is gone.
  if (count == 0) return failure(ESRCH);
  return {static_cast<std::int32_t>(count) * kDescriptorSize, 0};
}

// Sockets are listed by network namespace, and diagnostics show only our own.
bool LinuxProcessSockets::isInOurNetwork() const {
  char ours[64];
  char theirs[64];
  const std::string_view ourLink = internal::readLink(
      AT_FDCWD, "/proc/thread-self/ns/net", ours, sizeof ours);
  return !ourLink.empty() &&
         ourLink == internal::readLink(process_.get(), "ns/net", theirs,
                                       sizeof theirs);
}

bool LinuxProcessSockets::handSocketsTo(
    const internal::SocketSink& sink) const {
  if (isInOurNetwork() && internal::dumpTCPSockets(sink)) return true;
  const auto table = internal::readWhole(process_.get(), "net/tcp");
  if (!table) return false;
  internal::readTCPTable(*table, sink);
  return true;
}

void LinuxProcessSockets::findSockets() {
  areSocketsFound_ = true;
  using ByInode = std::pair<std::uint64_t, std::size_t>;
  std::vector<ByInode> inodes;  // with the place in sockets_
  inodes.reserve(sockets_.size());
  for (std::size_t i = 0; i < sockets_.size(); ++i) {
    inodes.emplace_back(sockets_[i].inode, i);
  }
  std::sort(inodes.begin(), inodes.end());
  isEverySocketSeen_ = handSocketsTo([&](std::uint64_t inode,
                                         const SocketInformation& information) {
    // Several descriptors may hold one socket.
    auto at = std::lower_bound(inodes.begin(), inodes.end(), ByInode(inode, 0));
    for (; at != inodes.end() && at->first == inode; ++at) {
      sockets_[at->second].information = information;
    }
  });
}

ReadOutcome LinuxProcessSockets::readSocket(std::int32_t number,
                                            SocketInformation& information) {
  if (!areSocketsFound_) findSockets();
  const auto at =
      std::lower_bound(sockets_.begin(), sockets_.end(), number,
                       [](const OpenSocket& socket, std::int32_t wanted) {
                         return socket.descriptor < wanted;
                       });
  if (at == sockets_.end() || at->descriptor != number) return failure(EBADF);
  if (!at->information) return readProtocol(number, information);
  information = *at->information;
  return {kSocketInformationSize, 0};
}

// Tells what a socket is that no list has. An IPv4 TCP socket that is neither
// bound nor connected, or was so once, is in none: it is CLOSED.
ReadOutcome LinuxProcessSockets::readProtocol(
    std::int32_t number, SocketInformation& information) const {
  // The folder is held, but the call wants a path.
  const std::string path = std::string("/proc/self/fd/")
                               .append(std::to_string(descriptors_.get()))
                               .append("/")
                               .append(std::to_string(number));
  char name[32];
  const ssize_t size =
      ::getxattr(path.c_str(), "system.sockprotoname", name, sizeof name);
  if (size <= 0) return failure(errno);
  const std::string_view protocol(name, static_cast<std::size_t>(size) - 1);
  if (protocol == "TCP" && !isEverySocketSeen_) return failure(ENOTSUP);

  information = {};
  if (protocol == "TCP" || protocol == "TCPv6") {
    information.family =
        protocol == "TCP" ? SocketFamily::kIPv4 : SocketFamily::kIPv6;
    information.kind = SocketKind::kTCP;
  }
  return {kSocketInformationSize, 0};
}

}  // namespace

std::unique_ptr<ProcessSockets> processSockets(const ProcessTable& table,
                                               std::int32_t processIdentifier) {
  return std::make_unique<LinuxProcessSockets>(table, processIdentifier);
}

}  // namespace quillhaven::platform
