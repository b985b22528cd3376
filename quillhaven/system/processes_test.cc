#include "quillhaven/system/processes.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/process/testing/processes.h"
#include "quillhaven/system/internal/process_matching.h"
#include "quillhaven/system/tcp_sockets.h"

namespace quillhaven::system {
namespace {

using platform::ProcessTable;
using platform::testing::Child;
using platform::testing::TemporaryFolder;
using Identifiers = std::vector<std::int32_t>;
using Arguments = std::vector<std::string>;
using namespace std::string_literals;

// A table made by hand, with one process for each first argument; the command
// name of each is that of its file, as the kernel would cut it.
class Table {
 public:
  std::int32_t add(std::string_view name, std::string_view commandLine) {
    const std::string folder = std::to_string(++last_);
    folder_.write(folder + "/stat",
                  folder + " (" + std::string(name) + ") S 1 " + folder + " 0");
    folder_.write(folder + "/cmdline", commandLine);
    return last_;
  }

  [[nodiscard]] ProcessTable get() const {
    return ProcessTable(folder_.path());
  }

 private:
  TemporaryFolder folder_;
  std::int32_t last_ = 0;
};

TEST(ProcessIdentifiersForBundleName, ComparesTheThreeFoldersAboveTheFile) {
  Table table;
  const auto mail =
      table.add("Mail", "/Applications/Mail.app/Contents/MacOS/Mail\0-x\0"s);
  const auto other = table.add("x", "/M/Mail.app/Contents/MacOS/Helper\0"s);
  const auto relative = table.add("x", "Mail.app/Contents/MacOS/x\0"s);
  const auto noName = table.add("x", "/Mail.app/Contents/MacOS/\0"s);
  const auto root = table.add("x", "/Contents/MacOS/x\0"s);
  table.add("x", "Contents/MacOS/x\0"s);  // three components
  table.add("x", "/Mail.app/Contents/MacOS/sub/x\0"s);
  table.add("x", "/Mail.app/Contents/macOS/x\0"s);
  table.add("x", "/Mail.app/Content/MacOS/x\0"s);
  const auto doubled = table.add("x", "/Mail.app//Contents/MacOS/x\0"s);
  table.add("x", "/XMail.app/Contents/MacOS/x\0"s);
  table.add("sh", "/bin/sh\0/Mail.app/Contents/MacOS/Mail\0"s);
  table.add("kthreadd", "");
  const auto find = [&](std::string_view name) {
    return internal::identifiersForBundleName(table.get(), name);
  };
  EXPECT_EQ(find("Mail.app"), (Identifiers{mail, other, relative, noName}));
  EXPECT_EQ(find("Mail"), Identifiers());
  EXPECT_EQ(find("mail.app"), Identifiers());
  EXPECT_EQ(find("M/Mail.app"), Identifiers());
  // An empty component stands before the first slash, and between two.
  EXPECT_EQ(find(""), (Identifiers{root, doubled}));
}

TEST(ProcessIdentifiersForPath, ComparesTheWholeFirstArgument) {
  Table table;
  const auto first = table.add("a", "/bin/a\0"s);
  const auto second = table.add("other", "/bin/a\0x\0"s);
  const auto bytes = table.add("x", "/bin/caf\xE9\0"s);
  table.add("a", "/bin/a/\0"s);
  table.add("a", "/bin//a\0"s);
  table.add("a", "a\0/bin/a\0"s);
  table.add("a", "/bin/A\0"s);
  table.add("a", "\0/bin/a\0"s);  // an empty one takes all arguments with it
  table.add("a", "");
  const auto find = [&](std::string_view path) {
    return internal::identifiersForPath(table.get(), path);
  };
  EXPECT_EQ(find("/bin/a"), (Identifiers{first, second}));
  EXPECT_EQ(find("/bin/caf\xE9"), Identifiers{bytes});
  EXPECT_EQ(find("/bin"), Identifiers());
  EXPECT_EQ(find(""), Identifiers());
}

TEST(ProcessIdentifiersForName, AsksForCommandNameAndFileName) {
  Table table;
  const auto whole = table.add("mail", "/bin/mail\0"s);
  const auto cut = table.add("mail-assistant-", "/opt/mail-assistant-long\0"s);
  const auto shorter = table.add("ma", "mail/\0"s);
  const auto nameless = table.add("", "/bin/mail\0"s);
  table.add("mailx", "/bin/mail\0"s);  // renamed itself
  table.add("mail", "/bin/mailx\0"s);
  table.add("mail", "/bin/mail/x\0"s);
  table.add("mail", "");
  const auto slash = table.add("/", "//\0"s);
  const auto find = [&](std::string_view name) {
    return internal::identifiersForName(table.get(), name);
  };
  EXPECT_EQ(find("mail"), (Identifiers{whole, shorter, nameless}));
  EXPECT_EQ(find("mail-assistant-long"), Identifiers{cut});
  EXPECT_EQ(find("mail-assistant-"), Identifiers());
  EXPECT_EQ(find("/"), Identifiers{slash});
  EXPECT_EQ(find(""), Identifiers());
}

TEST(ProcessIdentifiers, AreEmptyWithoutATable) {
  const ProcessTable none("/nowhere");
  EXPECT_EQ(internal::identifiersForPath(none, "/bin/sh"), Identifiers());
  EXPECT_EQ(internal::identifiersForBundleName(none, "a.app"), Identifiers());
  EXPECT_EQ(internal::identifiersForName(none, "sh"), Identifiers());
}

TEST(RunningProcesses, AreFoundUnderOddNames) {
  const TemporaryFolder folder;
  for (const std::string& name :
       {"plain"s, "(x) R (y"s, ") S 1 ("s, "two words"s, "line\nfeed"s,
        "fifteen_bytes_x"s, "sixteen_bytes_xx"s,
        "a name that is a good deal longer than the kernel keeps"s,
        "na\u00EFve-\u65E5\u672C\u8A9E-name"s,  // cut inside a character
        "caf\xE9"s}) {
    SCOPED_TRACE(name);
    const std::string path =
        folder.copy("Odd.app/Contents/MacOS/" + name, WAITING_PROGRAM);
    const Child child = Child::start(path, {path, "second"});
    EXPECT_EQ(processIdentifiersForName(name), Identifiers{child.pid()});
    EXPECT_EQ(processIdentifiersForPath(path), Identifiers{child.pid()});
    EXPECT_EQ(processIdentifiersForBundleName("Odd.app"),
              Identifiers{child.pid()});
    EXPECT_EQ(processIdentifiersForName(name + "x"), Identifiers());
    EXPECT_EQ(GetParentProcessID(child.pid()), ::getpid());
  }
}

TEST(RunningProcesses, AreNotFoundUnderTheirFileNameOnceRenamed) {
  const TemporaryFolder folder;
  const std::string path = folder.copy("before", WAITING_PROGRAM);
  const Child child = Child::start(path, {path, "--rename", "after"});
  EXPECT_EQ(processIdentifiersForName("before"), Identifiers());
  EXPECT_EQ(processIdentifiersForName("after"), Identifiers());
  EXPECT_EQ(processIdentifiersForPath(path), Identifiers{child.pid()});
}

TEST(Arguments, AreThoseOfTheRunningProgram) {
  const std::string large(100000, 'l');
  const Arguments all = {"program", "", "two words", "\u00E9\n", large, ""};
  EXPECT_EQ(arguments(Child::start(WAITING_PROGRAM, all).pid()), all);
  EXPECT_EQ(arguments(Child::start(WAITING_PROGRAM, {"a", "\xE9"}).pid()),
            (Arguments{"a", "\uFFFD"}));
  // The first one cannot be told from what pads the buffer.
  EXPECT_EQ(arguments(Child::start(WAITING_PROGRAM, {"", "b"}).pid()),
            std::nullopt);

  const Child status =
      Child::start(WAITING_PROGRAM, {"program", "--overwrite-arguments"});
  const auto shown = arguments(status.pid());
  ASSERT_TRUE(shown);
  ASSERT_EQ(shown->size(), 1U);
  EXPECT_TRUE(shown->front().starts_with("xxxxxxxxxxxxxxxxxxxxxxxxxxxxx"));
}

TEST(RunningProcesses, LoseTheirArgumentsAndThenTheirRecord) {
  Child child = Child::start(WAITING_PROGRAM, {"program"});
  const std::int32_t pid = child.pid();
  const auto isListed = [pid] {
    const auto all = runningApplications();
    return all && std::any_of(all->begin(), all->end(), [pid](const auto& one) {
             return one.processIdentifier == pid;
           });
  };
  EXPECT_TRUE(arguments(pid));
  child.kill();
  EXPECT_FALSE(arguments(pid));
  EXPECT_EQ(GetParentProcessID(pid), ::getpid());
  EXPECT_TRUE(isListed());
  child.end();
  EXPECT_EQ(GetParentProcessID(pid), -1);
  EXPECT_FALSE(isListed());
  for (const std::int32_t none : {0, -1, -2147483647 - 1}) {
    EXPECT_EQ(GetParentProcessID(none), -1);
    EXPECT_FALSE(arguments(none));
  }
}

TEST(ProcessInspection, LeavesNoDescriptorBehind) {
  Child zombie = Child::start(WAITING_PROGRAM, {"program"});
  zombie.kill();
  Table few;  // the whole system would take long to read so often
  few.add("none", "/none.app/Contents/MacOS/none\0"s);
  few.add("kthreadd", "");
  const std::size_t before = platform::testing::openDescriptorCount();
  ::testing::internal::CaptureStderr();  // each look at -1 says so
  for (int i = 0; i < 1000; ++i) {
    for (const std::int32_t pid : {::getpid(), zombie.pid(), -1}) {
      (void)TCPSocketsForPID::tcpSocketInfoForPID(pid);
      (void)GetParentProcessID(pid);
      (void)arguments(pid);
    }
    (void)internal::identifiersForName(few.get(), "none");
    (void)internal::identifiersForPath(few.get(), "none");
    (void)internal::identifiersForBundleName(few.get(), "none.app");
  }
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(platform::testing::openDescriptorCount(), before);
}

}  // namespace
}  // namespace quillhaven::system
