#include "quillhaven/platform/run_loop/operation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <latch>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/platform/run_loop/internal/worker_pool.h"

namespace quillhaven::platform {
namespace {

using Operations = std::vector<std::shared_ptr<Operation>>;

// Collects words from several threads.
class Record {
 public:
  void add(const std::string& word) {
    const std::lock_guard guard(lock_);
    words_ += word;
  }
  std::string words() {
    const std::lock_guard guard(lock_);
    return words_;
  }

 private:
  std::mutex lock_;
  std::string words_;
};

std::shared_ptr<Operation> block(std::function<void()> work) {
  return std::make_shared<BlockOperation>(std::move(work));
}

// An operation that ends when its test says so, on the test's thread.
class OpenOperation : public Operation {
 public:
  void start() override {
    state_ = 1;
    didChangeValueForKey("state");
    started_.count_down();
  }
  void end() {
    state_ = 2;
    didChangeValueForKey("state");
  }
  void waitUntilStarted() { started_.wait(); }
  [[nodiscard]] bool isAsynchronous() const override { return true; }
  [[nodiscard]] bool isReady() const override {
    return state_ == 0 && Operation::isReady();
  }
  [[nodiscard]] bool isExecuting() const override { return state_ == 1; }
  [[nodiscard]] bool isFinished() const override { return state_ == 2; }
  [[nodiscard]] std::span<const std::string_view>
  keyPathsForValuesAffectingValue(std::string_view) const override {
    static constexpr std::string_view kState[] = {"state"};
    return kState;
  }

