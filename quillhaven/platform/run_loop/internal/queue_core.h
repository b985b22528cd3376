// The state of an operation queue, which its operations keep alive.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_QUEUE_CORE_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_QUEUE_CORE_H_

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "quillhaven/platform/run_loop/operation.h"

namespace quillhaven::platform::internal {

// Operations in the queue and the queue own each other until the operation has
// finished. Work is handed to the pool as tokens: a token is a task that runs
// what is ready, one operation after the other. While something may start there
// is a token on its way or a thread between two operations, so one that sleeps
// within an operation holds up no other. Thread-safe.
class QueueCore : public std::enable_shared_from_this<QueueCore> {
 public:
  void add(const std::shared_ptr<Operation>& operation);
  // What an operation in the queue says of itself.
  void becameReady(Operation& operation);
  void finished(Operation& operation);

  [[nodiscard]] std::vector<std::shared_ptr<Operation>> operations() const;
  [[nodiscard]] std::size_t count() const;
  void waitUntilEmpty();

  [[nodiscard]] std::ptrdiff_t maximum() const;
  void setMaximum(std::ptrdiff_t maximum);
  [[nodiscard]] bool isSuspended() const;
  void setSuspended(bool isSuspended);

 private:
  using Place = Operation::Place;

  void runToken();
  std::shared_ptr<Operation> takeNext(bool isFirst);
  void giveBack(Operation& operation);
  void link(Operation& operation);
  void unlink(Operation& operation);
  [[nodiscard]] bool mayStart() const;
  [[nodiscard]] bool wantsToken();
  void sendToken();

  mutable std::mutex lock_;  // of everything below
  std::condition_variable emptied_;
  Operation* first_ = nullptr;
  Operation* last_ = nullptr;
  std::size_t count_ = 0;
  // In the order of becoming ready; those that are gone are passed over.
  std::deque<Operation*> ready_;
  std::ptrdiff_t maximum_ = OperationQueue::kDefaultMaxConcurrentOperationCount;
  std::ptrdiff_t running_ = 0;  // started and not finished
  bool isSuspended_ = false;
  bool isTokenOnItsWay_ = false;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_QUEUE_CORE_H_
