// Operations, which are units of work with dependencies, and the queues that
// run them.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_OPERATION_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_OPERATION_H_

#include <any>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

#include "quillhaven/platform/run_loop/key_value_observing.h"

namespace quillhaven::platform {

namespace internal {
class QueueCore;
}

// A unit of work that runs once. Subclasses override main(), or start() and the
// state for work that goes on after start() has returned. Progress is
// observable under "isReady", "isExecuting", "isFinished" and "isCancelled";
// that is how queues and dependent operations learn of it, so a subclass that
// answers these itself says didChangeValueForKey(). An operation is owned by
// std::shared_ptr. Thread-safe.
class Operation : public KeyValueObservable,
                  public std::enable_shared_from_this<Operation> {
 public:
  Operation();
  ~Operation() override;

  // Begins the work; called by the queue on a thread of its own, or by the
  // caller of an operation that is in no queue. This one runs main() in place,
  // unless the operation is cancelled, and is finished when it returns.
  // Starting it twice, or before it is ready, is a fatal error. What main()
  // throws leaves start(); in a queue that is a fatal error.
  virtual void start();

  // The work; does nothing here.
  virtual void main() {}

  // Asks the operation to stop, which its work heeds by isCancelled(). One that
  // has not begun is ready at once, whatever it depends on, and finishes
  // without working.
  virtual void cancel();

  [[nodiscard]] virtual bool isReady() const;
  [[nodiscard]] virtual bool isExecuting() const { return isExecuting_; }
  [[nodiscard]] virtual bool isFinished() const { return isFinished_; }
  [[nodiscard]] virtual bool isCancelled() const { return isCancelled_; }
  // Whether the work goes on after start() has returned. For readers only:
  // queues start every operation on a thread of their own.
  [[nodiscard]] virtual bool isAsynchronous() const { return false; }

  // Runs once after the operation has finished, on a thread of the queues'; is
  // absent from then on. Must not throw. One set later never runs.
  [[nodiscard]] virtual std::function<void()> completionBlock() const;
  virtual void setCompletionBlock(std::function<void()> block);

  // Makes the operation wait for `dependency` to finish. One that it waits for
  // already is not added again; once a queue has started the operation, a new
  // one is kept and has no effect. Operations that wait for each other never
  // run.
  // Dependencies are kept until they are removed or the operation goes.
  void addDependency(std::shared_ptr<Operation> dependency);
  // Like addDependency(), but adds nothing and returns false when a queue has
  // started the operation. Returns true otherwise, also for one that it waits
  // for already.
  [[nodiscard]] bool addDependencyUnlessStarted(
      std::shared_ptr<Operation> dependency);
  void removeDependency(const std::shared_ptr<Operation>& dependency);
  // In the order of adding.
  [[nodiscard]] std::vector<std::shared_ptr<Operation>> dependencies() const;

  // Sleeps until the operation has finished and its queue has let go of it. Not
  // for an operation's own work, nor for the main thread while the work needs
  // the main queue.
  void waitUntilFinished() const;

  [[nodiscard]] std::any valueForKey(std::string_view key) const override;

 private:
  friend class internal::QueueCore;

  struct Extras;
  enum class Finish : std::uint32_t { kNot, kBeingTold, kTold };
  enum class Place : std::uint8_t { kWaiting, kReady, kStarted, kGone };

  void valueDidChange(std::string_view key) override;
  [[nodiscard]] bool isAffected(std::string_view key,
                                std::string_view by) const;
  Extras& extras();
  void markFinished();
  void tellFinished();
  void dependencyFinished();
  [[nodiscard]] bool addDependency(std::shared_ptr<Operation> dependency,
                                   bool unlessStarted);
  [[nodiscard]] bool keepDependency(
      const std::shared_ptr<Operation>& dependency);
  [[nodiscard]] bool addDependent(const std::shared_ptr<Operation>& dependent);
  [[nodiscard]] bool removeDependent(const Operation* dependent);
  // What a queue says and asks before it runs the operation.
  [[nodiscard]] bool enter(std::shared_ptr<internal::QueueCore> queue);
  [[nodiscard]] bool claimStart();

  std::atomic<bool> isCancelled_{false};
  std::atomic<bool> isExecuting_{false};
  std::atomic<bool> isFinished_{false};
  std::atomic<bool> isReturning_{false};  // start() has nothing left to do
  std::atomic<bool> isInQueue_{false};    // queue_ is set, and stays so
  std::atomic<Finish> finish_{Finish::kNot};
  std::atomic<std::size_t> unfinishedDependencies_{0};

  mutable std::mutex lock_;         // of the members up to the next blank line
  bool isStarted_ = false;          // by a queue
  std::unique_ptr<Extras> extras_;  // null while all in there is empty
  std::vector<std::weak_ptr<Operation>> dependents_;  // yet to be told

  std::shared_ptr<internal::QueueCore> queue_;
  // The operation's place in its queue, guarded by the queue's lock.
  std::shared_ptr<Operation> self_;
  Operation* previous_ = nullptr;
  Operation* next_ = nullptr;
  Place place_ = Place::kWaiting;
};

// An operation that runs a function.
class BlockOperation : public Operation {
 public:
  explicit BlockOperation(std::function<void()> block);

  void main() override;

 private:
  std::function<void()> block_;
};

// Runs operations on threads that all queues share, each when it is ready, in
// the order in which they became so, as many at once as the queue allows. An
// operation has its place until it has finished; one that never does keeps it,
// and keeps its memory. The operations of a queue that goes run all the same.
// Thread-safe.
class OperationQueue {
 public:
  // No limit but the number of threads, which grows while operations sleep.
  static constexpr std::ptrdiff_t kDefaultMaxConcurrentOperationCount = -1;

  OperationQueue();
  virtual ~OperationQueue();
  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;

  // Adds an operation. One that this queue has or had is left as it is; one of
  // another queue, or one that has begun or finished outside, is a fatal error.
  virtual void addOperation(std::shared_ptr<Operation> operation);
  // Adds them in their order and, if asked, returns when all have finished.
  virtual void addOperations(
      const std::vector<std::shared_ptr<Operation>>& operations,
      bool waitUntilFinished);
  void addOperationWithBlock(std::function<void()> block);

  // Those that have not finished, in the order of adding.
  [[nodiscard]] std::vector<std::shared_ptr<Operation>> operations() const;
  [[nodiscard]] std::size_t operationCount() const;

  // Calls cancel() of each of operations().
  void cancelAllOperations();

  // Sleeps until the queue is empty. Not for the queue's own operations.
  void waitUntilAllOperationsAreFinished();

  // How many operations may be under way at once; zero starts none, and below
  // the default is a fatal error.
  [[nodiscard]] std::ptrdiff_t maxConcurrentOperationCount() const;
  void setMaxConcurrentOperationCount(std::ptrdiff_t count);

  // While suspended, the queue starts no operation.
  [[nodiscard]] bool isSuspended() const;
  void setSuspended(bool isSuspended);

 private:
  const std::shared_ptr<internal::QueueCore> core_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_OPERATION_H_
