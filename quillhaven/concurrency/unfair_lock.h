// A lock of four bytes for small pieces of shared state.
#ifndef QUILLHAVEN_CONCURRENCY_UNFAIR_LOCK_H_
#define QUILLHAVEN_CONCURRENCY_UNFAIR_LOCK_H_

#include <atomic>
#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace quillhaven::concurrency {

namespace internal {

// 0 while unlocked, else the owner's thread id, with kHasWaiters when somebody
// may sleep on it.
using LockWord = std::atomic<std::uint32_t>;
static_assert(sizeof(LockWord) == 4 && LockWord::is_always_lock_free);

inline constexpr std::uint32_t kHasWaiters = 0x80000000;

// The calling thread's id, known once it has asked; 0 before, and in a child
// process after fork().
extern constinit thread_local std::uint32_t knownThreadID;

// What is left to do when the word is not simply taken or given back.
void lockSlowly(LockWord& word);
void wakeOneWaiter(LockWord& word) noexcept;

inline void lock(LockWord& word) {
  std::uint32_t expected = 0;
  const std::uint32_t self = knownThreadID;
  if (self == 0 ||
      !word.compare_exchange_strong(expected, self, std::memory_order_acquire,
                                    std::memory_order_relaxed)) [[unlikely]] {
    lockSlowly(word);
  }
}

inline void unlock(LockWord& word) noexcept {
  const std::uint32_t before = word.exchange(0, std::memory_order_release);
  if ((before & kHasWaiters) != 0) [[unlikely]] {
    wakeOneWaiter(word);
  }
}

}  // namespace internal

// A lock that spins briefly and then sleeps. It is not fair: who asks at the
// right moment may overtake those who wait. It is not recursive: a thread that
// locks it again is a fatal error. The word lies on the heap, so that it stays
// where it is while threads wait for it. Thread-safe.
class UnfairLock {
 public:
  UnfairLock() : lock_(std::make_unique<internal::LockWord>(0)) {}
  UnfairLock(const UnfairLock&) = delete;
  UnfairLock& operator=(const UnfairLock&) = delete;

  // Runs `body` with the lock held and returns what it returned. An exception
  // that leaves it unlocks too.
  template <std::invocable Body>
  requires(!std::is_void_v<std::invoke_result_t<Body>>)
      std::invoke_result_t<Body> around(Body&& body) {
    const Held held(*lock_);
    return std::invoke(std::forward<Body>(body));
  }

  // The same for a body without a result.
  template <std::invocable Body>
  requires(std::is_void_v<std::invoke_result_t<Body>>) void around(
      Body&& body) {
    const Held held(*lock_);
    std::invoke(std::forward<Body>(body));
  }

 private:
  class Held {
   public:
    explicit Held(internal::LockWord& word) : word_(word) {
      internal::lock(word_);
    }
    ~Held() { internal::unlock(word_); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

   private:
    internal::LockWord& word_;
  };

  const std::unique_ptr<internal::LockWord> lock_;
};

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_UNFAIR_LOCK_H_
