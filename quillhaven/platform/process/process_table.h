// The processes of the machine as the kernel lists them: names, parents and
// argument vectors.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_PROCESS_TABLE_H_
#define QUILLHAVEN_PLATFORM_PROCESS_PROCESS_TABLE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform {

// Where the kernel shows its processes.
inline constexpr const char kProcRoot[] = "/proc";

// What the kernel keeps of one process.
struct ProcessRecord {
  std::int32_t processIdentifier = 0;
  std::int32_t parentProcessIdentifier = 0;  // 0: the kernel started it
  // The base name of the executed file as bytes, cut after 15 of them, also
  // inside a character. A program may change it. Threads of the kernel have
  // longer ones.
  std::string commandName;

  bool operator==(const ProcessRecord&) const = default;
};

// Reads the process table below one root. Nothing is kept between calls, and a
// process that ends between two reads is as if it had never been there.
// Thread-safe.
class ProcessTable {
 public:
  // `root` is a folder laid out as /proc; one that cannot be opened makes every
  // answer absent.
  explicit ProcessTable(const std::string& root = kProcRoot);

  // Returns the records of all processes by ascending process ID, or nothing
  // when the root cannot be read.
  [[nodiscard]] std::optional<std::vector<ProcessRecord>> records() const;

  // Returns the record of one process; nothing for one that is not there, and
  // for the number of a thread that is not its process's first.
  [[nodiscard]] std::optional<ProcessRecord> record(
      std::int32_t processIdentifier) const;

  // Returns when the process started, in clock ticks since the machine did;
  // nothing for one that is not there.
  [[nodiscard]] std::optional<std::uint64_t> startTime(
      std::int32_t processIdentifier) const;

  // Returns the argument buffer of a process, or nothing when it has none (it
  // is gone, a zombie or a thread of the kernel). The buffer holds the number
  // of arguments as 32 bits in the machine's byte order; the NUL that ends an
  // executable path, which is left empty; then each argument with its NUL.
  [[nodiscard]] std::optional<std::string> argumentBuffer(
      std::int32_t processIdentifier) const;

  // False for a number below 1 and for that of a thread that is not its
  // process's first: the kernel shows such threads to those who ask by number.
  // Says nothing about whether the process is there.
  [[nodiscard]] bool mayBeProcess(std::int32_t processIdentifier) const;

  // The folder, for those who read on below it; stays the table's. Below 0 when
  // it could not be opened, for the reason (an errno) that rootError() gives.
  [[nodiscard]] int root() const { return root_.get(); }
  [[nodiscard]] int rootError() const { return rootError_; }

 private:
  UniqueFd root_;
  int rootError_ = 0;
  bool isKernels_ = false;  // not a folder made by hand
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_PROCESS_TABLE_H_
