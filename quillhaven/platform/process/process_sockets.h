// The descriptors of one process and the TCP sockets among them, asked for one
// record at a time, as kernels offer them.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_PROCESS_SOCKETS_H_
#define QUILLHAVEN_PLATFORM_PROCESS_PROCESS_SOCKETS_H_

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace quillhaven::platform {

class ProcessTable;

// The sizes that reads of whole records return, in bytes. They are those of the
// product's first platform, and messages name them.
inline constexpr std::int32_t kTaskSummarySize = 232;
inline constexpr std::int32_t kDescriptorSize = 8;
inline constexpr std::int32_t kSocketInformationSize = 792;

// What a read returned: bytes, or 0 or less and an errno. "Not allowed" is
// always EPERM, "no such process" always ESRCH.
struct ReadOutcome {
  std::int32_t size = 0;
  std::int32_t error = 0;
};

struct TaskSummary {
  std::int32_t openFileCount = 0;
};

enum class DescriptorKind : std::int32_t { kOther, kSocket };

struct Descriptor {
  std::int32_t number = -1;
  DescriptorKind kind = DescriptorKind::kOther;
};

enum class SocketFamily { kOther, kIPv4, kIPv6 };
enum class SocketKind { kOther, kTCP };

// One socket. What follows `kind` counts for IPv4 TCP sockets only.
struct SocketInformation {
  SocketFamily family = SocketFamily::kOther;
  SocketKind kind = SocketKind::kOther;
  std::int32_t state = 0;  // 0 CLOSED, 1 LISTEN, ... 10 TIME_WAIT
  std::uint16_t localPort = 0;
  std::uint16_t remotePort = 0;
  std::array<std::uint8_t, 4> localAddress{};  // first number first
  std::array<std::uint8_t, 4> remoteAddress{};
};

// One look at one process. The reads are made in the order in which they stand
// here; each takes a snapshot that the later ones rest on. One thread at a
// time.
class ProcessSockets {
 public:
  virtual ~ProcessSockets() = default;

  // Whether the process is there and may be looked at, and how many descriptors
  // it has. Returns kTaskSummarySize bytes.
  virtual ReadOutcome readTaskSummary(TaskSummary& summary) = 0;

  // Fills `descriptors` from its start, in ascending order, as far as there is
  // room. Returns kDescriptorSize bytes for each; for a process without any, or
  // gone, ESRCH.
  virtual ReadOutcome readDescriptors(std::span<Descriptor> descriptors) = 0;

  // Reads about the socket behind descriptor `number`. Returns
  // kSocketInformationSize bytes.
  virtual ReadOutcome readSocket(std::int32_t number,
                                 SocketInformation& information) = 0;
};

// Returns a look at a process of `table`, which outlives it. Never null: the
// first read tells whether the process is there.
[[nodiscard]] std::unique_ptr<ProcessSockets> processSockets(
    const ProcessTable& table, std::int32_t processIdentifier);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_PROCESS_SOCKETS_H_
