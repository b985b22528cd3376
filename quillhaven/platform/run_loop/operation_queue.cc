#include <utility>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/run_loop/internal/queue_core.h"
#include "quillhaven/platform/run_loop/operation.h"

namespace quillhaven::platform {

OperationQueue::OperationQueue()
    : core_(std::make_shared<internal::QueueCore>()) {}

OperationQueue::~OperationQueue() = default;

void OperationQueue::addOperation(std::shared_ptr<Operation> operation) {
  core_->add(operation);
}

void OperationQueue::addOperations(
    const std::vector<std::shared_ptr<Operation>>& operations,
    bool waitUntilFinished) {
  for (const auto& operation : operations) core_->add(operation);
  if (!waitUntilFinished) return;
  for (const auto& operation : operations) operation->waitUntilFinished();
}

void OperationQueue::addOperationWithBlock(std::function<void()> block) {
  addOperation(std::make_shared<BlockOperation>(std::move(block)));
}

std::vector<std::shared_ptr<Operation>> OperationQueue::operations() const {
  return core_->operations();
}

std::size_t OperationQueue::operationCount() const { return core_->count(); }

void OperationQueue::cancelAllOperations() {
  for (const auto& operation : operations()) operation->cancel();
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
  core_->waitUntilEmpty();
}

std::ptrdiff_t OperationQueue::maxConcurrentOperationCount() const {
  return core_->maximum();
}

void OperationQueue::setMaxConcurrentOperationCount(std::ptrdiff_t count) {
  if (count < kDefaultMaxConcurrentOperationCount) {
    fatalError("a queue is told to run a negative number of operations");
  }
  core_->setMaximum(count);
}

bool OperationQueue::isSuspended() const { return core_->isSuspended(); }

void OperationQueue::setSuspended(bool isSuspended) {
  core_->setSuspended(isSuspended);
}

}  // namespace quillhaven::platform
