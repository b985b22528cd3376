#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
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

// What the link of a descriptor says.
struct LinkRead {
  enum class Outcome { kGone, kRefused, kOther, kSocket };
  Outcome outcome = Outcome::kGone;
  std::uint64_t inode = 0;
};

LinkRead readDescriptorLink(int folder, std::int32_t number) {
  char buffer[64];
  const std::string_view link = internal::readLink(
      folder, NumberedPath(number).get(), buffer, sizeof buffer);
  if (link.empty()) {
    const bool isRefused = errno == EACCES || errno == EPERM;
    return {isRefused ? LinkRead::Outcome::kRefused : LinkRead::Outcome::kGone};
  }
  const auto inode = socketInode(link);
  if (!inode) return {LinkRead::Outcome::kOther};
  return {LinkRead::Outcome::kSocket, *inode};
}

// From so many descriptors on, a second thread is worth its start, a dump
// beside their links that it may have to be taken again, and a guess of their
// numbers its check.
constexpr std::size_t kManyDescriptors = 2048;

// Starts a thread that no signal of the host's reaches; one that cannot be
// joined when the system has no more threads to give.
std::thread startHelper(const std::function<void()>& work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread helper;
  try {
    helper = std::thread(work);
  } catch (const std::system_error&) {
    // The caller does all the work itself.
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return helper;
}

// Reads the links of descriptors `numbers`. Nearly all time goes into the
// kernel's work for each link, which two threads share where there are many;
// the second one does `before` first, if that is given.
std::vector<LinkRead> readDescriptorLinks(
    int folder, const std::vector<std::int32_t>& numbers,
    const std::function<void()>& before) {
  constexpr std::size_t kPiece = 128;
  std::vector<LinkRead> links(numbers.size());
  std::atomic<std::size_t> next = 0;
  const auto readPieces = [&] {
    for (std::size_t at; (at = next.fetch_add(kPiece)) < numbers.size();) {
      const std::size_t end = std::min(at + kPiece, numbers.size());
      for (; at < end; ++at)
        links[at] = readDescriptorLink(folder, numbers[at]);
    }
  };
  std::thread helper;
  if (numbers.size() >= kManyDescriptors) {
    helper = startHelper([&] {
      if (before) before();
      readPieces();
    });
  }
  readPieces();
  if (helper.joinable()) helper.join();
  return links;
}

// Returns how many descriptors stand in the folder of a process, which the
// kernel tells as its size since Linux 6.2; 0 when it does not.
std::size_t toldDescriptorCount(int folder) {
  struct statfs fileSystem;
  struct stat status;
  if (::fstatfs(folder, &fileSystem) != 0 ||
      fileSystem.f_type != PROC_SUPER_MAGIC || ::fstat(folder, &status) != 0) {
    return 0;
  }
  return static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
}

// A socket of the process.
struct OpenSocket {
  std::int32_t descriptor;
  std::uint64_t inode;
};

// A socket of the process's network.
struct ListedSocket {
  std::uint64_t inode;
  SocketInformation information;
};

// Returns the item of `items` that has `value` as its `key`, which they are
// ordered by, or null. Looks at `next` first and sets it behind what it found:
// whoever asks for one after the other finds each at once.
template <typename Item, typename Key>
const Item* findNext(const std::vector<Item>& items, Key Item::*key, Key value,
                     std::size_t& next) {
  if (next >= items.size() || items[next].*key != value) {
    const auto at = std::lower_bound(
        items.begin(), items.end(), value,
        [key](const Item& item, Key wanted) { return item.*key < wanted; });
    if (at == items.end() || (*at).*key != value) return nullptr;
    next = static_cast<std::size_t>(at - items.begin());
  }
  return &items[next++];
}

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
  [[nodiscard]] bool findNumbers();
  [[nodiscard]] bool listNumbers();
  [[nodiscard]] bool isInOurNetwork() const;
  void takeDump(internal::DumpScope scope);
  ReadOutcome readProtocol(std::int32_t number,
                           SocketInformation& information) const;

  const ProcessTable& table_;
  const std::int32_t processIdentifier_;
  UniqueFd process_;
  UniqueFd descriptors_;               // the folder with a link for each
  std::vector<std::int32_t> numbers_;  // of all descriptors, ascending
  bool areNumbersAssumed_ = false;
  std::vector<OpenSocket> sockets_;  // by descriptor
  std::size_t nextSocket_ = 0;
  // The TCP sockets of the process's network, by inode.
  std::vector<ListedSocket> dump_;
  std::size_t nextInDump_ = 0;
  bool isDumped_ = false;
  bool isDumpWhole_ = false;
  bool isDumpFinal_ = false;  // has all, and is younger than the links
};

