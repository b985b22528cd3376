// Runs a program to its end and collects what it writes.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_COLLECTED_RUN_H_
#define QUILLHAVEN_PLATFORM_PROCESS_COLLECTED_RUN_H_

#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/data.h"

namespace quillhaven::platform {

// What a program left.
struct CollectedRun {
  ExitStatus status;
  Data standardOutput;
  Data standardError;
};

// Starts `request`, whose output streams are replaced by pipes, and blocks
// without a time limit until the program has ended and every process that holds
// one of the pipes, its own children too, has closed it. Turns no run loop.
// Throws std::system_error as ChildProcess::launch() does. Thread-safe.
[[nodiscard]] CollectedRun runCollecting(LaunchRequest request);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_COLLECTED_RUN_H_
