// The diagnostics of the socket listings, over a kernel that fails on demand.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/system/internal/socket_listing.h"

// The sanitizers would stop at an allocation that cannot be made; they look for
// these names among those that the program exports.
#define QH_SANITIZER_OPTIONS(name)                                         \
  extern "C" [[gnu::visibility("default")]] const char* name(); /*NOLINT*/ \
  extern "C" const char* name() { return "allocator_may_return_null=1"; }
QH_SANITIZER_OPTIONS(__asan_default_options)
QH_SANITIZER_OPTIONS(__tsan_default_options)

namespace quillhaven::system {
namespace {

using platform::Descriptor;
using platform::DescriptorKind;
using platform::ReadOutcome;
using platform::SocketFamily;
using platform::SocketInformation;
using platform::SocketKind;

// Says what it is told to say; by default, three sockets and a file.
class ToldSockets : public platform::ProcessSockets {
 public:
  ReadOutcome summaryOutcome = {platform::kTaskSummarySize, 0};
  std::int32_t openFileCount = 4;
  ReadOutcome listOutcome = {4 * platform::kDescriptorSize, 0};
  std::vector<Descriptor> descriptors = {{3, DescriptorKind::kSocket},
                                         {4, DescriptorKind::kOther},
                                         {7, DescriptorKind::kSocket},
                                         {9, DescriptorKind::kSocket}};
  ReadOutcome socketOutcome = {platform::kSocketInformationSize, 0};
  SocketInformation socket = {
      SocketFamily::kIPv4, SocketKind::kTCP, 4, 25, 65535,
      {127, 0, 0, 1},      {255, 1, 20, 0}};

  ReadOutcome readTaskSummary(platform::TaskSummary& summary) override {
    summary.openFileCount = openFileCount;
    return summaryOutcome;
  }
  ReadOutcome readDescriptors(std::span<Descriptor> room) override {
    for (std::size_t i = 0; i < room.size() && i < descriptors.size(); ++i) {
      room[i] = descriptors[i];
    }
    return listOutcome;
  }
  ReadOutcome readSocket(std::int32_t number,
                         SocketInformation& information) override {
    read.push_back(number);
    information = socket;
    return number == 7 ? socketOutcome
                       : ReadOutcome{platform::kSocketInformationSize, 0};
  }

  std::vector<std::int32_t> read;  // of which sockets was asked
};

struct Listed {
  std::size_t descriptors;
  std::size_t sockets;
  std::string said;  // by the listing of the sockets
};

Listed list(ToldSockets& told) {
  Listed listed{};
  ::testing::internal::CaptureStderr();
  listed.descriptors = internal::socketFileDescriptors(told, 42).size();
  ::testing::internal::GetCapturedStderr();
  ::testing::internal::CaptureStderr();
  for (const auto& [state, sockets] : internal::tcpSocketInfo(told, 42)) {
    listed.sockets += sockets.size();
  }
  listed.said = ::testing::internal::GetCapturedStderr();
  return listed;
}

TEST(SocketListing, SaysExactlyWhyAProcessCannotBeRead) {
  const std::string denied = "PID 42: permission error\n";
  const struct {
    ReadOutcome summary, list;
    std::int32_t count;
    std::string said;
  } cases[] = {
      {{-1, EPERM}, {}, 4, denied},
      {{0, EPERM}, {}, 4, denied},
      {{0, ESRCH}, {}, 4, "PID 42: no such process\n"},
      {{-1, EMFILE}, {}, 4, "PID 42: information error: Too many open files\n"},
      {{231, EPERM},
       {},
       4,
       "PID 42: proc_pidinfo(PROC_PIDTASKALLINFO);\n"
       "too few bytes; expected 232, got 231\n"},
      {{232, 0}, {}, -1, "PID 42: can't allocate space for -1 FDs\n"},
      {{232, 0},
       {-1, EPERM},
       4,
       "PID 42: FD info error: Operation not permitted"},
      {{232, 0}, {0, EIO}, 4, "PID 42: FD info error: Input/output error"},
      {{232, 0}, {0, ESRCH}, 4, ""},
      {{232, 0}, {-1, ESRCH}, 0, ""},
      {{232, 0}, {7, 0}, 4, ""},  // not one whole entry
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.said);
    ToldSockets told;
    told.summaryOutcome = c.summary;
    told.listOutcome = c.list;
    told.openFileCount = c.count;
    const Listed listed = list(told);
    EXPECT_EQ(listed.descriptors, 0U);
    EXPECT_EQ(listed.sockets, 0U);
    EXPECT_EQ(listed.said, c.said);
    EXPECT_TRUE(told.read.empty());
  }
}

TEST(SocketListing, SaysExactlyWhyASocketCannotBeReadAndGoesOn) {
  const struct {
    ReadOutcome socket;
    std::size_t count;
    std::string_view said;
  } cases[] = {
      {{792, 0}, 3, ""},
      {{800, EPERM}, 3, ""},
      {{-1, EPERM}, 2, "PID 42 fd 7: permission error\n"},
      {{0, EPERM}, 2, "PID 42 fd 7: permission error\n"},
      {{-1, ESRCH}, 2, ""},
      {{0, EBADF}, 2, ""},
      {{791, EPERM}, 2, "Too few bytes; expected 792, got 791\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.socket.size);
    ToldSockets told;
    told.socketOutcome = c.socket;
    const Listed listed = list(told);
    EXPECT_EQ(listed.descriptors, 3U);
    EXPECT_EQ(listed.sockets, c.count);
    EXPECT_EQ(listed.said, c.said);
    EXPECT_EQ(told.read, (std::vector<std::int32_t>{3, 7, 9}));
  }
}

TEST(SocketListing, TakesWhatTheKernelReturned) {
  ToldSockets told;
  told.listOutcome = {2 * platform::kDescriptorSize + 7, 0};
  EXPECT_EQ(internal::socketFileDescriptors(told, 42),
            std::vector<std::int32_t>{3});
  const auto sockets = internal::tcpSocketInfo(told, 42);
  ASSERT_EQ(sockets.at(4).size(), 1U);
  EXPECT_EQ(sockets.at(4).front().descriptionWithoutAddress(),
            "<TCPSocketInfo: local=127.0.0.1:25, remote=255.1.20.0:65535, "
            "state=ESTABLISHED>");
  for (const auto& [family, kind] :
       {std::pair(SocketFamily::kIPv6, SocketKind::kTCP),
        std::pair(SocketFamily::kIPv4, SocketKind::kOther),
        std::pair(SocketFamily::kOther, SocketKind::kOther)}) {
    told.socket.family = family;
    told.socket.kind = kind;
    EXPECT_TRUE(internal::tcpSocketInfo(told, 42).empty());
  }
}

}  // namespace
}  // namespace quillhaven::system
