// Run loops: each thread's own place to wait for timers, file descriptors and
// work from other threads.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_RUN_LOOP_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_RUN_LOOP_H_

#include <chrono>
#include <functional>
#include <memory>

namespace quillhaven::platform {

namespace internal {
class LoopSource;
struct RunLoopCore;
}  // namespace internal

// What can be waited for on a file descriptor. Errors and hang-ups are reported
// whether asked for or not.
enum class FileEvents : unsigned {
  kReadable = 0x01,
  kWritable = 0x04,
  kError = 0x08,
  kHangUp = 0x10,  // the other end is closed; there may still be bytes to read
};

constexpr FileEvents operator|(FileEvents a, FileEvents b) {
  return static_cast<FileEvents>(static_cast<unsigned>(a) |
                                 static_cast<unsigned>(b));
}

// True when `events` has any of `wanted`.
constexpr bool hasAny(FileEvents events, FileEvents wanted) {
  return (static_cast<unsigned>(events) & static_cast<unsigned>(wanted)) != 0;
}

// A timer or a watched file descriptor; its callback is called until the handle
// goes. On the loop's own thread no call follows the end of the handle, which
// may also come within the callback; on another thread a call under way may
// still finish after it. One thread at a time.
class [[nodiscard]] RunLoopSource {
 public:
  RunLoopSource() = default;  // of nothing
  RunLoopSource(RunLoopSource&&) noexcept = default;
  RunLoopSource& operator=(RunLoopSource&& other) noexcept;
  ~RunLoopSource() { invalidate(); }

  // Disarms the source now. May be called again.
  void invalidate() noexcept;

  // False once invalidated, and for a timer that fires once when it has.
  [[nodiscard]] bool isValid() const;

 private:
  friend class RunLoop;
  RunLoopSource(std::shared_ptr<internal::RunLoopCore> loop,
                std::shared_ptr<internal::LoopSource> source);

  std::shared_ptr<internal::RunLoopCore> loop_;  // outlives its sources
  std::shared_ptr<internal::LoopSource> source_;
};

// One thread's loop. Copies are the same loop. The main thread's is the host's
// own, served by whatever turns it there; that of another thread is made on
// first use, is the thread's default GLib context meanwhile, and turns only
// within the calls of runOnce() and runUntil(). Once its thread has ended it
// never turns again. No callback may throw: an exception that leaves one is a
// fatal error. Thread-safe where nothing else is said.
class RunLoop {
 public:
  // The main thread's loop.
  [[nodiscard]] static RunLoop main();
  // The calling thread's loop.
  [[nodiscard]] static RunLoop current();
  // Another loop for the calling thread, which serves its own sources and no
  // others while it turns. It is nobody's current() one.
  [[nodiscard]] static RunLoop makePrivate();

  // Turns the loop once: serves the sources that are ready, or sleeps until the
  // first is, for `limit` at most (zero: not at all). Returns whether any was
  // served. On the loop's own thread alone, else it is a fatal error; may be
  // called within a callback.
  bool runOnce(std::chrono::nanoseconds limit) const;

  // Turns the loop until `condition`, asked before each turn, is true, or until
  // `limit` has passed. Returns what the condition said last. Who makes it true
  // on another thread calls wakeUp() then. Threads as for runOnce().
  bool runUntil(
      const std::function<bool()>& condition,
      std::chrono::nanoseconds limit = std::chrono::nanoseconds::max()) const;

  // Runs `work` on the loop's thread, after what was handed over before.
  void perform(std::function<void()> work) const;

  // Has the loop's runOnce() return, or the next one when none sleeps now.
  void wakeUp() const;

  // Calls `fire` after `delay`, and with an interval above zero every
  // `interval` from then on, where beats missed are left out. Delays count in
  // microseconds, rounded up; the sleep in between is as exact as milliseconds
  // allow.
  RunLoopSource startTimer(std::chrono::nanoseconds delay,
                           std::function<void()> fire,
                           std::chrono::nanoseconds interval = {}) const;

  // Calls `ready` with what is there as long as any of `events` is. The
  // descriptor stays the caller's and is closed after the source has gone.
  RunLoopSource watch(int descriptor, FileEvents events,
                      std::function<void(FileEvents)> ready) const;

  friend bool operator==(const RunLoop&, const RunLoop&) = default;

 private:
  explicit RunLoop(std::shared_ptr<internal::RunLoopCore> core);

  std::shared_ptr<internal::RunLoopCore> core_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_RUN_LOOP_H_
