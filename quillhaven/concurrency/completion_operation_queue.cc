#include "quillhaven/concurrency/completion_operation_queue.h"

#include <utility>

#include "quillhaven/platform/run_loop/main_queue.h"

namespace quillhaven::concurrency {

using platform::Operation;

// Runs the handler after everything it depends on.
class CompletionOperationQueue::CompletionOperation
    : public platform::BlockOperation {
 public:
  explicit CompletionOperation(std::shared_ptr<HandlerBox> handler)
      : BlockOperation([handler = std::move(handler)] {
          if (auto call = handler->wrappedValue()) {
            platform::mainQueueAsync(std::move(call));
          }
        }) {}

  // Never cancels itself, or its handler would not be called: deliberate.
  void cancel() override {
    for (const auto& dependency : dependencies()) {
      if (!dependency->isCancelled()) dependency->cancel();
    }
  }
};

CompletionOperationQueue::CompletionOperationQueue()
    : completionHandler_(std::make_shared<HandlerBox>(nullptr)) {}

std::function<void()> CompletionOperationQueue::completionHandler() const {
  return completionHandler_->wrappedValue();
}

void CompletionOperationQueue::setCompletionHandler(
    std::function<void()> handler) {
  completionHandler_->setWrappedValue(std::move(handler));
}

void CompletionOperationQueue::addOperation(
    std::shared_ptr<Operation> operation) {
  addCompletionDependencies({operation});
  OperationQueue::addOperation(std::move(operation));
}

void CompletionOperationQueue::addOperations(
    const std::vector<std::shared_ptr<Operation>>& operations,
    bool waitUntilFinished) {
  addCompletionDependencies(operations);
  OperationQueue::addOperations(operations, waitUntilFinished);
}

// A completion operation can be found as soon as it is made, and starts only
// after it has entered the queue with its dependencies. One that has started
// takes no more, so that no operation is without a handler call after it.
void CompletionOperationQueue::addCompletionDependencies(
    const std::vector<std::shared_ptr<Operation>>& operations) {
  std::shared_ptr<CompletionOperation> created;
  for (const auto& operation : operations) {
    auto completion = currentCompletionOperation();
    while (!completion || !completion->addDependencyUnlessStarted(operation)) {
      auto fresh = std::make_shared<CompletionOperation>(completionHandler_);
      if (replaceCompletionOperation(completion, fresh)) created = fresh;
      completion = currentCompletionOperation();
    }
  }
  if (created) OperationQueue::addOperation(std::move(created));
}

std::shared_ptr<CompletionOperationQueue::CompletionOperation>
CompletionOperationQueue::currentCompletionOperation() {
  return lock_.around([this] { return completionOperation_.lock(); });
}

// Returns whether `old` was still the current one.
bool CompletionOperationQueue::replaceCompletionOperation(
    const std::shared_ptr<CompletionOperation>& old,
    const std::shared_ptr<CompletionOperation>& fresh) {
  return lock_.around([&] {
    if (completionOperation_.lock() != old) return false;
    completionOperation_ = fresh;
    return true;
  });
}

}  // namespace quillhaven::concurrency
