#include "cli/output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <string_view>

#include "cli/command.h"
#include "cli/progress_bar.h"
#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::cli {
namespace {

TEST(ReplacingTerminalControls, LeavesNothingATerminalWouldObey) {
  using namespace std::string_view_literals;
  const struct {
    std::string_view text, shown;
  } cases[] = {
      {"", ""},
      {"a\tb\nc\r\nd é€😀", "a\tb\nc\r\nd é€😀"},
      {"\x1B[2J\a", "\uFFFD[2J\uFFFD"},
      {"\0\x7F"sv, "\uFFFD\uFFFD"},
      {"over\rwritten\r", "over\uFFFDwritten\uFFFD"},
      {"\u0080\u009B1m\u009F\u00A0\u00C2", "\uFFFD\uFFFD1m\uFFFD\u00A0\u00C2"},
      {"cut\xC2", "cut\xC2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.shown);
    EXPECT_EQ(replacingTerminalControls(c.text), c.shown);
  }
  EXPECT_EQ(diagnostic("a\nb\x1B.eml", "empty"),
            "quillhaven: a\uFFFDb\uFFFD.eml: empty\n");
}

std::string readAll(int fd) {
  std::string text;
  char piece[4096];
  for (ssize_t count; (count = ::read(fd, piece, sizeof piece)) > 0;) {
    text.append(piece, static_cast<std::size_t>(count));
  }
  return text;
}

TEST(Output, WritesRecordsInOrderAndDropsThoseAfterClose) {
  platform::UniqueFd file(::memfd_create("output", MFD_CLOEXEC));
  ASSERT_TRUE(file.valid());
  std::string expected;
  Output output(file.get());
  // Around the size that is collected, larger than it, and small again.
  for (const std::size_t size : {1U, 65535U, 1U, 65536U, 65537U, 200000U, 3U}) {
    const std::string record(size, static_cast<char>('a' + size % 26));
    expected += record;
    EXPECT_TRUE(output.append(record));
  }
  output.close();
  EXPECT_FALSE(output.append("late"));
  EXPECT_FALSE(output.flush());
  ::lseek(file.get(), 0, SEEK_SET);
  EXPECT_TRUE(readAll(file.get()) == expected);
  EXPECT_EQ(output.error(), 0);
}

TEST(Output, ReportsAFullDiskAndForgivesAReaderThatWentAway) {
  platform::UniqueFd full(::open("/dev/full", O_WRONLY));
  Output toFull(full.get());
  EXPECT_TRUE(toFull.append("x"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(finish(toFull, kDone), kFailed);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "quillhaven: cannot write: No space left on device\n");
  EXPECT_FALSE(toFull.append("y"));

  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  platform::UniqueFd reader(ends[0]);
  platform::UniqueFd writer(ends[1]);
  reader.reset();
  ::signal(SIGPIPE, SIG_IGN);
  Output toNobody(writer.get());
  EXPECT_FALSE(toNobody.append(std::string(100000, 'x')));
  testing::internal::CaptureStderr();
  EXPECT_EQ(finish(toNobody, kFailed), kDone);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ProgressText, FitsTheTerminal) {
  using std::chrono::seconds;
  const struct {
    std::size_t done;
    std::optional<std::size_t> total;
    int elapsed;
    std::size_t columns;
    std::string_view text;
  } cases[] = {
      {0, 4, 1, 80, "[                              ] 0/4 messages"},
      {3, 4, 1, 80, "[######################        ] 3/4 messages"},
      {9, 4, 1, 80, "[##############################] 9/4 messages"},
      {500, {}, 2, 80, "500 messages, 250/s"},
      {5, {}, 0, 80, "5 messages, 0/s"},
      {500, {}, 2, 19, "500 messages, 250/"},
      {500, {}, 2, 0, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(progressText(c.done, c.total, seconds(c.elapsed), c.columns),
              c.text);
  }
}

}  // namespace
}  // namespace quillhaven::cli
