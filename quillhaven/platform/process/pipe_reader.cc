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
constexpr int kPipeSize = 1024 * 1024;

}  // namespace

PipeReader::PipeReader(int descriptor) : descriptor_(descriptor) {
  // Unprivileged users have a quota for this; the pipe works all the same.
  if (::fcntl(descriptor_, F_GETPIPE_SZ) < kPipeSize) {
    ::fcntl(descriptor_, F_SETPIPE_SZ, kPipeSize);
  }
}

PipeReader::Progress PipeReader::readSome() {
  if (!piece_) piece_ = std::make_unique_for_overwrite<char[]>(kPieceSize);
  const ssize_t count = ::read(descriptor_, piece_.get(), kPieceSize);
  if (count > 0) {
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
