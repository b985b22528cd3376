// A queue that says when everything in it has finished.
#ifndef QUILLHAVEN_CONCURRENCY_COMPLETION_OPERATION_QUEUE_H_
#define QUILLHAVEN_CONCURRENCY_COMPLETION_OPERATION_QUEUE_H_

#include <functional>
#include <memory>
#include <vector>

#include "quillhaven/concurrency/atomic.h"
#include "quillhaven/concurrency/unfair_lock.h"
#include "quillhaven/platform/run_loop/operation.h"

namespace quillhaven::concurrency {

// Calls one handler on the main thread when all operations added so far have
// finished. The queue holds an operation of its own for that, which depends on
// all others, counts among operations() and takes its turn like them;
// cancelling it cancels those it waits for, and the handler is called all the
// same. What is added once it has started gets a new one, and the handler
// another call. Thread-safe.
class CompletionOperationQueue : public platform::OperationQueue {
 public:
  CompletionOperationQueue();

  // Absent at first. Which handler is called is decided when the last operation
  // has finished; the call comes from the main queue, even if the queue has
  // gone by then.
  [[nodiscard]] std::function<void()> completionHandler() const;
  void setCompletionHandler(std::function<void()> handler);

  void addOperation(std::shared_ptr<platform::Operation> operation) override;
  void addOperations(
      const std::vector<std::shared_ptr<platform::Operation>>& operations,
      bool waitUntilFinished) override;

 private:
  using HandlerBox = Atomic<std::function<void()>>;
  class CompletionOperation;

  void addCompletionDependencies(
      const std::vector<std::shared_ptr<platform::Operation>>& operations);

  [[nodiscard]] std::shared_ptr<CompletionOperation>
  currentCompletionOperation();
  [[nodiscard]] bool replaceCompletionOperation(
      const std::shared_ptr<CompletionOperation>& old,
      const std::shared_ptr<CompletionOperation>& fresh);

  // Shared with the completion operations.
  const std::shared_ptr<HandlerBox> completionHandler_;
  UnfairLock lock_;
  // Guarded by lock_: the one among operations(), while there is one.
  std::weak_ptr<CompletionOperation> completionOperation_;
};

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_COMPLETION_OPERATION_QUEUE_H_
