#include "quillhaven/concurrency/unfair_lock.h"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::concurrency::internal {
namespace {

// Pauses between two looks at a lock that is taken: twice as many after each
// look, so that the owner, whose next turn is as good, keeps the word in its
// cache. All of them together take less than going to sleep and being woken.
constexpr int kFirstPauses = 4;
constexpr int kMostPauses = 128;

void pause() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

void futex(LockWord& word, int operation, std::uint32_t value) noexcept {
  // A wait that ends early, by a signal or because the word has changed, is
  // followed by another look at the word.
  ::syscall(SYS_futex, &word, operation, value, nullptr, nullptr, 0);
}

// The thread that forks has another id in the child, where it would not see
// its own locks, or take another thread's for its own.
void forgetThreadID() { knownThreadID = 0; }

std::uint32_t threadID() {
  static const int registered =
      ::pthread_atfork(nullptr, nullptr, forgetThreadID);
  static_cast<void>(registered);
  if (knownThreadID == 0)
    knownThreadID = static_cast<std::uint32_t>(::gettid());
  return knownThreadID;
}

// Takes the word if it is free, as `value`.
bool take(LockWord& word, std::uint32_t value) {
  std::uint32_t expected = 0;
  return word.compare_exchange_strong(
      expected, value, std::memory_order_acquire, std::memory_order_relaxed);
}

// Spins while the owner is likely to be done soon: once others sleep, the lock
// is held for long.
bool takeBySpinning(LockWord& word, std::uint32_t self) {
  for (int pauses = kFirstPauses; pauses <= kMostPauses; pauses *= 2) {
    for (int i = 0; i < pauses; ++i) pause();
    const std::uint32_t seen = word.load(std::memory_order_relaxed);
    if (seen == 0 && take(word, self)) return true;
    if ((seen & kHasWaiters) != 0) return false;
  }
  return false;
}

}  // namespace

constinit thread_local std::uint32_t knownThreadID = 0;

void lockSlowly(LockWord& word) {
  const std::uint32_t self = threadID();
  if ((word.load(std::memory_order_relaxed) & ~kHasWaiters) == self) {
    platform::fatalError("an unfair lock is taken again by its owner");
  }
  if (takeBySpinning(word, self)) return;
  // From here on the word is taken as one that has waiters: others may sleep
  // besides this thread.
  while (!take(word, self | kHasWaiters)) {
    std::uint32_t seen = word.load(std::memory_order_relaxed);
    if (seen == 0) continue;
    if ((seen & kHasWaiters) == 0 &&
        !word.compare_exchange_strong(seen, seen | kHasWaiters,
                                      std::memory_order_relaxed)) {
      continue;
    }
    futex(word, FUTEX_WAIT_PRIVATE, seen | kHasWaiters);
  }
}

void wakeOneWaiter(LockWord& word) noexcept {
  futex(word, FUTEX_WAKE_PRIVATE, 1);
}

}  // namespace quillhaven::concurrency::internal
