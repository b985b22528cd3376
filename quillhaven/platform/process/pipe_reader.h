// Collects what comes out of a pipe.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_PIPE_READER_H_
#define QUILLHAVEN_PLATFORM_PROCESS_PIPE_READER_H_

#include <memory>

#include "quillhaven/platform/process/data.h"

namespace quillhaven::platform {

// Reads one pipe to its end, a piece at a time, and keeps all of it. One thread
// at a time.
class PipeReader {
 public:
  enum class Progress {
    kMore,    // there may be more
    kEnd,     // every writer has closed its end
    kFailed,  // the pipe cannot be read; what was read is dropped
  };

  // `descriptor` stays the caller's and outlives the reader. The buffer of a
  // pipe that is found full is enlarged, if the system allows.
  explicit PipeReader(int descriptor);

  // Reads what is there, 256 KiB at most; sleeps when nothing is there yet.
  Progress readSome();

  // Returns all that was read so far and forgets it.
  [[nodiscard]] Data takeBytes();

 private:
  const int descriptor_;
  bool isLarge_ = false;  // the pipe
  std::unique_ptr<char[]> piece_;
  Data bytes_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_PIPE_READER_H_
