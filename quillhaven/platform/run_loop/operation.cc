#include "quillhaven/platform/run_loop/operation.h"

#include <algorithm>
#include <optional>
#include <unordered_set>
#include <utility>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/run_loop/internal/queue_core.h"
#include "quillhaven/platform/run_loop/internal/worker_pool.h"

namespace quillhaven::platform {
namespace {

constexpr std::string_view kIsReady = "isReady";
constexpr std::string_view kIsExecuting = "isExecuting";
constexpr std::string_view kIsFinished = "isFinished";
constexpr std::string_view kIsCancelled = "isCancelled";

// With more dependencies, an index tells whether one is among them.
constexpr std::size_t kDependenciesWithoutIndex = 16;

using Operations = std::vector<std::shared_ptr<Operation>>;

// Lets go of dependencies one after the other: each may be the last owner of
// its own, and so on down a chain of any length.
void release(Operations dependencies) {
  thread_local Operations* releasing = nullptr;
  if (releasing != nullptr) {
    std::move(dependencies.begin(), dependencies.end(),
              std::back_inserter(*releasing));
    return;
  }
  releasing = &dependencies;
  while (!dependencies.empty()) {
    const auto last = std::move(dependencies.back());
    dependencies.pop_back();
  }
  releasing = nullptr;
}

}  // namespace

// What few operations have, out of the way of the many that wait in a queue.
struct Operation::Extras {
  std::function<void()> completionBlock;
  Operations dependencies;
  // Of the dependencies when they are many.
  std::unordered_set<const Operation*> dependencyIndex;
};

Operation::Operation() = default;

Operation::~Operation() {
  if (extras_ && !extras_->dependencies.empty()) {
    release(std::move(extras_->dependencies));
  }
}

// Called with the lock held.
Operation::Extras& Operation::extras() {
  if (!extras_) extras_ = std::make_unique<Extras>();
  return *extras_;
}

void Operation::start() {
  if (isFinished_) return;
  if (isCancelled()) return markFinished();
  if (!isReady()) fatalError("an operation is started before it is ready");
  if (isExecuting_.exchange(true)) {
    fatalError("an operation is started while it is executing");
  }
  didChangeValueForKey(kIsExecuting);
  try {
    if (!isCancelled()) main();
  } catch (...) {
    markFinished();
    throw;
  }
  markFinished();
}

void Operation::markFinished() {
  isReturning_ = true;
  const bool wasExecuting = isExecuting_.exchange(false);
  isFinished_ = true;
  if (wasExecuting) didChangeValueForKey(kIsExecuting);
  didChangeValueForKey(kIsFinished);
}

void Operation::cancel() {
  if (isCancelled_.exchange(true)) return;
  didChangeValueForKey(kIsCancelled);
  didChangeValueForKey(kIsReady);
}

bool Operation::isReady() const {
  return unfinishedDependencies_ == 0 || isCancelled_;
}

std::function<void()> Operation::completionBlock() const {
  const std::lock_guard guard(lock_);
  return extras_ ? extras_->completionBlock : nullptr;
}

void Operation::setCompletionBlock(std::function<void()> block) {
  const std::lock_guard guard(lock_);
  if (block || extras_) std::swap(extras().completionBlock, block);
}

std::any Operation::valueForKey(std::string_view key) const {
  if (key == kIsReady) return isReady();
  if (key == kIsExecuting) return isExecuting();
  if (key == kIsFinished) return isFinished();
  if (key == kIsCancelled) return isCancelled();
  return KeyValueObservable::valueForKey(key);
}

bool Operation::isAffected(std::string_view key, std::string_view by) const {
  if (key == by) return true;
  const auto others = keyPathsForValuesAffectingValue(key);
  return std::find(others.begin(), others.end(), by) != others.end();
}

// How queues and dependent operations learn of progress.
void Operation::valueDidChange(std::string_view key) {
  if (isAffected(kIsFinished, key) && isFinished()) {
    tellFinished();
  } else if (isInQueue_ && isAffected(kIsReady, key)) {
    queue_->becameReady(*this);
  }
}

void Operation::tellFinished() {
  Finish expected = Finish::kNot;
  if (!finish_.compare_exchange_strong(expected, Finish::kBeingTold)) return;
  const auto self = weak_from_this().lock();  // the queue may be its last owner
  std::vector<std::weak_ptr<Operation>> dependents;
  std::function<void()> completionBlock;
  {
    const std::lock_guard guard(lock_);
    dependents.swap(dependents_);
    if (extras_) completionBlock.swap(extras_->completionBlock);
  }
  for (const auto& weak : dependents) {
    if (const auto dependent = weak.lock()) dependent->dependencyFinished();
  }
  if (isInQueue_) queue_->finished(*this);
  finish_ = Finish::kTold;
  finish_.notify_all();
  if (completionBlock) {
    internal::WorkerPool::shared().run(std::move(completionBlock));
  }
}

void Operation::dependencyFinished() {
  if (unfinishedDependencies_.fetch_sub(1) == 1) didChangeValueForKey(kIsReady);
}

void Operation::waitUntilFinished() const {
  std::optional<internal::WorkerPool::Sleep> sleep;
  for (Finish finish = finish_; finish != Finish::kTold; finish = finish_) {
    if (!sleep) sleep.emplace();
    finish_.wait(finish);
  }
}

void Operation::addDependency(std::shared_ptr<Operation> dependency) {
  static_cast<void>(addDependency(std::move(dependency), false));
}

bool Operation::addDependencyUnlessStarted(
    std::shared_ptr<Operation> dependency) {
  return addDependency(std::move(dependency), true);
}

bool Operation::addDependency(std::shared_ptr<Operation> dependency,
                              bool unlessStarted) {
  {
    const std::lock_guard guard(lock_);
    if (isStarted_ && unlessStarted) return false;
    if (!keepDependency(dependency)) return true;
    // It would no longer be ready for a start that is on its way.
    if (isStarted_) return true;
    ++unfinishedDependencies_;
  }
  if (!dependency->addDependent(shared_from_this())) dependencyFinished();
  return true;
}

// Returns false if it is there already. Called with the lock held.
bool Operation::keepDependency(const std::shared_ptr<Operation>& dependency) {
  auto& [completionBlock, dependencies, index] = extras();
  if (dependencies.size() < kDependenciesWithoutIndex) {
    if (std::find(dependencies.begin(), dependencies.end(), dependency) !=
        dependencies.end()) {
      return false;
    }
  } else {
    if (index.empty()) {
      for (const auto& other : dependencies) index.insert(other.get());
    }
    if (!index.insert(dependency.get()).second) return false;
  }
  dependencies.push_back(dependency);
  return true;
}

// Returns false if the operation has finished, and tells nobody then.
bool Operation::addDependent(const std::shared_ptr<Operation>& dependent) {
  if (isFinished()) return false;
  const std::lock_guard guard(lock_);
  if (finish_ != Finish::kNot) return false;
  dependents_.push_back(dependent);
  return true;
}

// Returns false if the dependent has been told, or is about to be.
bool Operation::removeDependent(const Operation* dependent) {
  const std::lock_guard guard(lock_);
  return std::erase_if(dependents_, [&](const auto& weak) {
           return weak.lock().get() == dependent;
         }) > 0;
}

void Operation::removeDependency(const std::shared_ptr<Operation>& dependency) {
  {
    const std::lock_guard guard(lock_);
    if (!extras_ || std::erase(extras_->dependencies, dependency) == 0) return;
    extras_->dependencyIndex.clear();
  }
  if (dependency->removeDependent(this)) dependencyFinished();
}

Operations Operation::dependencies() const {
  const std::lock_guard guard(lock_);
  return extras_ ? extras_->dependencies : Operations();
}

// Returns false if the operation is in `queue` already.
bool Operation::enter(std::shared_ptr<internal::QueueCore> queue) {
  const std::lock_guard guard(lock_);
  if (queue_ == queue) return false;
  if (queue_) fatalError("an operation is added to a second queue");
  if (isStarted_ || isExecuting_ || finish_ != Finish::kNot) {
    fatalError("an operation is added to a queue after it has begun");
  }
  queue_ = std::move(queue);
  isInQueue_ = true;
  return true;
}

// Returns false if a dependency keeps the operation from starting.
bool Operation::claimStart() {
  const std::lock_guard guard(lock_);
  if (unfinishedDependencies_ != 0 && !isCancelled_) return false;
  isStarted_ = true;
  return true;
}

BlockOperation::BlockOperation(std::function<void()> block)
    : block_(std::move(block)) {}

void BlockOperation::main() { block_(); }

}  // namespace quillhaven::platform
