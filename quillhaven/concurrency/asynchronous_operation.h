// An operation whose work finishes later, on any thread.
#ifndef QUILLHAVEN_CONCURRENCY_ASYNCHRONOUS_OPERATION_H_
#define QUILLHAVEN_CONCURRENCY_ASYNCHRONOUS_OPERATION_H_

#include <any>
#include <atomic>
#include <functional>
#include <span>
#include <string_view>

#include "quillhaven/concurrency/atomic.h"
#include "quillhaven/platform/run_loop/operation.h"

namespace quillhaven::concurrency {

// The base of network calls and the like: main() begins the work and returns,
// and whatever ends it calls finish(). An operation that never does so never
// leaves its queue. One that is cancelled before it starts does not work, calls
// its completion handler and still never counts as finished, so its queue keeps
// it: who cancels finishes with it himself. Thread-safe.
class AsynchronousOperation : public platform::Operation {
 public:
  // Called on the main thread after each finish(); absent at first.
  [[nodiscard]] std::function<void()> completionHandler() const;
  void setCompletionHandler(std::function<void()> handler);

  // Calls main(), or finish() when the operation is cancelled.
  void start() override;

  // Begins the work. A subclass that does not override it is a fatal error.
  void main() override;

  // Ends the work: to be called once, when it is done. An operation that is
  // executing is finished from then on; one that never began stays as it is.
  // The completion handler is called from the main queue, never within this
  // call, and the operation lives until then.
  void finish();

  [[nodiscard]] bool isReady() const override;
  [[nodiscard]] bool isExecuting() const override;
  [[nodiscard]] bool isFinished() const override;
  [[nodiscard]] bool isAsynchronous() const override { return true; }

  // Always absent, and ignored: completionHandler is for users.
  [[nodiscard]] std::function<void()> completionBlock() const override;
  void setCompletionBlock(std::function<void()> block) override;

  // "state" (an int: 0 ready, 1 executing, 2 finished) is observable, and
  // affects "isReady", "isExecuting" and "isFinished".
  [[nodiscard]] std::any valueForKey(std::string_view key) const override;
  [[nodiscard]] std::span<const std::string_view>
  keyPathsForValuesAffectingValue(std::string_view key) const override;

 private:
  enum class State : int { kReady = 0, kExecuting = 1, kFinished = 2 };

  // Reads run side by side, a change is exclusive.
  std::atomic<State> state_{State::kReady};
  Atomic<std::function<void()>> completionHandler_{nullptr};
};

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_ASYNCHRONOUS_OPERATION_H_