 private:
  std::atomic<int> state_ = 0;
  std::latch started_{1};
};

TEST(Operation, RunsInPlaceAndTellsItsProgress) {
  Record record;
  const auto operation = block([&] { record.add("main "); });
  std::vector<KeyValueObservation> observations;
  for (const char* key : {"isExecuting", "isFinished", "isCancelled"}) {
    observations.push_back(operation->observe(
        key, KeyValueObservingOptions::kNew,
        [&, key](const KeyValueChange& change) {
          const bool value = std::any_cast<bool>(change.newValue);
          record.add(std::string(key) + (value ? "+ " : "- "));
        }));
  }
  EXPECT_TRUE(operation->isReady());
  operation->start();
  operation->start();  // has finished: nothing more
  operation->waitUntilFinished();
  EXPECT_EQ(record.words(), "isExecuting+ main isExecuting- isFinished+ ");
}

TEST(Operation, FinishesWithoutWorkingWhenCancelled) {
  bool hasRun = false;
  const auto operation = block([&] { hasRun = true; });
  operation->addDependency(block([] {}));
  EXPECT_FALSE(operation->isReady());
  operation->cancel();
  EXPECT_TRUE(operation->isReady());
  operation->start();
  EXPECT_TRUE(operation->isFinished());
  EXPECT_FALSE(hasRun);
}

TEST(Operation, FinishesThoughItsWorkThrows) {
  const auto operation = block([] { throw std::runtime_error("lost"); });
  EXPECT_THROW(operation->start(), std::runtime_error);
  EXPECT_TRUE(operation->isFinished());
  EXPECT_FALSE(operation->isExecuting());
}

TEST(Operation, RefusesWhatBreaksItsRules) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const struct {
    void (*breakRule)();
    const char* rule;
  } cases[] = {
      {[] {
         const auto operation = block([] {});
         operation->addDependency(block([] {}));
         operation->start();
       },
       "started before it is ready"},
      {[] {
         std::shared_ptr<Operation> operation;
         operation = block([&] { operation->start(); });
         operation->start();
       },
       "started while it is executing"},
      {[] {
         OperationQueue one, two;
         one.setSuspended(true);
         const auto operation = block([] {});
         one.addOperation(operation);
         two.addOperation(operation);
       },
       "added to a second queue"},
      {[] {
         const auto operation = block([] {});
         operation->start();
         OperationQueue().addOperation(operation);
       },
       "added to a queue after it has begun"},
      {[] {
         OperationQueue queue;
         queue.addOperationWithBlock([] { throw std::runtime_error("lost"); });
         queue.waitUntilAllOperationsAreFinished();
         std::latch(1).wait();
       },
       "an exception left an operation: lost"},
      {[] { OperationQueue().setMaxConcurrentOperationCount(-2); },
       "negative number of operations"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    EXPECT_DEATH(c.breakRule(), c.rule);
  }
}

TEST(Dependencies, AreKeptOnceEachInTheirOrder) {
  for (const std::size_t count : {1U, 15U, 16U, 17U, 40U}) {
    SCOPED_TRACE(count);
    Operations operations;
    const auto last = block([] {});
    for (std::size_t i = 0; i < count; ++i) {
      operations.push_back(block([] {}));
      last->addDependency(operations.back());
    }
    for (const auto& operation : operations) last->addDependency(operation);
    EXPECT_EQ(last->dependencies(), operations);
    for (const auto& operation : operations) operation->start();
    EXPECT_TRUE(last->isReady());  // each was counted once
    last->removeDependency(operations.front());
    last->addDependency(operations.front());
    EXPECT_EQ(last->dependencies().size(), count);
    EXPECT_TRUE(last->isReady());
  }
}

TEST(Dependencies, DecideReadinessWhateverWayTheyGo) {
  const struct {
    const char* name;
    void (*settle)(const std::shared_ptr<Operation>& operation,
                   const std::shared_ptr<Operation>& dependency);
  } cases[] = {
      {"finish", [](const auto&, const auto& other) { other->start(); }},
      {"remove", [](const auto& operation,
                    const auto& other) { operation->removeDependency(other); }},
      {"cancel",
       [](const auto& operation, const auto&) { operation->cancel(); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    OperationQueue queue;
    const auto dependency = block([] {});
    const auto operation = block([] {});
    operation->addDependency(dependency);
    queue.addOperation(operation);
    EXPECT_EQ(queue.operations(), Operations{operation});
    EXPECT_FALSE(operation->isReady());
    c.settle(operation, dependency);
    operation->waitUntilFinished();
    EXPECT_EQ(queue.operationCount(), 0U);
  }
}

TEST(Dependencies, HoldAcrossQueues) {
  OperationQueue one, two;
  Record record;
  const auto a = block([&] { record.add("a"); });
  const auto b = block([&] { record.add("b"); });
  const auto c = block([&] { record.add("c"); });
  c->addDependency(b);
  b->addDependency(a);
  one.addOperations({c, a}, false);
  two.addOperation(b);
  c->waitUntilFinished();
  EXPECT_EQ(record.words(), "abc");
}

TEST(Dependencies, AddedToAReadyOperationHoldItBack) {
  OperationQueue queue;
  queue.setSuspended(true);
  Record record;
  const auto operation = block([&] { record.add("second"); });
  queue.addOperation(operation);
  const auto dependency = block([&] { record.add("first "); });
  EXPECT_TRUE(operation->addDependencyUnlessStarted(dependency));
  queue.setSuspended(false);
  queue.addOperation(dependency);
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(record.words(), "first second");
  EXPECT_FALSE(operation->addDependencyUnlessStarted(block([] {})));
}

// Gives itself a dependency between the queue's decision to start it and the
// beginning of its work, as another thread may.
class LateDependent : public BlockOperation {
 public:
  using BlockOperation::BlockOperation;
  void start() override {
    addDependency(late);
    BlockOperation::start();
  }

  const std::shared_ptr<Operation> late = block([] {});
};

TEST(Dependencies, AddedToAStartedOperationHaveNoEffect) {
  OperationQueue queue;
  bool hasRun = false;
  const auto operation =
      std::make_shared<LateDependent>([&] { hasRun = true; });
  queue.addOperation(operation);
  operation->waitUntilFinished();
  EXPECT_TRUE(hasRun);
  EXPECT_TRUE(operation->isReady());
  EXPECT_EQ(operation->dependencies(), Operations{operation->late});
  operation->late->start();
  operation->removeDependency(operation->late);
  EXPECT_TRUE(operation->isReady());
}

// Each operation owns the one before it.
TEST(Dependencies, ChainOfAnyLengthGoesWithoutRecursion) {
  constexpr int kLength = 100'000;
  std::atomic<int> runs = 0;
  OperationQueue queue;
  std::shared_ptr<Operation> last = block([&] { ++runs; });
  queue.setSuspended(true);
  queue.addOperation(last);
  for (int i = 1; i < kLength; ++i) {
    auto next = block([&] { ++runs; });
    next->addDependency(last);
    queue.addOperation(next);
    last = std::move(next);
  }
  queue.setSuspended(false);
  last->waitUntilFinished();
  last.reset();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(runs, kLength);
}

TEST(CompletionBlock, RunsOnceAfterTheEnd) {
  std::latch done(1);
  const auto operation = block([] {});
  Operation& itself = *operation;
  operation->setCompletionBlock([&] {
    EXPECT_TRUE(itself.isFinished());
    EXPECT_FALSE(itself.completionBlock());
    done.count_down();
  });
  EXPECT_TRUE(operation->completionBlock());
  operation->start();
  done.wait();
}

TEST(OperationQueue, RunsInOrderOneAtATime) {
  OperationQueue queue;
  queue.setMaxConcurrentOperationCount(1);
  std::string seen, expected;  // no two operations touch it at once
  for (int i = 0; i < 300; ++i) {
    queue.addOperationWithBlock([&, i] { seen += std::to_string(i) + " "; });
    expected += std::to_string(i) + " ";
  }
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(seen, expected);
}

TEST(OperationQueue, KeepsToItsMaximumWhileOperationsAreOpen) {
  OperationQueue queue;
  queue.setMaxConcurrentOperationCount(2);
  std::vector<std::shared_ptr<OpenOperation>> open;
  for (int i = 0; i < 4; ++i) {
    open.push_back(std::make_shared<OpenOperation>());
    queue.addOperation(open.back());
  }
  open[0]->waitUntilStarted();
  open[1]->waitUntilStarted();
  EXPECT_FALSE(open[2]->isExecuting());
  open[1]->end();
  open[2]->waitUntilStarted();
  EXPECT_FALSE(open[3]->isExecuting());
  queue.setMaxConcurrentOperationCount(3);
  open[3]->waitUntilStarted();
  EXPECT_EQ(queue.operations(), (Operations{open[0], open[2], open[3]}));
  for (const int i : {0, 2, 3}) open[static_cast<std::size_t>(i)]->end();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, StartsNothingWhileSuspendedOrWithoutRoom) {
  OperationQueue queue;
  queue.setSuspended(true);
  const auto cancelled = block([] { FAIL(); });
  const auto open = std::make_shared<OpenOperation>();
  queue.addOperations({cancelled, open}, false);
  queue.addOperation(open);  // is there already
  cancelled->cancel();
  EXPECT_EQ(queue.operationCount(), 2U);
  queue.setMaxConcurrentOperationCount(0);
  queue.setSuspended(false);
  EXPECT_EQ(queue.operationCount(), 2U);
  queue.setMaxConcurrentOperationCount(
      OperationQueue::kDefaultMaxConcurrentOperationCount);
  open->waitUntilStarted();
  open->end();
  queue.waitUntilAllOperationsAreFinished();
  queue.addOperation(open);  // was there
  EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, LetsGoOfOperationsThatEndWithoutBeingStarted) {
  OperationQueue queue;
  queue.setSuspended(true);
  const auto open = std::make_shared<OpenOperation>();
  const std::weak_ptr<Operation> other = [&] {
    const auto second = std::make_shared<OpenOperation>();
    queue.addOperations({open, second}, false);
    second->end();
    return second;
  }();
  open->end();
  queue.waitUntilAllOperationsAreFinished();
  queue.setSuspended(false);
  queue.addOperations({block([] {})}, true);
  EXPECT_FALSE(other.lock());
}

TEST(OperationQueue, CancelsEachOfItsOperations) {
  OperationQueue queue;
  queue.setSuspended(true);
  int runs = 0;
  Operations operations;
  for (int i = 0; i < 3; ++i) operations.push_back(block([&] { ++runs; }));
  operations[2]->addDependency(block([] {}));  // never runs
  queue.addOperations(operations, false);
  queue.cancelAllOperations();
  queue.setSuspended(false);
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(runs, 0);
  EXPECT_TRUE(operations[2]->isFinished());
}

TEST(OperationQueue, RunsWhatItHasThoughItGoes) {
  std::latch done(2);
  const auto gate = block([] {});
  {
    OperationQueue queue;
    const auto waiting = block([&] { done.count_down(); });
    waiting->addDependency(gate);
    queue.addOperation(waiting);
    queue.addOperationWithBlock([&] { done.count_down(); });
  }
  gate->start();
  done.wait();
}

// Many more operations wait for each other than there are cores: without new
// threads they would wait for ever.
TEST(OperationQueue, GrowsWhileOperationsSleep) {
  constexpr int kSleepers = 40;
  OperationQueue queue;
  std::latch all(kSleepers);
  for (int i = 0; i < kSleepers; ++i) {
    queue.addOperationWithBlock([&] { all.arrive_and_wait(); });
  }
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_GE(internal::WorkerPool::shared().threadCount(), 40U);
}

TEST(OperationQueue, GrowsWhileOperationsWaitForOthers) {
  constexpr int kDepth = 100;
  OperationQueue queue;
  std::function<void(int)> wait = [&](int depth) {
    if (depth == 0) return;
    queue.addOperations({block([&, depth] { wait(depth - 1); })}, true);
  };
  queue.addOperationWithBlock([&] { wait(kDepth); });
  queue.waitUntilAllOperationsAreFinished();
}

// The operation that waits holds the only room; another gives it up meanwhile.
TEST(OperationQueue, AnOperationMayEndAnotherAndWaitForTheNext) {
  OperationQueue queue;
  queue.setMaxConcurrentOperationCount(2);
  const auto open = std::make_shared<OpenOperation>();
  const auto next = block([] {});
  queue.addOperation(open);
  open->waitUntilStarted();
  queue.addOperationWithBlock([&] {
    queue.addOperation(next);
    open->end();
    next->waitUntilFinished();
  });
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(next->isFinished());
}

// Operations of several threads, some cancelled, some waiting for others of
// theirs or of other threads, while the queue is suspended now and then.
TEST(OperationQueue, LosesNothingUnderStress) {
  constexpr int kThreads = 4, kRounds = 400;
  std::atomic<int> runs = 0, cancelled = 0;
  OperationQueue one, two;
  two.setMaxConcurrentOperationCount(3);
  std::mutex lock;
  std::shared_ptr<Operation> latest = block([] {});  // guarded by lock
  one.addOperation(latest);
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        for (int i = 0; i < kRounds; ++i) {
          const auto operation = block([&] { ++runs; });
          {
            const std::lock_guard guard(lock);
            if (i % 3 != 0) operation->addDependency(latest);
            latest = operation;
          }
          OperationQueue& queue = (i + t) % 2 == 0 ? one : two;
          queue.addOperation(operation);
          if (i % 16 == 0) two.setSuspended(i % 32 == 0);
          if (i % 7 == 0) {
            operation->cancel();
            ++cancelled;
          }
        }
        two.setSuspended(false);
      });
    }
  }
  two.setSuspended(false);
  one.waitUntilAllOperationsAreFinished();
  two.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(latest->isFinished());
  EXPECT_LE(runs, kThreads * kRounds);
  EXPECT_GE(runs, kThreads * kRounds - cancelled);
}

}  // namespace
}  // namespace quillhaven::platform
