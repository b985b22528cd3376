// A progress bar on standard error, for people who wait at a terminal.
#ifndef QUILLHAVEN_CLI_PROGRESS_BAR_H_
#define QUILLHAVEN_CLI_PROGRESS_BAR_H_

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

namespace quillhaven::cli {

// Returns the text of the bar, without control characters and never wider than
// `columns`: "[####    ]  12/100 messages" with a total, else the count and its
// rate a second.
[[nodiscard]] std::string progressText(std::size_t done,
                                       std::optional<std::size_t> total,
                                       std::chrono::duration<double> elapsed,
                                       std::size_t columns);

// Appears once work over more than one input has taken a third of a second, if
// `fd` is a terminal, and never otherwise. Thread-safe.
class ProgressBar {
 public:
  using Clock = std::chrono::steady_clock;

  ProgressBar(int fd, std::optional<std::size_t> total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar() { end(); }

  // False when it will never appear.
  [[nodiscard]] bool isEnabled() const { return isEnabled_; }

  // Shows that `done` inputs are done, not more often than the eye can follow.
  void update(std::size_t done);

  // Takes the bar off the terminal until the next update().
  void clear();

  // Takes it off for good.
  void end();

 private:
  void erase();

  const int fd_;
  const std::optional<std::size_t> total_;
  const bool isEnabled_;
  const Clock::time_point start_;
  std::mutex lock_;
  Clock::time_point drawn_;  // guarded by lock_
  bool isVisible_ = false;   // guarded by lock_
  bool ended_ = false;       // guarded by lock_
};

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_PROGRESS_BAR_H_
