#include "quillhaven/system/internal/standard_output.h"

#include <cstdio>
#include <string>

#include "quillhaven/platform/base/internal/pipe_signal_guard.h"

namespace quillhaven::system::internal {

// Flushed here, where a reader that has gone away is expected.
void printLine(std::string_view text) {
  const platform::internal::PipeSignalGuard guard;
  const std::string line = std::string(text).append("\n");
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

}  // namespace quillhaven::system::internal
