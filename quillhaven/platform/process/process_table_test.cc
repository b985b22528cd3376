#include "quillhaven/platform/process/process_table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "quillhaven/platform/process/testing/processes.h"

namespace quillhaven::platform {
namespace {

using testing::Child;
using testing::TemporaryFolder;
using namespace std::string_literals;

using Records = std::vector<ProcessRecord>;

std::string bufferOf(std::int32_t count, std::string_view rest) {
  std::string buffer(sizeof count, '\0');
  std::memcpy(buffer.data(), &count, sizeof count);
  return buffer.append(rest);
}

TEST(ProcessTable, ReadsAFolderMadeByHandInAscendingOrder) {
  const TemporaryFolder root;
  const struct {
    std::string name, stat;
  } files[] = {
      {"100/stat", "100 (last) S 10 100 100 0 -1 4194560 1 2"},
      {"1/stat", "1 (init) S 0 1 1 0 -1 4194560 1 2"},
      {"2/stat", "2 (kthreadd) S 0 0 0 0 -1 2129984 0"},
      {"7/stat", "7 (kworker/u8:2+events_unbound_of_a_long_queue) I 2 0 0"},
      {"10/stat", "10 (x) R (y) S 2 10 10"},
      {"11/stat", "11 (a\n) b (\xFF) Z 7 11"},
      {"12/stat", "12 () R 1 12"},
      // What cannot be read is not there.
      {"20/stat", ""},
      {"21/stat", "21 (cut"},
      {"22/stat", "22 (cut)"},
      {"23/stat", "23 (cut) S "},
      {"24/stat", ") S 1 ("},
      {"25/cmdline", "x"},
      {"acpi/stat", "3 (no) S 1 3"},
      {"30x/stat", "30 (no) S 1 3"},
      {"-5/stat", "-5 (no) S 1 3"},
      {"31", "a file"},
  };
  for (const auto& file : files) root.write(file.name, file.stat);
  const ProcessTable table(root.path());
  const Records expected = {
      {1, 0, "init"},
      {2, 0, "kthreadd"},
      {7, 2, "kworker/u8:2+events_unbound_of_a_long_queue"},
      {10, 2, "x) R (y"},
      {11, 7, "a\n) b (\xFF"},
      {12, 1, ""},
      {100, 10, "last"}};
  EXPECT_EQ(table.records(), expected);
  EXPECT_EQ(table.records(), expected);  // each time from the start
  EXPECT_EQ(table.record(10), expected[3]);
  for (const std::int32_t absent : {-5, 0, 3, 20, 25, 31}) {
    EXPECT_FALSE(table.record(absent)) << absent;
  }
}

TEST(ProcessTable, IsAbsentWhereItCannotBeRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(ProcessTable(folder.path()).records(), Records());
  for (const std::string& root :
       {folder.path("missing"), folder.write("file", "x")}) {
    const ProcessTable table(root);
    EXPECT_FALSE(table.records()) << root;
    EXPECT_FALSE(table.record(1)) << root;
    EXPECT_FALSE(table.argumentBuffer(1)) << root;
  }
}

TEST(ProcessTable, MakesArgumentBuffersWithANulForEveryArgument) {
  const TemporaryFolder root;
  const std::string piece(4096, 'a');
  const struct {
    std::string_view reason;
    std::string commandLine;
    std::int32_t count;
    std::string rest;
  } cases[] = {
      {"usual", "ls\0-l\0"s, 2, "\0ls\0-l\0"s},
      {"empty arguments", "a\0\0\0"s, 3, "\0a\0\0\0"s},
      {"one empty argument", "\0"s, 1, "\0\0"s},
      {"without the last NUL", "a\0status"s, 2, "\0a\0status\0"s},
      {"up to the first read", piece.substr(1) + "\0"s, 1,
       "\0"s + piece.substr(1) + "\0"s},
      {"just beyond it", piece + "\0"s, 1, "\0"s + piece + "\0"s},
      {"the second read filled", std::string(32767, 'b') + "\0"s, 1,
       "\0"s + std::string(32767, 'b') + "\0"s},
      {"three reads", std::string(70000, '\0'), 70000,
       std::string(70001, '\0')},
  };
  std::int32_t pid = 1;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    root.write(std::to_string(pid) + "/cmdline", c.commandLine);
    const auto buffer = ProcessTable(root.path()).argumentBuffer(pid++);
    ASSERT_TRUE(buffer);
    EXPECT_TRUE(*buffer == bufferOf(c.count, c.rest));
  }
  // Threads of the kernel and zombies have no arguments.
  root.write("99/cmdline", "");
  EXPECT_FALSE(ProcessTable(root.path()).argumentBuffer(99));
  EXPECT_FALSE(ProcessTable(root.path()).argumentBuffer(98));
}

TEST(ProcessTable, ReadsStartTimesBehindAnyName) {
  const TemporaryFolder root;
  const std::string fields = " S 1 1 1 0 -1 0 1 2 3 4 5 6 7 8 9 0 1 0 ";
  const struct {
    std::string stat;
    std::optional<std::uint64_t> time;
  } cases[] = {
      {"1 (a) b (c" + std::string(")") + fields + "18446744073709551615 9",
       18446744073709551615U},
      {"2 (sh)" + fields + "77", 77},
      {"3 (sh)" + fields, std::nullopt},
      {"4 (sh) S 1 1", std::nullopt},
      {"5 (cut", std::nullopt},
      {"", std::nullopt},
  };
  std::int32_t pid = 0;
  for (const auto& c : cases) {
    root.write(std::to_string(++pid) + "/stat", c.stat);
    EXPECT_EQ(ProcessTable(root.path()).startTime(pid), c.time) << c.stat;
  }
  EXPECT_EQ(ProcessTable(root.path()).startTime(99), std::nullopt);
}

TEST(ProcessTable, ShowsTheRunningSystem) {
  Child child = Child::start(WAITING_PROGRAM, {"first", "second"});
  const ProcessTable table;
  const ProcessRecord expected = {child.pid(), ::getpid(), "waiting_program"};
  EXPECT_EQ(table.record(child.pid()), expected);
  EXPECT_EQ(table.argumentBuffer(child.pid()),
            bufferOf(2, "\0first\0second\0"s));
  const auto records = table.records();
  ASSERT_TRUE(records);
  EXPECT_EQ(std::count(records->begin(), records->end(), expected), 1);
  EXPECT_TRUE(std::is_sorted(records->begin(), records->end(),
                             [](const auto& a, const auto& b) {
                               return a.processIdentifier < b.processIdentifier;
                             }));
  child.kill();  // a zombie keeps its record and loses its arguments
  EXPECT_EQ(table.record(child.pid()), expected);
  EXPECT_FALSE(table.argumentBuffer(child.pid()));
  const std::int32_t pid = child.pid();
  child.end();
  EXPECT_FALSE(table.record(pid));
  EXPECT_FALSE(table.argumentBuffer(pid));
}

TEST(ProcessTable, TakesNoThreadForAProcess) {
  const ProcessTable table;
  EXPECT_TRUE(table.record(::getpid()));
  std::thread([&] {
    EXPECT_FALSE(table.mayBeProcess(::gettid()));
    EXPECT_FALSE(table.record(::gettid()));
  }).join();
  EXPECT_FALSE(table.mayBeProcess(0));
  EXPECT_FALSE(table.mayBeProcess(-1));
}

}  // namespace
}  // namespace quillhaven::platform
