#include "quillhaven/system/tcp_sockets.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/process/testing/processes.h"

namespace quillhaven::system {
namespace {

using platform::UniqueFd;
using platform::testing::Child;
using platform::testing::eventually;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

using Sockets = std::map<std::int32_t, std::vector<TCPSocketInfo>>;

struct Endpoint {
  UniqueFd fd;
  int port = 0;
};

int portOf(int fd) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

UniqueFd tcpSocket(int flags = 0) {
  return UniqueFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

Endpoint boundSocket() {
  Endpoint end{tcpSocket()};
  const sockaddr_in address = loopback(0);
  EXPECT_EQ(::bind(end.fd.get(), reinterpret_cast<const sockaddr*>(&address),
                   sizeof address),
            0);
  end.port = portOf(end.fd.get());
  return end;
}

Endpoint listener(int backlog = 16) {
  Endpoint end = boundSocket();
  EXPECT_EQ(::listen(end.fd.get(), backlog), 0);
  return end;
}

Endpoint connectTo(int port, int flags = 0) {
  Endpoint end{tcpSocket(flags)};
  const sockaddr_in address = loopback(port);
  const int result =
      ::connect(end.fd.get(), reinterpret_cast<const sockaddr*>(&address),
                sizeof address);
  EXPECT_EQ(result, flags == 0 ? 0 : -1);
  end.port = portOf(end.fd.get());
  return end;
}

// Two ends of one connection.
struct Connection {
  Endpoint client;
  Endpoint server;
};

Connection makeConnection(const Endpoint& listening) {
  Connection both{connectTo(listening.port), {}};
  both.server.fd = UniqueFd(::accept(listening.fd.get(), nullptr, nullptr));
  both.server.port = listening.port;
  return both;
}

// Sends until the other end takes no more, so that a shutdown stays on the way.
void fill(const Endpoint& end) {
  const std::string bytes(65536, 'x');
  std::size_t refusals = 0;
  EXPECT_TRUE(eventually([&] {
    const ssize_t sent = ::send(end.fd.get(), bytes.data(), bytes.size(),
                                MSG_DONTWAIT | MSG_NOSIGNAL);
    refusals = sent > 0 ? 0 : refusals + 1;
    return refusals == 3;
  }));
}

// The socket of this process with `local` and `remote` port; nothing when there
// is none. A port of -1 is any.
std::optional<TCPSocketInfo> socketWith(int local, int remote) {
  for (const auto& [state, sockets] :
       TCPSocketsForPID::tcpSocketInfoForPID(::getpid())) {
    for (const TCPSocketInfo& socket : sockets) {
      EXPECT_EQ(socket.state, state);
      if (socket.localPort == local && socket.remotePort == remote) {
        return socket;
      }
    }
  }
  return std::nullopt;
}

std::string stateOf(int local, int remote) {
  const auto socket = socketWith(local, remote);
  return socket ? socket->stateDescription().value_or("?") : "none";
}

bool comesInto(std::string_view state, int local, int remote) {
  const bool isReached =
      eventually([&] { return stateOf(local, remote) == state; });
  if (!isReached) ADD_FAILURE() << state << " not " << stateOf(local, remote);
  return isReached;
}

std::size_t socketCount(const Sockets& sockets) {
  std::size_t count = 0;
  for (const auto& [state, ofState] : sockets) count += ofState.size();
  return count;
}

TEST(TCPSocketInfo, NamesItsStateAndDescribesItself) {
  TCPSocketInfo info;
  info.localAddress = "127.0.0.1";
  info.localPort = 25;
  info.remoteAddress = "10.0.0.2";
  info.remotePort = 65535;
  const struct {
    std::int32_t state;
    std::optional<std::string> text;
  } cases[] = {{-1, {}},
               {0, "CLOSED"},
               {1, "LISTEN"},
               {2, "SYN_SENT"},
               {3, "SYN_RECEIVED"},
               {4, "ESTABLISHED"},
               {5, "CLOSE_WAIT"},
               {6, "FIN_WAIT_1"},
               {7, "CLOSING"},
               {8, "LAST_ACK"},
               {9, "FIN_WAIT_2"},
               {10, "TIME_WAIT"},
               {11, "RESERVED"},
               {12, {}},
               {2147483647, {}}};
  for (const auto& c : cases) {
    info.state = c.state;
    EXPECT_EQ(info.stateDescription(), c.text) << c.state;
    EXPECT_EQ(info.descriptionWithoutAddress(),
              "<TCPSocketInfo: local=127.0.0.1:25, remote=10.0.0.2:65535, "
              "state=" +
                  c.text.value_or("(null)") + ">");
  }
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<void*>(&info));
  EXPECT_EQ(info.description(),
            "<TCPSocketInfo: " + std::string(address) +
                " local=127.0.0.1:25, remote=10.0.0.2:65535, state=(null)>");
}

TEST(TCPSocketsForPID, SeesEveryStateThatADescriptorCanBeIn) {
  const Endpoint listening = listener();
  const auto found = socketWith(listening.port, 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->state, 1);
  EXPECT_EQ(found->localAddress, "127.0.0.1");
  EXPECT_EQ(found->remoteAddress, "0.0.0.0");

  const Connection open = makeConnection(listening);
  const int client = open.client.port;
  EXPECT_TRUE(comesInto("ESTABLISHED", client, listening.port));
  EXPECT_TRUE(comesInto("ESTABLISHED", listening.port, client));
  ::shutdown(open.client.fd.get(), SHUT_WR);
  EXPECT_TRUE(comesInto("FIN_WAIT_2", client, listening.port));
  EXPECT_TRUE(comesInto("CLOSE_WAIT", listening.port, client));

  // What the other end does not take keeps the end of the stream back.
  const Connection full = makeConnection(listening);
  fill(full.client);
  ::shutdown(full.client.fd.get(), SHUT_WR);
  EXPECT_TRUE(comesInto("FIN_WAIT_1", full.client.port, listening.port));
  ::shutdown(full.server.fd.get(), SHUT_WR);
  EXPECT_TRUE(comesInto("CLOSING", full.client.port, listening.port));

  const Connection last = makeConnection(listening);
  fill(last.client);
  ::shutdown(last.server.fd.get(), SHUT_WR);
  EXPECT_TRUE(comesInto("CLOSE_WAIT", last.client.port, listening.port));
  ::shutdown(last.client.fd.get(), SHUT_WR);
  EXPECT_TRUE(comesInto("LAST_ACK", last.client.port, listening.port));

  // A queue for one connection that nobody accepts takes no second one.
  const Endpoint busy = listener(0);
  const Endpoint first = connectTo(busy.port);
  const Endpoint second = connectTo(busy.port, SOCK_NONBLOCK);
  EXPECT_TRUE(comesInto("ESTABLISHED", first.port, busy.port));
  EXPECT_TRUE(comesInto("SYN_SENT", second.port, busy.port));
}

TEST(TCPSocketsForPID, TakesUnconnectedSocketsForClosed) {
  const auto closed = [] {
    return TCPSocketsForPID::tcpSocketInfoForPID(::getpid())[0];
  };
  const std::size_t before = closed().size();
  const UniqueFd unbound = tcpSocket();
  ASSERT_EQ(closed().size(), before + 1);
  EXPECT_EQ(closed().back().descriptionWithoutAddress(),
            "<TCPSocketInfo: local=0.0.0.0:0, remote=0.0.0.0:0, "
            "state=CLOSED>");

  const Endpoint bound = boundSocket();
  ASSERT_EQ(closed().size(), before + 2);
  // Older kernels list no such socket and so tell no port.
  EXPECT_TRUE(closed().back().localPort == bound.port ||
              closed().back().localPort == 0);

  Connection connection = makeConnection(listener());
  const linger abort{1, 0};
  ::setsockopt(connection.client.fd.get(), SOL_SOCKET, SO_LINGER, &abort,
               sizeof abort);
  connection.client.fd.reset();
  EXPECT_TRUE(eventually([&] { return closed().size() == before + 3; }));
}

TEST(TCPSocketsForPID, ListsSocketsOfAnyKindAndReadsThoseOfIPv4TCP) {
  const auto list = [] {
    return TCPSocketsForPID::socketFileDescriptorsForPID(::getpid());
  };
  const auto readCount = [] {
    return socketCount(TCPSocketsForPID::tcpSocketInfoForPID(::getpid()));
  };
  std::vector<std::int32_t> expected = list();
  const std::size_t before = readCount();
  CaptureStderr();
  std::vector<UniqueFd> others;
  for (const auto& [domain, type] :
       {std::pair(AF_INET, SOCK_DGRAM), std::pair(AF_INET6, SOCK_STREAM),
        std::pair(AF_INET6, SOCK_DGRAM), std::pair(AF_UNIX, SOCK_STREAM),
        std::pair(AF_NETLINK, SOCK_RAW)}) {
    others.emplace_back(::socket(domain, type | SOCK_CLOEXEC, 0));
    expected.push_back(others.back().get());
  }
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const UniqueFd reader(ends[0]);
  const UniqueFd writer(ends[1]);
  const UniqueFd file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(list(), expected);
  EXPECT_EQ(readCount(), before);

  const Endpoint listening = listener();
  const UniqueFd twice(::fcntl(listening.fd.get(), F_DUPFD_CLOEXEC, 0));
  const auto sockets = TCPSocketsForPID::tcpSocketInfoForPID(::getpid());
  EXPECT_EQ(socketCount(sockets), before + 2);  // one for each descriptor
  EXPECT_EQ(sockets.at(1).size(), 2U);
  EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(TCPSocketsForPID, SkipsIPv4ThatAnIPv6SocketServes) {
  const UniqueFd six(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int off = 0;
  ::setsockopt(six.get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
  sockaddr_in6 any{};
  any.sin6_family = AF_INET6;
  ASSERT_EQ(::bind(six.get(), reinterpret_cast<sockaddr*>(&any), sizeof any),
            0);
  ASSERT_EQ(::listen(six.get(), 4), 0);
  socklen_t size = sizeof any;
  ::getsockname(six.get(), reinterpret_cast<sockaddr*>(&any), &size);
  const int port = ntohs(any.sin6_port);
  const Endpoint client = connectTo(port);
  const UniqueFd server(::accept(six.get(), nullptr, nullptr));
  ASSERT_TRUE(server.valid());
  EXPECT_EQ(stateOf(client.port, port), "ESTABLISHED");
  EXPECT_EQ(stateOf(port, client.port), "none");
  EXPECT_EQ(stateOf(port, 0), "none");
}

TEST(TCPSocketsForPID, GroupsByState) {
  const Child child = Child::run([] {
    const Endpoint first = listener();
    const Endpoint second = listener();
    const Connection both = makeConnection(first);
    const std::string line = std::to_string(first.port) + "\n";
    if (::write(1, line.data(), line.size()) < 0) return 1;
    char byte;
    return static_cast<int>(::read(0, &byte, 1));
  });
  const int port = std::stoi(child.readLine());
  const auto own = TCPSocketsForPID::tcpSocketInfoForPID(::getpid());
  ASSERT_EQ(socketCount(own), 0U);  // or the child would have inherited them
  const auto sockets = TCPSocketsForPID::tcpSocketInfoForPID(child.pid());
  ASSERT_EQ(sockets.size(), 2U);
  ASSERT_EQ(sockets.at(1).size(), 2U);
  EXPECT_EQ(sockets.at(1).front().localPort, port);
  ASSERT_EQ(sockets.at(4).size(), 2U);
  EXPECT_EQ(sockets.at(4).front().remotePort, port);
  EXPECT_EQ(sockets.at(4).back().localPort, port);
}

// Thousands are read by other means than a few.
TEST(TCPSocketsForPID, ListsVeryManyDescriptorsWithAndWithoutGaps) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  constexpr int kCount = 3000;
  ASSERT_GT(limit.rlim_max, rlim_t{2 * kCount});
  const Endpoint listening = listener();
  std::vector<UniqueFd> files;
  std::vector<std::int32_t> sockets =
      TCPSocketsForPID::socketFileDescriptorsForPID(::getpid());
  for (int i = 0; i < kCount; ++i) {
    files.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  }
  for (int i = 0; i < 3; ++i) {
    files.emplace_back(
        ::fcntl(listening.fd.get(), F_DUPFD_CLOEXEC, i == 2 ? 5000 : kCount));
    sockets.push_back(files.back().get());
    EXPECT_EQ(TCPSocketsForPID::socketFileDescriptorsForPID(::getpid()),
              sockets);
    EXPECT_EQ(TCPSocketsForPID::tcpSocketInfoForPID(::getpid())[1].size(),
              sockets.size());
    files[static_cast<std::size_t>(i) * 700].reset();  // from then on, a gap
  }
}

TEST(TCPSocketsForPID, SeesAnotherNetworkNamespace) {
  const Child child = Child::run([] {
    const bool isApart = ::unshare(CLONE_NEWNET) == 0 ||
                         ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0;
    UniqueFd socket = tcpSocket();
    ::listen(socket.get(), 1);  // on any address and a port of its own
    const std::string line =
        (isApart ? std::to_string(portOf(socket.get())) : "none") + "\n";
    if (::write(1, line.data(), line.size()) < 0) return 1;
    char byte;
    return static_cast<int>(::read(0, &byte, 1));
  });
  const std::string port = child.readLine();
  if (port == "none") GTEST_SKIP() << "no right to make a network namespace";
  const auto sockets = TCPSocketsForPID::tcpSocketInfoForPID(child.pid());
  ASSERT_EQ(socketCount(sockets), 1U);
  EXPECT_EQ(sockets.at(1).front().descriptionWithoutAddress(),
            "<TCPSocketInfo: local=0.0.0.0:" + port +
                ", remote=0.0.0.0:0, state=LISTEN>");
}

// What the two operations say on standard error about `pid`.
std::string saidAbout(std::int32_t pid) {
  CaptureStderr();
  EXPECT_TRUE(TCPSocketsForPID::socketFileDescriptorsForPID(pid).empty());
  EXPECT_TRUE(TCPSocketsForPID::tcpSocketInfoForPID(pid).empty());
  return GetCapturedStderr();
}

TEST(TCPSocketsForPID, SaysThatThereIsNoProcess) {
  Child child = Child::start(WAITING_PROGRAM, {"x"});
  const std::int32_t pid = child.pid();
  child.kill();
  EXPECT_EQ(saidAbout(pid), "");  // a zombie has no descriptors
  child.end();
  std::thread([&] {
    for (const std::int32_t none : {pid, 0, -1, ::gettid()}) {
      const std::string line =
          "PID " + std::to_string(none) + ": no such process\n";
      EXPECT_EQ(saidAbout(none), line + line);
    }
  }).join();
}

TEST(TCPSocketsForPID, SaysThatAProcessIsAnotherUsers) {
  const bool isRoot = ::geteuid() == 0;
  const auto becomeUser = [isRoot](uid_t user) {
    return !isRoot || (::setgid(user) == 0 && ::setuid(user) == 0);
  };
  const Child other = Child::run([&] {
    const UniqueFd socket = tcpSocket();
    const bool isOther = becomeUser(65533);
    if (::write(1, isOther ? "r\n" : "f\n", 2) < 0) return 1;
    char byte;
    return static_cast<int>(::read(0, &byte, 1));
  });
  ASSERT_EQ(other.readLine(), "r");
  // Who is not root looks at the first process, which is root's.
  const std::int32_t pid = isRoot ? other.pid() : 1;
  const Child looking = Child::run([&] {
    if (!becomeUser(65534)) return 1;
    ::dup2(1, 2);
    const auto sockets = TCPSocketsForPID::tcpSocketInfoForPID(pid);
    std::fprintf(stderr, "%zu sockets\n", socketCount(sockets));
    return 0;
  });
  EXPECT_EQ(looking.readAll(),
            "PID " + std::to_string(pid) + ": permission error\n0 sockets\n");
}

}  // namespace
}  // namespace quillhaven::system
