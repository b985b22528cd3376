#include "quillhaven/platform/process/pipe_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

namespace quillhaven::platform {
namespace {

// Read into the same place each time and copied from there: while a read
// fetches fresh memory page by page, it keeps the writer out of the pipe.
constexpr std::size_t kPieceSize = std::size_t{256} * 1024;
// A pipe that is read full is enlarged, so that its writer sleeps less.
constexpr ssize_t kFullPipe = ssize_t{64} * 1024;
constexpr int kLargePipe = 1024 * 1024;

void enlarge(int descriptor) {
  // Unprivileged users have a quota for this; the pipe works all the same.
  if (::fcntl(descriptor, F_GETPIPE_SZ) < kLargePipe) {
    ::fcntl(descriptor, F_SETPIPE_SZ, kLargePipe);
  }
}

}  // namespace

PipeReader::PipeReader(int descriptor) : descriptor_(descriptor) {}

PipeReader::Progress PipeReader::readSome() {
  if (!piece_) piece_ = std::make_unique_for_overwrite<char[]>(kPieceSize);
  const ssize_t count = ::read(descriptor_, piece_.get(), kPieceSize);
  if (count > 0) {
    if (count >= kFullPipe && !std::exchange(isLarge_, true)) {
      enlarge(descriptor_);
    }
    bytes_.append({piece_.get(), static_cast<std::size_t>(count)});
    return Progress::kMore;
  }
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return Progress::kMore;
  piece_.reset();
  if (count == 0) return Progress::kEnd;
  bytes_ = Data();
  return Progress::kFailed;
}

Data PipeReader::takeBytes() { return std::move(bytes_); }

}  // namespace quillhaven::platform
