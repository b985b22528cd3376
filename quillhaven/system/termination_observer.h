// Tells when a process ends, whatever process it is.
#ifndef QUILLHAVEN_SYSTEM_TERMINATION_OBSERVER_H_
#define QUILLHAVEN_SYSTEM_TERMINATION_OBSERVER_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "quillhaven/platform/base/localized_error.h"
#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::system {

// What the observers of an exit hold. Letting go of it ends the observation.
class KEventTerminationObservation {
 public:
  virtual ~KEventTerminationObservation() = default;

  // Ends the observation now. May be called again.
  virtual void invalidate() = 0;
};

// The kernel refused to observe a process. The code is the return value of the
// registration call.
class KEventTerminationError : public platform::LocalizedError {
 public:
  static KEventTerminationError kEventError(std::int32_t returnValue) {
    return KEventTerminationError(returnValue);
  }

  [[nodiscard]] std::int32_t returnValue() const noexcept {
    return errorCode();
  }

  friend bool operator==(const KEventTerminationError& a,
                         const KEventTerminationError& b) {
    return a.returnValue() == b.returnValue();
  }

 private:
  explicit KEventTerminationError(std::int32_t returnValue)
      : LocalizedError("QuillhavenUtilities.KEventTerminationError",
                       returnValue) {}
};

// Observes the exit of one process, a child of this one or not, and takes
// nothing from whoever waits for it:
//
//   observer_ = KEventTerminationObserver::observe(
//       pid, [](const auto& observer) { restart(observer->pid()); });
//
// The handler is called once at most, on the main run loop, also within nested
// and modal loops; never within observe(). Thread-safe; after invalidate() on
// another thread a call under way may still finish.
class KEventTerminationObserver final
    : public KEventTerminationObservation,
      public std::enable_shared_from_this<KEventTerminationObserver> {
 public:
  using Handler =
      std::function<void(const std::shared_ptr<KEventTerminationObserver>&)>;

  // Returns the observer, or null when the kernel refuses: there is no such
  // process, as for 0, or no descriptor is left. The refusal is printed to
  // standard output. A process that has ended and that nobody has waited for
  // yet can be observed, and is told at once. A negative `pid` is a fatal
  // error.
  [[nodiscard]] static std::shared_ptr<KEventTerminationObserver> observe(
      std::int32_t pid, Handler handler);

  KEventTerminationObserver(const KEventTerminationObserver&) = delete;
  KEventTerminationObserver& operator=(const KEventTerminationObserver&) =
      delete;
  ~KEventTerminationObserver() override;

  [[nodiscard]] std::int32_t pid() const { return pid_; }
  [[nodiscard]] const Handler& handler() const { return handler_; }

  void invalidate() override;

 private:
  KEventTerminationObserver(std::int32_t pid, Handler handler);
  void arm();  // throws KEventTerminationError
  void processDidExit();

  const std::int32_t pid_;
  const Handler handler_;
  std::mutex lock_;
  // Both guarded by lock_ and there while the observation is armed; the source
  // goes first.
  platform::UniqueFd fileDescriptor_;
  platform::RunLoopSource source_;
};

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_TERMINATION_OBSERVER_H_
