// A piece of work for the main queue that can be called off.
#ifndef QUILLHAVEN_SYSTEM_INTERNAL_DEFERRED_WORK_H_
#define QUILLHAVEN_SYSTEM_INTERNAL_DEFERRED_WORK_H_

#include <functional>
#include <memory>
#include <mutex>

#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::system::internal {

// Runs once at most; called off before it is scheduled, never. Thread-safe.
class DeferredWork : public std::enable_shared_from_this<DeferredWork> {
 public:
  [[nodiscard]] static std::shared_ptr<DeferredWork> make(
      std::function<void()> work);

  // Has the work run on the main queue in so many seconds; below zero is now.
  void scheduleAfter(double seconds);

  // Calls it off and lets go of what it holds. Work that runs goes on.
  void cancel();

 private:
  explicit DeferredWork(std::function<void()> work);
  void run();

  std::mutex lock_;
  std::function<void()> work_;     // guarded by lock_; empty once over
  platform::RunLoopSource timer_;  // guarded by lock_
};

}  // namespace quillhaven::system::internal

#endif  // QUILLHAVEN_SYSTEM_INTERNAL_DEFERRED_WORK_H_
