#include "quillhaven/platform/run_loop/internal/queue_core.h"

#include <utility>

#include "quillhaven/platform/run_loop/internal/worker_pool.h"

namespace quillhaven::platform::internal {
namespace {

// Operations that a token runs before the tasks of others have their turn.
constexpr int kOperationsPerToken = 64;

// The operation that the thread has started and that has not returned. When it
// does, the thread looks for the next one, so that its end needs no token.
thread_local const Operation* startedHere = nullptr;

}  // namespace

void QueueCore::add(const std::shared_ptr<Operation>& operation) {
  if (!operation->enter(shared_from_this())) return;
  {
    const std::lock_guard guard(lock_);
    link(*operation);
  }
  // From here on the queue is told; what happened before is asked.
  if (operation->finish_ != Operation::Finish::kNot) {
    finished(*operation);
  } else {
    becameReady(*operation);
  }
}

void QueueCore::becameReady(Operation& operation) {
  if (!operation.isReady()) return;
  {
    const std::lock_guard guard(lock_);
    if (operation.place_ != Place::kWaiting || !operation.self_) return;
    operation.place_ = Place::kReady;
    ready_.push_back(&operation);
    if (!wantsToken()) return;
  }
  sendToken();
}

void QueueCore::finished(Operation& operation) {
  std::shared_ptr<Operation> last;  // goes unlocked
  {
    const std::lock_guard guard(lock_);
    if (!operation.self_ || operation.place_ == Place::kGone) return;
    unlink(operation);
    if (operation.place_ == Place::kStarted) --running_;
    // A ready one is let go when its turn comes.
    const Place before = std::exchange(operation.place_, Place::kGone);
    if (before != Place::kReady) last = std::move(operation.self_);
    if (count_ == 0) emptied_.notify_all();
    const bool returnsHere =
        startedHere == &operation && operation.isReturning_;
    if (returnsHere || !wantsToken()) return;
  }
  sendToken();
}

void QueueCore::runToken() {
  for (int i = 0; i < kOperationsPerToken; ++i) {
    const auto operation = takeNext(i == 0);
    if (!operation) break;
    WorkerPool::noteProgress();
    if (operation->isReady() && operation->claimStart()) {
      startedHere = operation.get();
      operation->start();
      startedHere = nullptr;
    } else {
      giveBack(*operation);
    }
  }
  {
    const std::lock_guard guard(lock_);
    if (!wantsToken()) return;
  }
  sendToken();
}

// Returns the next operation, marked as started, or nothing if none may start.
std::shared_ptr<Operation> QueueCore::takeNext(bool isFirst) {
  std::vector<std::shared_ptr<Operation>> gone;  // go unlocked
  std::shared_ptr<Operation> next;
  {
    const std::lock_guard guard(lock_);
    if (isFirst) isTokenOnItsWay_ = false;
    while (!next && mayStart()) {
      Operation* const operation = ready_.front();
      ready_.pop_front();
      if (operation->place_ == Place::kGone) {
        gone.push_back(std::move(operation->self_));
        continue;
      }
      operation->place_ = Place::kStarted;
      ++running_;
      next = operation->self_;
    }
    if (!next || !wantsToken()) return next;
  }
  sendToken();
  return next;
}

// Takes back an operation that has been given a dependency since it was ready.
void QueueCore::giveBack(Operation& operation) {
  {
    const std::lock_guard guard(lock_);
    if (operation.place_ != Place::kStarted) return;
    operation.place_ = Place::kWaiting;
    --running_;
  }
  becameReady(operation);
}

void QueueCore::link(Operation& operation) {
  operation.self_ = operation.shared_from_this();
  operation.previous_ = last_;
  (last_ == nullptr ? first_ : last_->next_) = &operation;
  last_ = &operation;
  ++count_;
}

void QueueCore::unlink(Operation& operation) {
  Operation* const previous = operation.previous_;
  Operation* const next = operation.next_;
  (previous == nullptr ? first_ : previous->next_) = next;
  (next == nullptr ? last_ : next->previous_) = previous;
  --count_;
}

bool QueueCore::mayStart() const {
  return !isSuspended_ && !ready_.empty() &&
         (maximum_ < 0 || running_ < maximum_);
}

// Returns whether the caller has to send a token, which then is on its way.
bool QueueCore::wantsToken() {
  if (isTokenOnItsWay_ || !mayStart()) return false;
  isTokenOnItsWay_ = true;
  return true;
}

void QueueCore::sendToken() {
  WorkerPool::shared().run([self = shared_from_this()] { self->runToken(); });
}

std::vector<std::shared_ptr<Operation>> QueueCore::operations() const {
  std::vector<std::shared_ptr<Operation>> all;
  const std::lock_guard guard(lock_);
  all.reserve(count_);
  for (const Operation* operation = first_; operation != nullptr;
       operation = operation->next_) {
    all.push_back(operation->self_);
  }
  return all;
}

std::size_t QueueCore::count() const {
  const std::lock_guard guard(lock_);
  return count_;
}

void QueueCore::waitUntilEmpty() {
  std::unique_lock guard(lock_);
  if (count_ == 0) return;
  guard.unlock();
  const WorkerPool::Sleep sleep;
  guard.lock();
  emptied_.wait(guard, [this] { return count_ == 0; });
}

std::ptrdiff_t QueueCore::maximum() const {
  const std::lock_guard guard(lock_);
  return maximum_;
}

void QueueCore::setMaximum(std::ptrdiff_t maximum) {
  {
    const std::lock_guard guard(lock_);
    maximum_ = maximum;
    if (!wantsToken()) return;
  }
  sendToken();
}

bool QueueCore::isSuspended() const {
  const std::lock_guard guard(lock_);
  return isSuspended_;
}

void QueueCore::setSuspended(bool isSuspended) {
  {
    const std::lock_guard guard(lock_);
    isSuspended_ = isSuspended;
    if (!wantsToken()) return;
  }
  sendToken();
}

}  // namespace quillhaven::platform::internal
