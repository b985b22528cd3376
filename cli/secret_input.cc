#include "cli/secret_input.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "cli/command.h"
#include "cli/input_sources.h"
#include "cli/output.h"
#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::cli {
namespace {

using platform::SecretBytes;

constexpr char kInterrupt = '\x03';

void removeFinalLineBreak(SecretBytes& bytes) {
  if (bytes.empty() || bytes.back() != '\n') return;
  bytes.pop_back();
  if (!bytes.empty() && bytes.back() == '\r') bytes.pop_back();
}

bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// Makes a terminal show nothing of what is typed and hand out its interrupt
// character, so that it is never left like that.
class HiddenTyping {
 public:
  explicit HiddenTyping(int fd) : fd_(fd) {
    isTerminal_ = ::tcgetattr(fd_, &before_) == 0;
    termios hidden = before_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
    if (isTerminal_) ::tcsetattr(fd_, TCSAFLUSH, &hidden);
  }
  HiddenTyping(const HiddenTyping&) = delete;
  HiddenTyping& operator=(const HiddenTyping&) = delete;
  ~HiddenTyping() {
    if (isTerminal_) ::tcsetattr(fd_, TCSAFLUSH, &before_);
  }

 private:
  int fd_;
  bool isTerminal_ = false;
  termios before_{};
};

// Reads one line; nothing at the end of input.
std::optional<SecretBytes> readHiddenLine(int fd, std::string_view prompt) {
  SecretBytes line;
  line.reserve(4096);  // as long as a line of a terminal gets
  bool isInterrupted = false;
  {
    const HiddenTyping hidden(fd);
    writeAll(fd, prompt);
    char c = '\0';
    while (c != '\n' && !isInterrupted) {
      const auto count = readSome(fd, &c, 1);
      if (!count || *count == 0) break;
      isInterrupted = c == kInterrupt;
      line.push_back(c);
    }
    writeAll(fd, "\n");
  }
  if (isInterrupted) {
    ::raise(SIGINT);
    return std::nullopt;
  }
  if (line.empty()) return std::nullopt;
  removeFinalLineBreak(line);
  return line;
}

std::optional<SecretBytes> readAllOfStandardInput() {
  SecretBytes bytes;
  std::size_t size = 0;
  while (size <= kMaximumSecretSize) {
    bytes.resize(size + std::max<std::size_t>(size, 4096));
    const auto count =
        readSome(STDIN_FILENO, bytes.data() + size, bytes.size() - size);
    if (!count) {
      writeDiagnostics(diagnostic("standard input", errorText(errno)));
      return std::nullopt;
    }
    if (*count == 0) {
      bytes.resize(size);
      return bytes;
    }
    size += *count;
  }
  writeDiagnostics(diagnostic("standard input", "too long for a password"));
  return std::nullopt;
}

}  // namespace

void forbidCoreDumps() {
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
  // The limit does not hold for dumps that go to a program.
  ::prctl(PR_SET_DUMPABLE, 0);
}

std::optional<SecretBytes> readSecret() {
  if (::isatty(STDIN_FILENO) == 1) {
    return readHiddenLine(STDIN_FILENO, "Password: ");
  }
  auto bytes = readAllOfStandardInput();
  if (bytes) removeFinalLineBreak(*bytes);
  return bytes;
}

std::optional<SecretBytes> askAtTerminal(std::string_view prompt) {
  const platform::UniqueFd terminal(
      ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (!terminal.valid()) return std::nullopt;
  return readHiddenLine(terminal.get(), prompt);
}

int writeSecret(std::string_view secret) {
  // Not through Output, which keeps what it has written.
  if (writeAll(STDOUT_FILENO, secret) && writeAll(STDOUT_FILENO, "\n")) {
    return kDone;
  }
  if (errno == EPIPE) return kDone;  // the reader has what it wanted
  writeDiagnostics(diagnostic("standard output", errorText(errno)));
  return kFailed;
}

}  // namespace quillhaven::cli
