#include "cli/output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "cli/command.h"
#include "cli/input_sources.h"

namespace quillhaven::cli {
namespace {

constexpr std::size_t kCollectedSize = std::size_t{64} * 1024;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// Writes all of `bytes`; returns 0 or the errno of the failure. A descriptor
// that another program has made non-blocking is waited for.
int writeFully(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd waiting{fd, POLLOUT, 0};
      ::poll(&waiting, 1, -1);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

// The number of bytes of the control character at `at`, or 0 if there is none.
std::size_t controlLength(std::string_view text, std::size_t at) {
  const auto byte = static_cast<unsigned char>(text[at]);
  if (byte < 0x20 || byte == 0x7F) return 1;
  if (byte != 0xC2 || at + 1 == text.size()) return 0;
  const auto second = static_cast<unsigned char>(text[at + 1]);
  return second >= 0x80 && second < 0xA0 ? 2 : 0;
}

bool isLayout(std::string_view text, std::size_t at) {
  const char c = text[at];
  if (c == '\r') return at + 1 < text.size() && text[at + 1] == '\n';
  return c == '\n' || c == '\t';
}

std::string replacingControls(std::string_view text, bool keepingLayout) {
  std::string result;
  result.reserve(text.size());
  std::size_t copied = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t length = controlLength(text, at);
    if (length == 0 || (keepingLayout && isLayout(text, at))) continue;
    result.append(text.substr(copied, at - copied)).append(kReplacement);
    copied = at + length;
    at = copied - 1;
  }
  result.append(text.substr(copied));
  return result;
}

}  // namespace

Output::Output(int fd) : fd_(fd), isTerminal_(::isatty(fd) == 1) {}

bool Output::append(std::string_view record) {
  const std::lock_guard guard(lock_);
  if (closed_ || error_ != 0) return false;
  if (collected_.size() + record.size() > kCollectedSize) {
    if (!writeCollected()) return false;
    if (record.size() > kCollectedSize) return writeAll(record);
  }
  collected_.append(record);
  return true;
}

bool Output::flush() {
  const std::lock_guard guard(lock_);
  return !closed_ && writeCollected();
}

void Output::close() {
  const std::lock_guard guard(lock_);
  if (!closed_) writeCollected();
  closed_ = true;
}

int Output::error() const {
  const std::lock_guard guard(lock_);
  return error_;
}

bool Output::writeCollected() {
  if (collected_.empty()) return error_ == 0;
  const bool written = writeAll(collected_);
  collected_.clear();
  return written;
}

bool Output::writeAll(std::string_view bytes) {
  if (error_ == 0) error_ = writeFully(fd_, bytes);
  return error_ == 0;
}

int finish(Output& output, int status) {
  output.flush();
  const int error = output.error();
  if (error == 0) return status;
  if (error == EPIPE) return kDone;
  writeDiagnostics(diagnostic("cannot write", errorText(error)));
  return kFailed;
}

std::string diagnostic(std::string_view subject, std::string_view reason) {
  return diagnostic(
      replacingControls(subject, false).append(": ").append(reason));
}

std::string diagnostic(std::string_view reason) {
  return std::string("quillhaven: ").append(reason).append("\n");
}

void writeDiagnostics(std::string_view lines) {
  // Nobody is left to tell when standard error fails.
  if (::isatty(STDERR_FILENO) == 1) {
    writeFully(STDERR_FILENO, replacingTerminalControls(lines));
  } else {
    writeFully(STDERR_FILENO, lines);
  }
}

std::string replacingTerminalControls(std::string_view text) {
  return replacingControls(text, true);
}

}  // namespace quillhaven::cli
