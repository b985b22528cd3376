#include "quillhaven/platform/run_loop/main_queue.h"

#include <glib.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>

#include "quillhaven/platform/run_loop/internal/loop_source.h"
#include "quillhaven/platform/run_loop/internal/work_queue.h"

namespace quillhaven::platform {
namespace {

// How many threads have adopted; each keeps the number it drew. Numbers, unlike
// thread ids, are still right in a child process.
std::atomic<std::uint64_t> adoptions{0};
thread_local std::uint64_t ownAdoption = 0;

// A call that sleeps until the main thread has done its work.
class Hop {
 public:
  Hop(void (*work)(void*), void* context) : work_(work), context_(context) {}

  void run() noexcept {
    std::exception_ptr thrown;
    try {
      work_(context_);
    } catch (...) {
      thrown = std::current_exception();
    }
    // The hop is gone as soon as the caller can take the lock.
    const std::lock_guard guard(lock_);
    thrown_ = std::move(thrown);
    isDone_ = true;
    done_.notify_one();
  }

  void wait() {
    std::unique_lock guard(lock_);
    done_.wait(guard, [this] { return isDone_; });
    if (thrown_) std::rethrow_exception(std::move(thrown_));
  }

 private:
  void (*const work_)(void*);
  void* const context_;
  std::mutex lock_;
  std::condition_variable done_;
  bool isDone_ = false;        // guarded by lock_
  std::exception_ptr thrown_;  // guarded by lock_
};

}  // namespace

void adoptMainThread() {
  ownAdoption = adoptions.fetch_add(1, std::memory_order_acq_rel) + 1;
}

bool isMainThread() {
  const std::uint64_t latest = adoptions.load(std::memory_order_acquire);
  return latest == 0 ? ::gettid() == ::getpid() : latest == ownAdoption;
}

void mainQueueAsync(std::function<void()> work) {
  internal::mainWorkQueue().post(std::move(work));
}

void mainQueueAfter(std::chrono::nanoseconds delay,
                    std::function<void()> work) {
  internal::attachTimer(nullptr, delay, std::chrono::nanoseconds(0),
                        [work = std::move(work)](int) { work(); });
}

namespace internal {

bool servesMainQueue() {
  return isMainThread() || g_main_context_is_owner(g_main_context_default());
}

// Not by g_main_context_invoke(): while no loop turns the default context, that
// runs the work on the calling thread.
void runOnMainThread(void (*work)(void* context), void* context) {
  if (servesMainQueue()) return work(context);
  Hop hop(work, context);
  mainWorkQueue().post([&hop] { hop.run(); });
  hop.wait();
}

}  // namespace internal
}  // namespace quillhaven::platform
