#include <fcntl.h>
#include <linux/magic.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>

#include "quillhaven/platform/process/internal/proc_files.h"
#include "quillhaven/platform/process/process_table.h"

namespace quillhaven::platform {
namespace {

using internal::NumberedPath;

// Reads name and parent from a line such as "4711 (x) R (y) S 1 ...": the name
// ends at the last closing parenthesis, because it may hold others.
std::optional<ProcessRecord> recordFrom(std::int32_t processIdentifier,
                                        std::string_view stat) {
  const std::size_t open = stat.find('(');
  const std::size_t close = stat.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos ||
      close < open) {
    return std::nullopt;
  }
  ProcessRecord record;
  record.processIdentifier = processIdentifier;
  record.commandName = stat.substr(open + 1, close - open - 1);

  constexpr std::string_view kState = " S ";  // any letter
  const std::string_view rest = stat.substr(close + 1);
  if (rest.size() <= kState.size()) return std::nullopt;
  const auto read =
      std::from_chars(rest.data() + kState.size(), rest.data() + rest.size(),
                      record.parentProcessIdentifier);
  if (read.ec != std::errc()) return std::nullopt;
  return record;
}

// The line has some 50 numbers.
constexpr std::size_t kStatSize = 1024;

std::optional<ProcessRecord> readRecord(int root,
                                        std::int32_t processIdentifier) {
  char buffer[kStatSize];
  return recordFrom(
      processIdentifier,
      internal::readStart(root, NumberedPath(processIdentifier, "stat").get(),
                          buffer, sizeof buffer));
}

// Reads the arguments, each with its NUL, in one read, since two could see the
// process before and after it executes another program. Empty if there are
// none.
std::string readArguments(int root, std::int32_t processIdentifier) {
  const NumberedPath path(processIdentifier, "cmdline");
  char buffer[4096];
  std::string_view start =
      internal::readStart(root, path.get(), buffer, sizeof buffer);
  if (start.size() < sizeof buffer) return std::string(start);

  std::string arguments;
  do {
    arguments.resize(std::max(2 * arguments.size(), 8 * sizeof buffer));
    start = internal::readStart(root, path.get(), arguments.data(),
                                arguments.size());
  } while (start.size() == arguments.size());
  arguments.resize(start.size());
  return arguments;
}

}  // namespace

ProcessTable::ProcessTable(const std::string& root)
    : root_(internal::openBelow(AT_FDCWD, root.c_str(), O_DIRECTORY)) {
  if (!root_.valid()) {
    rootError_ = errno;
    return;
  }
  struct statfs fileSystem;
  isKernels_ = ::fstatfs(root_.get(), &fileSystem) == 0 &&
               fileSystem.f_type == PROC_SUPER_MAGIC;
}

std::optional<std::vector<ProcessRecord>> ProcessTable::records() const {
  // A listing of its own: the position in root_ is shared by all threads.
  const UniqueFd folder = internal::openBelow(root_.get(), ".", O_DIRECTORY);
  if (!folder.valid()) return std::nullopt;
  const auto identifiers = internal::numbersIn(folder.get());
  if (!identifiers) return std::nullopt;

  std::vector<ProcessRecord> records;
  records.reserve(identifiers->size());
  for (const std::int32_t identifier : *identifiers) {
    if (auto record = readRecord(root_.get(), identifier)) {
      records.push_back(std::move(*record));
    }
  }
  return records;
}

std::optional<ProcessRecord> ProcessTable::record(
    std::int32_t processIdentifier) const {
  if (!mayBeProcess(processIdentifier)) return std::nullopt;
  return readRecord(root_.get(), processIdentifier);
}

std::optional<std::uint64_t> ProcessTable::startTime(
    std::int32_t processIdentifier) const {
  if (!mayBeProcess(processIdentifier)) return std::nullopt;
  char buffer[kStatSize];
  std::string_view stat = internal::readStart(
      root_.get(), NumberedPath(processIdentifier, "stat").get(), buffer,
      sizeof buffer);
  const std::size_t close = stat.rfind(')');
  if (close == std::string_view::npos) return std::nullopt;
  stat.remove_prefix(close + 1);
  // A blank stands before each field; the name was the second.
  constexpr int kStartTimeField = 22;
  for (int field = 3; field <= kStartTimeField; ++field) {
    const std::size_t blank = stat.find(' ');
    if (blank == std::string_view::npos) return std::nullopt;
    stat.remove_prefix(blank + 1);
  }
  std::uint64_t time = 0;
  const auto read =
      std::from_chars(stat.data(), stat.data() + stat.size(), time);
  if (read.ec != std::errc()) return std::nullopt;
  return time;
}

std::optional<std::string> ProcessTable::argumentBuffer(
    std::int32_t processIdentifier) const {
  std::string arguments = readArguments(root_.get(), processIdentifier);
  if (arguments.empty()) return std::nullopt;
  // A program may have written over its last NUL.
  if (arguments.back() != '\0') arguments.push_back('\0');
  const auto count = static_cast<std::int32_t>(
      std::count(arguments.begin(), arguments.end(), '\0'));

  std::string buffer(sizeof count, '\0');
  std::memcpy(buffer.data(), &count, sizeof count);
  buffer.reserve(buffer.size() + 1 + arguments.size());
  // The path is for its owner alone, and nobody reads it here.
  buffer.push_back('\0');
  buffer.append(arguments);
  return buffer;
}

bool ProcessTable::mayBeProcess(std::int32_t processIdentifier) const {
  if (processIdentifier <= 0) return false;
  if (!isKernels_) return true;
  // The declaration in glibc 2.36 is not meant for C++.
  const UniqueFd process(
      static_cast<int>(::syscall(SYS_pidfd_open, processIdentifier, 0)));
  // Of a thread: ENOENT, and EINVAL before Linux 6.9. Any other failure is no
  // answer.
  return process.valid() || (errno != ENOENT && errno != EINVAL);
}

}  // namespace quillhaven::platform
