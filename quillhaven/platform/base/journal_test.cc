#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

#include "quillhaven/platform/base/internal/journal.h"

namespace quillhaven::platform::internal {
namespace {

// A socket that receives what a journal would.
class Receiver {
 public:
  Receiver() {
    std::string folder = testing::TempDir() + "journalXXXXXX";
    EXPECT_NE(::mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    path_ = folder + "/socket";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address),
                     sizeof address),
              0);
  }
  ~Receiver() {
    ::close(socket_);
    std::filesystem::remove_all(folder_);
  }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;

  [[nodiscard]] const char* path() const { return path_.c_str(); }

  // The next entry's fields, from the datagram or from the file it carries.
  [[nodiscard]] std::string receive() const {
    std::string bytes(1 << 16, '\0');
    iovec vector{bytes.data(), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr message{};
    message.msg_iov = &vector;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t count = ::recvmsg(socket_, &message, MSG_DONTWAIT);
    if (count < 0) return "nothing";
    bytes.resize(static_cast<std::size_t>(count));
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    return header == nullptr ? bytes : contentsOfFile(header);
  }

 private:
  static std::string contentsOfFile(const cmsghdr* header) {
    int file = -1;
    std::memcpy(&file, CMSG_DATA(header), sizeof file);
    struct stat status;
    EXPECT_EQ(::fstat(file, &status), 0);
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    EXPECT_EQ(::pread(file, bytes.data(), bytes.size(), 0), status.st_size);
    EXPECT_LT(::pwrite(file, "x", 1, 0), 0);  // sealed
    ::close(file);
    return bytes;
  }

  std::string folder_, path_;
  int socket_ = -1;
};

// What JOURNAL_STREAM holds when standard error leads to the journal.
std::string ownStream() {
  struct stat status;
  EXPECT_EQ(::fstat(STDERR_FILENO, &status), 0);
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

TEST(Journal, ReceivesTheFieldsOfAMessage) {
  const Receiver receiver;
  const auto journal =
      Journal::behindStandardError(ownStream().c_str(), receiver.path());
  ASSERT_TRUE(journal);
  const struct {
    LogType type;
    std::string text, priority, message;
  } cases[] = {
      {LogType::kDebug, "a=b", "7", "MESSAGE=a=b\n"},
      {LogType::kInfo, "", "6", "MESSAGE=\n"},
      {LogType::kDefault, "a\nPRIORITY=0", "5",
       "MESSAGE\n" + std::string("\x0C\0\0\0\0\0\0\0", 8) + "a\nPRIORITY=0\n"},
      {LogType::kError, "\xC3\xA9", "3", "MESSAGE=\xC3\xA9\n"},
      {LogType::kFault, std::string(4 << 20, 'x'), "2",
       "MESSAGE=" + std::string(4 << 20, 'x') + "\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.priority);
    EXPECT_TRUE(journal->send({"com.example.app", "mail", c.type, c.text}));
    const std::string expected =
        "PRIORITY=" + c.priority +
        "\nSYSLOG_IDENTIFIER=" + program_invocation_short_name +
        "\nQUILLHAVEN_SUBSYSTEM=com.example.app\nQUILLHAVEN_CATEGORY=mail\n" +
        c.message;
    EXPECT_TRUE(receiver.receive() == expected);
  }
}

TEST(Journal, IsThereOnlyWhenStandardErrorLeadsToIt) {
  const Receiver receiver;
  const std::string own = ownStream();
  for (const std::string& stream : {std::string(), "1" + own, own + "1"}) {
    EXPECT_FALSE(Journal::behindStandardError(stream.c_str(), receiver.path()))
        << stream;
  }
  EXPECT_FALSE(Journal::behindStandardError(nullptr, receiver.path()));
  EXPECT_FALSE(Journal::behindStandardError(own.c_str(), "/nowhere/socket"));
}

TEST(Journal, SaysWhenItHasGone) {
  std::optional<Receiver> receiver(std::in_place);
  const auto journal =
      Journal::behindStandardError(ownStream().c_str(), receiver->path());
  ASSERT_TRUE(journal);
  receiver.reset();
  EXPECT_FALSE(journal->send({"a", "b", LogType::kInfo, "c"}));
}

}  // namespace
}  // namespace quillhaven::platform::internal
