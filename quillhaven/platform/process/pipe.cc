#include "quillhaven/platform/process/pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace quillhaven::platform {
namespace {

// A host without its standard streams gets their numbers for the next files it
// opens; in a child such an end would be overwritten.
UniqueFd movedFromStandardStreams(UniqueFd fd) {
  if (!fd.valid() || fd.get() > STDERR_FILENO) return fd;
  UniqueFd moved(::fcntl(fd.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  if (!moved.valid()) {
    throw std::system_error(errno, std::system_category(), "fcntl");
  }
  return moved;
}

std::optional<int> numberOf(const UniqueFd& fd) {
  if (!fd.valid()) return std::nullopt;
  return fd.get();
}

}  // namespace

std::shared_ptr<Pipe> Pipe::pipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::system_category(), "pipe2");
  }
  UniqueFd reading(ends[0]);
  UniqueFd writing(ends[1]);
  return std::make_shared<Pipe>(std::move(reading), std::move(writing));
}

Pipe::Pipe(UniqueFd reading, UniqueFd writing)
    : reading_(movedFromStandardStreams(std::move(reading))),
      writing_(movedFromStandardStreams(std::move(writing))) {}

std::optional<int> Pipe::fileHandleForReading() const {
  return numberOf(reading_);
}

std::optional<int> Pipe::fileHandleForWriting() const {
  return numberOf(writing_);
}

}  // namespace quillhaven::platform
