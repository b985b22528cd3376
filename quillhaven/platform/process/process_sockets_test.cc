#include "quillhaven/platform/process/process_sockets.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/process/internal/tcp_sockets.h"
#include "quillhaven/platform/process/process_table.h"
#include "quillhaven/platform/process/testing/processes.h"

namespace quillhaven::platform {
namespace {

using testing::Child;
using testing::TemporaryFolder;

std::string shown(const SocketInformation& socket) {
  std::string text = std::to_string(socket.state);
  const auto append = [&text](const auto& address, int port) {
    char separator = ' ';
    for (const int number : address) {
      text.append(1, separator).append(std::to_string(number));
      separator = '.';
    }
    text.append(":").append(std::to_string(port));
  };
  append(socket.localAddress, socket.localPort);
  append(socket.remoteAddress, socket.remotePort);
  return text;
}

constexpr std::string_view kTable =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when "
    "retrnsmt   uid  timeout inode\n"
    "   0: 0100007F:1F90 00000000:0000 0A 00000000:00000000 00:00000000 "
    "00000000     0        0 1001 1 000000001840d874 100 0 0 10 0\n"
    "  12: 0100007F:0019 0200A8C0:FFFF 01 00000000:00000000 00:00000000 "
    "00000000  1000        0 1002 1 0000000000000000\n"
    "  13: 0100007F:0019 0200A8C0:FFFE 06 00000000:00000000 03:00000000 "
    "00000000  1000        0 0 1 0000000000000000\n"
    "broken line\n"
    "  14: 0100007F:0019 0200A8C0";

TEST(ReadTCPTable, ReadsWholeLinesOnly) {
  std::vector<std::string> seen;
  internal::readTCPTable(kTable, [&](std::uint64_t inode, const auto& socket) {
    EXPECT_EQ(socket.family, SocketFamily::kIPv4);
    EXPECT_EQ(socket.kind, SocketKind::kTCP);
    seen.push_back(std::to_string(inode) + " " + shown(socket));
  });
  EXPECT_EQ(seen,
            (std::vector<std::string>{"1001 1 127.0.0.1:8080 0.0.0.0:0",
                                      "1002 4 127.0.0.1:25 192.168.0.2:65535",
                                      "0 10 127.0.0.1:25 192.168.0.2:65534"}));
  // Cut anywhere, no line becomes another one.
  for (std::size_t size = 0; size <= kTable.size(); ++size) {
    std::size_t count = 0;
    internal::readTCPTable(kTable.substr(0, size),
                           [&](std::uint64_t, const auto&) { ++count; });
    EXPECT_LE(count, 3U);
  }
}

TEST(TCPState, FollowsTheProductsNumbers) {
  constexpr std::int32_t kExpected[] = {0, 4, 2, 3, 6, 9, 10, 0,
                                        5, 8, 1, 7, 3, 0, 0};
  for (unsigned state = 0; state < std::size(kExpected); ++state) {
    EXPECT_EQ(internal::tcpStateFromKernel(state), kExpected[state]) << state;
  }
}

TEST(ProcessSockets, ReadsAFolderMadeByHand) {
  const TemporaryFolder root;
  root.write("50/net/tcp", kTable);
  root.link("50/fd/0", "/dev/null");
  root.link("50/fd/10", "socket:[1002]");
  root.link("50/fd/3", "socket:[1001]");
  root.link("50/fd/4", "socket:[1001]");  // two descriptors of one socket
  root.link("50/fd/5", "socket:[77]");    // in no list
  root.link("50/fd/6", "socket");         // a file of that name
  const ProcessTable table(root.path());
  const auto sockets = processSockets(table, 50);
  TaskSummary summary;
  EXPECT_EQ(sockets->readTaskSummary(summary).size, kTaskSummarySize);
  EXPECT_EQ(summary.openFileCount, 6);

  Descriptor descriptors[5];  // room for all but the last
  EXPECT_EQ(sockets->readDescriptors(descriptors).size, 5 * kDescriptorSize);
  std::string kinds;
  for (const Descriptor& descriptor : descriptors) {
    kinds += std::to_string(descriptor.number);
    kinds += descriptor.kind == DescriptorKind::kSocket ? "s " : "- ";
  }
  EXPECT_EQ(kinds, "0- 3s 4s 5s 6- ");

  SocketInformation information;
  for (const std::int32_t number : {3, 4}) {
    EXPECT_EQ(sockets->readSocket(number, information).size,
              kSocketInformationSize);
    EXPECT_EQ(shown(information), "1 127.0.0.1:8080 0.0.0.0:0");
  }
  for (const std::int32_t number : {-1, 0, 5, 6, 10}) {
    const ReadOutcome read = sockets->readSocket(number, information);
    EXPECT_LE(read.size, 0) << number;
    EXPECT_NE(read.error, EPERM) << number;
  }
}

TEST(ProcessSockets, TellsNotThereFromNothingOpen) {
  const TemporaryFolder root;
  root.write("1/fd/note", "no descriptor");
  root.write("2/stat", "");
  const ProcessTable table(root.path());
  TaskSummary summary;
  EXPECT_EQ(processSockets(table, 2)->readTaskSummary(summary).error, ESRCH);
  EXPECT_EQ(processSockets(table, 3)->readTaskSummary(summary).error, ESRCH);
  const auto sockets = processSockets(table, 1);
  EXPECT_EQ(sockets->readTaskSummary(summary).size, kTaskSummarySize);
  EXPECT_EQ(summary.openFileCount, 0);
  EXPECT_EQ(sockets->readDescriptors({}).error, ESRCH);

  const ProcessTable missing(root.path("missing"));
  const ReadOutcome read = processSockets(missing, 1)->readTaskSummary(summary);
  EXPECT_LE(read.size, 0);
  EXPECT_EQ(read.error, ENOENT);
}

TEST(ProcessSockets, IsSilentAboutAProcessThatEndsBetweenTwoReads) {
  Child child = Child::start(WAITING_PROGRAM, {"x"});
  const ProcessTable table;
  const auto sockets = processSockets(table, child.pid());
  TaskSummary summary;
  ASSERT_EQ(sockets->readTaskSummary(summary).size, kTaskSummarySize);
  ASSERT_GE(summary.openFileCount, 3);
  child.end();
  std::vector<Descriptor> descriptors(
      static_cast<std::size_t>(summary.openFileCount));
  const ReadOutcome read = sockets->readDescriptors(descriptors);
  EXPECT_LE(read.size, 0);
  EXPECT_EQ(read.error, ESRCH);
}

// Of very many descriptors the sockets are listed while the links are read.
TEST(ProcessSockets, SeesWhatBecomesOfASocketAfterTheListing) {
  const Child child = Child::run([] {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    const int late = ::socket(AF_INET, SOCK_STREAM, 0);
    const int unused = ::socket(AF_INET, SOCK_STREAM, 0);
    for (int i = 0; i < 3000; ++i) {
      if (::dup(STDERR_FILENO) < 0) return 1;
    }
    const auto report = [](int number) {
      const std::string line = std::to_string(number) + "\n";
      return ::write(1, line.data(), line.size()) > 0;
    };
    sigset_t go;
    sigemptyset(&go);
    sigaddset(&go, SIGUSR1);
    ::sigprocmask(SIG_BLOCK, &go, nullptr);
    int number;
    if (!report(late) || !report(unused) || ::sigwait(&go, &number) != 0) {
      return 1;
    }
    if (::listen(late, 1) != 0 || !report(0)) return 1;
    return ::pause();
  });
  const int late = std::stoi(child.readLine());
  const int unused = std::stoi(child.readLine());

  const ProcessTable table;
  const auto sockets = processSockets(table, child.pid());
  TaskSummary summary;
  ASSERT_EQ(sockets->readTaskSummary(summary).size, kTaskSummarySize);
  ASSERT_GE(summary.openFileCount, 3000);
  std::vector<Descriptor> descriptors(
      static_cast<std::size_t>(summary.openFileCount));
  ASSERT_GT(sockets->readDescriptors(descriptors).size, 0);
  ::kill(child.pid(), SIGUSR1);
  ASSERT_EQ(child.readLine(), "0");
  SocketInformation information;
  ASSERT_GT(sockets->readSocket(unused, information).size, 0);
  EXPECT_EQ(shown(information), "0 0.0.0.0:0 0.0.0.0:0");
  ASSERT_GT(sockets->readSocket(late, information).size, 0);
  EXPECT_EQ(information.state, 1);
  EXPECT_NE(information.localPort, 0);
}

}  // namespace
}  // namespace quillhaven::platform