// Servers with very many descriptors use all numbers from 0 on; listing them
// would cost a fifth of the whole work.
bool LinuxProcessSockets::findNumbers() {
  const std::size_t count = toldDescriptorCount(descriptors_.get());
  areNumbersAssumed_ = count >= kManyDescriptors;
  if (areNumbersAssumed_) {
    numbers_.resize(count);
    std::iota(numbers_.begin(), numbers_.end(), 0);
    return true;
  }
  return listNumbers();
}

bool LinuxProcessSockets::listNumbers() {
  auto numbers = internal::numbersIn(descriptors_.get());
  if (numbers) numbers_ = std::move(*numbers);
  return numbers.has_value();
}

ReadOutcome LinuxProcessSockets::readTaskSummary(TaskSummary& summary) {
  if (table_.root() < 0) return {-1, table_.rootError()};
  if (!table_.mayBeProcess(processIdentifier_)) return failure(ESRCH);
  process_ = internal::openBelow(
      table_.root(), NumberedPath(processIdentifier_).get(), O_DIRECTORY);
  if (!process_.valid()) return failure(errno);
  descriptors_ = internal::openBelow(process_.get(), "fd", O_DIRECTORY);
  if (!descriptors_.valid()) return failure(errno);
  if (!findNumbers()) return failure(errno);
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
  using Outcome = LinkRead::Outcome;
  if (numbers_.size() > descriptors.size()) numbers_.resize(descriptors.size());
  // In our own process the socket of the dump could take a number in a gap.
  std::function<void()> earlyDump;
  if (processIdentifier_ != ::getpid()) {
    earlyDump = [this] {
      try {
        takeDump(internal::DumpScope::kListeningOrConnected);
      } catch (const std::bad_alloc&) {
        // Taken later, then.
      }
    };
  }
  std::vector<LinkRead> links =
      readDescriptorLinks(descriptors_.get(), numbers_, earlyDump);
  const auto isGone = [](const LinkRead& link) {
    return link.outcome == Outcome::kGone;
  };
  if (areNumbersAssumed_ && std::any_of(links.begin(), links.end(), isGone)) {
    // There are others, or some were closed since.
    if (!listNumbers()) return failure(errno);
    if (numbers_.size() > descriptors.size()) {
      numbers_.resize(descriptors.size());
    }
    links = readDescriptorLinks(descriptors_.get(), numbers_, {});
  }
  sockets_.reserve(links.size());
  std::size_t count = 0;
  for (std::size_t i = 0; i < links.size(); ++i) {
    const LinkRead& link = links[i];
    if (link.outcome == Outcome::kRefused) return failure(EPERM);
    // Closed since, or the whole process is gone.
    if (link.outcome == Outcome::kGone) continue;
    const bool isSocket = link.outcome == Outcome::kSocket;
    if (isSocket) sockets_.push_back({numbers_[i], link.inode});
    descriptors[count++] = {numbers_[i], isSocket ? DescriptorKind::kSocket
                                                  : DescriptorKind::kOther};
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

void LinuxProcessSockets::takeDump(internal::DumpScope scope) {
  dump_.clear();
  dump_.reserve(numbers_.size());
  const auto take = [this](std::uint64_t inode,
                           const SocketInformation& information) {
    if (inode != 0) dump_.push_back({inode, information});
  };
  isDumpWhole_ = isInOurNetwork() && internal::dumpTCPSockets(scope, take);
  if (!isDumpWhole_) {
    dump_.clear();
    const auto table = internal::readWhole(process_.get(), "net/tcp");
    if (table) internal::readTCPTable(*table, take);
    isDumpWhole_ = table.has_value();
  }
  std::sort(dump_.begin(), dump_.end(),
            [](const ListedSocket& a, const ListedSocket& b) {
              return a.inode < b.inode;
            });
  isDumped_ = true;
}

ReadOutcome LinuxProcessSockets::readSocket(std::int32_t number,
                                            SocketInformation& information) {
  if (!isDumped_) takeDump(internal::DumpScope::kListeningOrConnected);
  const OpenSocket* const socket =
      findNext(sockets_, &OpenSocket::descriptor, number, nextSocket_);
  if (socket == nullptr) return failure(EBADF);
  const ListedSocket* const listed =
      findNext(dump_, &ListedSocket::inode, socket->inode, nextInDump_);
  if (listed != nullptr) {
    information = listed->information;
    return {kSocketInformationSize, 0};
  }
  const ReadOutcome outcome = readProtocol(number, information);
  const bool isTCP = outcome.size > 0 &&
                     information.family == SocketFamily::kIPv4 &&
                     information.kind == SocketKind::kTCP;
  if (!isTCP || isDumpFinal_) return outcome;
  // It may be bound to a port and no more, or may have been made or connected
  // since.
  takeDump(internal::DumpScope::kAll);
  isDumpFinal_ = true;
  return readSocket(number, information);
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
  if (protocol == "TCP" && !isDumpWhole_) return failure(ENOTSUP);

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
