#include "cli/progress_bar.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace quillhaven::cli {
namespace {

constexpr std::chrono::milliseconds kPatience{300};
constexpr std::chrono::milliseconds kInterval{100};
constexpr std::size_t kBarWidth = 30;
constexpr std::string_view kEraseLine = "\r\x1B[K";

std::size_t terminalColumns(int fd) {
  winsize size{};
  const bool known = ::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

// A bar that cannot be drawn is not worth an error.
void draw(int fd, std::string_view text) {
  [[maybe_unused]] const ssize_t written =
      ::write(fd, text.data(), text.size());
}

}  // namespace

std::string progressText(std::size_t done, std::optional<std::size_t> total,
                         std::chrono::duration<double> elapsed,
                         std::size_t columns) {
  std::string text;
  if (total && *total > 0) {
    const std::size_t filled = kBarWidth * std::min(done, *total) / *total;
    text.append("[").append(filled, '#').append(kBarWidth - filled, ' ');
    text.append("] ").append(std::to_string(done));
    text.append("/").append(std::to_string(*total)).append(" messages");
  } else {
    const double rate =
        elapsed.count() > 0 ? static_cast<double>(done) / elapsed.count() : 0;
    text.append(std::to_string(done)).append(" messages, ");
    text.append(std::to_string(static_cast<std::size_t>(rate))).append("/s");
  }
  // The last column stays free: some terminals wrap when it is written.
  if (text.size() >= columns) text.resize(columns > 0 ? columns - 1 : 0);
  return text;
}

ProgressBar::ProgressBar(int fd, std::optional<std::size_t> total)
    : fd_(fd),
      total_(total),
      isEnabled_(total.value_or(2) > 1 && ::isatty(fd) == 1),
      start_(Clock::now()) {}

void ProgressBar::update(std::size_t done) {
  if (!isEnabled_) return;
  const Clock::time_point now = Clock::now();
  const std::lock_guard guard(lock_);
  if (ended_ || now - start_ < kPatience) return;
  if (isVisible_ && now - drawn_ < kInterval) return;
  draw(fd_, std::string(kEraseLine) +
                progressText(done, total_, now - start_, terminalColumns(fd_)));
  drawn_ = now;
  isVisible_ = true;
}

void ProgressBar::clear() {
  if (!isEnabled_) return;
  const std::lock_guard guard(lock_);
  erase();
}

void ProgressBar::end() {
  if (!isEnabled_) return;
  const std::lock_guard guard(lock_);
  erase();
  ended_ = true;
}

void ProgressBar::erase() {
  if (isVisible_) draw(fd_, kEraseLine);
  isVisible_ = false;
}

}  // namespace quillhaven::cli
