#include "quillhaven/system/internal/deferred_work.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillhaven::system::internal {
namespace {

// Beyond any wait that is meant, and within what a clock can count.
constexpr double kLongestDelay = 100.0 * 365 * 24 * 3600;

std::chrono::nanoseconds delayOf(double seconds) {
  // What is no number is no delay.
  const double limited = seconds > 0 ? std::min(seconds, kLongestDelay) : 0.0;
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::duration<double>(limited));
}

}  // namespace

DeferredWork::DeferredWork(std::function<void()> work)
    : work_(std::move(work)) {}

std::shared_ptr<DeferredWork> DeferredWork::make(std::function<void()> work) {
  return std::shared_ptr<DeferredWork>(new DeferredWork(std::move(work)));
}

void DeferredWork::scheduleAfter(double seconds) {
  const std::lock_guard guard(lock_);
  if (!work_) return;
  timer_ = platform::RunLoop::main().startTimer(
      delayOf(seconds), [self = shared_from_this()] { self->run(); });
}

void DeferredWork::run() {
  std::function<void()> work;
  {
    const std::lock_guard guard(lock_);
    std::swap(work, work_);
    timer_.invalidate();
  }
  if (work) work();
}

void DeferredWork::cancel() {
  std::function<void()> work;  // goes unlocked
  platform::RunLoopSource timer;
  {
    const std::lock_guard guard(lock_);
    std::swap(work, work_);
    timer = std::move(timer_);
  }
}

}  // namespace quillhaven::system::internal
