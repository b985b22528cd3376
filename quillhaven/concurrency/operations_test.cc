#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/concurrency/asynchronous_operation.h"
#include "quillhaven/concurrency/completion_operation_queue.h"
#include "quillhaven/platform/run_loop/main_queue.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::concurrency {
namespace {

using platform::BlockOperation;
using platform::Operation;
using platform::OperationQueue;
using platform::RunLoop;
using Operations = std::vector<std::shared_ptr<Operation>>;

// Turns the main loop, where handlers are called, until `isDone`.
template <typename Condition>
bool turnUntil(const Condition& isDone) {
  const auto ticks = RunLoop::main().startTimer(
      std::chrono::milliseconds(5), [] {}, std::chrono::milliseconds(5));
  return RunLoop::main().runUntil(isDone, std::chrono::seconds(60));
}

// Serves what the main queue holds now.
void drainMainQueue() {
  bool isDrained = false;
  platform::mainQueueAsync([&] { isDrained = true; });
  EXPECT_TRUE(turnUntil([&] { return isDrained; }));
}

// Ends on a thread of its own when told to, or not at all.
class Download : public AsynchronousOperation {
 public:
  void main() override { hasBegun_ = true; }
  std::jthread endElsewhere() {
    return std::jthread([this] { finish(); });
  }
  [[nodiscard]] bool hasBegun() const { return hasBegun_; }

 private:
  std::atomic<bool> hasBegun_ = false;
};

// Begins and ends in main().
class Instant : public AsynchronousOperation {
 public:
  void main() override { finish(); }
};

TEST(AsynchronousOperation, FinishesOnAnotherThreadAndTellsTheMainOne) {
  const auto operation = std::make_shared<Download>();
  int calls = 0;
  operation->setCompletionHandler([&] {
    EXPECT_TRUE(platform::isMainThread());
    EXPECT_TRUE(operation->isFinished());
    ++calls;
  });
  std::string progress;
  const auto observation = operation->observe(
      "isFinished", platform::KeyValueObservingOptions::kNew,
      [&](const platform::KeyValueChange& change) {
        progress += std::any_cast<bool>(change.newValue) ? "finished " : "not ";
      });
  EXPECT_EQ(std::any_cast<int>(operation->valueForKey("state")), 0);

  OperationQueue queue;
  queue.addOperation(operation);
  EXPECT_TRUE(turnUntil([&] { return operation->hasBegun(); }));
  EXPECT_TRUE(operation->isExecuting());
  EXPECT_FALSE(operation->isReady());
  EXPECT_EQ(queue.operationCount(), 1U);
  const auto ender = operation->endElsewhere();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_FALSE(operation->isExecuting());
  EXPECT_EQ(calls, 0);  // not on the thread that finished
  EXPECT_TRUE(turnUntil([&] { return calls == 1; }));
  EXPECT_EQ(progress, "not finished ");
  EXPECT_EQ(std::any_cast<int>(operation->valueForKey("state")), 2);
}

TEST(AsynchronousOperation, LetsItsDependentsGo) {
  OperationQueue queue;
  const auto first = std::make_shared<Download>();
  const auto second = std::make_shared<Instant>();
  second->addDependency(first);
  EXPECT_FALSE(second->isReady());
  queue.addOperations({second, first}, false);
  EXPECT_TRUE(turnUntil([&] { return first->hasBegun(); }));
  EXPECT_FALSE(second->isFinished());
  const auto ender = first->endElsewhere();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(second->isFinished());
  drainMainQueue();
}

TEST(AsynchronousOperation, CancelledBeforeItStartsNeverCountsAsFinished) {
  // Never lets go of the operation.
  static OperationQueue queue;
  const auto operation = std::make_shared<Download>();
  int calls = 0;
  operation->setCompletionHandler([&] { ++calls; });
  operation->cancel();
  queue.addOperation(operation);
  EXPECT_TRUE(turnUntil([&] { return calls == 1; }));
  EXPECT_FALSE(operation->hasBegun());
  EXPECT_FALSE(operation->isFinished());
  EXPECT_FALSE(operation->isExecuting());
  EXPECT_TRUE(operation->isReady());
  EXPECT_EQ(queue.operations(), Operations{operation});
}

TEST(AsynchronousOperation, HasNoCompletionBlock) {
  const auto operation = std::make_shared<Instant>();
  operation->setCompletionBlock([] { FAIL(); });
  EXPECT_FALSE(operation->completionBlock());
  OperationQueue().addOperations({operation}, true);
  drainMainQueue();
}

TEST(AsynchronousOperation, MustBeOverridden) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::make_shared<AsynchronousOperation>()->start(),
               "Implement in subclass to perform task");
}

TEST(CompletionOperationQueue, CallsItsHandlerOnceForAllAddedSoFar) {
  CompletionOperationQueue queue;
  int calls = 0;
  std::atomic<int> runs = 0;
  queue.setCompletionHandler([&] {
    EXPECT_TRUE(platform::isMainThread());
    ++calls;
  });
  queue.addOperations({}, true);
  EXPECT_EQ(queue.operationCount(), 0U);
  for (int round = 1; round <= 2; ++round) {
    SCOPED_TRACE(round);
    queue.setSuspended(true);
    Operations operations;
    for (int i = 0; i < 5; ++i) {
      operations.push_back(std::make_shared<BlockOperation>([&] { ++runs; }));
    }
    queue.addOperations(operations, false);
    queue.addOperation(operations[0]);  // again
    queue.addOperationWithBlock([&] { ++runs; });
    EXPECT_EQ(queue.operationCount(), 7U);  // one is the queue's own
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(calls, round - 1);  // not before the main queue is served
    EXPECT_TRUE(turnUntil([&] { return calls == round; }));
    EXPECT_EQ(runs, round * 6);
  }
  drainMainQueue();
  EXPECT_EQ(calls, 2);
}

TEST(CompletionOperationQueue, TakesTheHandlerOfTheMomentWhenAllIsDone) {
  CompletionOperationQueue queue;
  queue.addOperations({std::make_shared<BlockOperation>([] {})}, true);
  queue.waitUntilAllOperationsAreFinished();  // without any handler
  std::string called;
  queue.setCompletionHandler([&] { called += "old "; });
  queue.addOperationWithBlock(
      [&] { queue.setCompletionHandler([&] { called += "new "; }); });
  queue.waitUntilAllOperationsAreFinished();
  queue.setCompletionHandler(nullptr);
  drainMainQueue();
  EXPECT_EQ(called, "new ");
}

TEST(CompletionOperationQueue,
     CallsItsHandlerThoughAllIsCancelledAndItHasGone) {
  int calls = 0, runs = 0;
  {
    CompletionOperationQueue queue;
    queue.setCompletionHandler([&] { ++calls; });
    queue.setSuspended(true);
    for (int i = 0; i < 3; ++i) queue.addOperationWithBlock([&] { ++runs; });
    const Operations all = queue.operations();
    ASSERT_EQ(all.size(), 4U);
    const auto own = all.front();
    own->cancel();
    EXPECT_FALSE(own->isCancelled());
    for (std::size_t i = 1; i < all.size(); ++i) {
      EXPECT_TRUE(all[i]->isCancelled()) << i;
    }
    queue.cancelAllOperations();
    EXPECT_FALSE(own->isCancelled());
    queue.setSuspended(false);
  }
  EXPECT_TRUE(turnUntil([&] { return calls == 1; }));
  EXPECT_EQ(runs, 0);
}

TEST(CompletionOperationQueue, NeverCallsItsHandlerBeforeAllHasFinished) {
  CompletionOperationQueue queue;
  int calls = 0;
  queue.setCompletionHandler([&] { ++calls; });
  const auto open = std::make_shared<Download>();
  queue.addOperation(open);
  EXPECT_TRUE(turnUntil([&] { return open->hasBegun(); }));
  queue.addOperations({std::make_shared<BlockOperation>([] {})}, true);
  drainMainQueue();
  EXPECT_EQ(calls, 0);
  const auto ender = open->endElsewhere();
  EXPECT_TRUE(turnUntil([&] { return calls == 1; }));
}

// Several threads add while others' operations finish. Each handler call stands
// for a time at which the queue was done; none may be missing at the end, and
// while one operation stays open there must be none.
TEST(CompletionOperationQueue, CallsExactlyAsStatedUnderStress) {
  constexpr int kThreads = 4, kRounds = 300;
  CompletionOperationQueue queue;
  std::atomic<int> runs = 0;
  int calls = 0, runsAtLastCall = 0;
  queue.setCompletionHandler([&] {
    ++calls;
    runsAtLastCall = runs;
  });
  const auto addFromAllThreads = [&] {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < kRounds; ++i) {
          queue.addOperationWithBlock([&] { ++runs; });
        }
      });
    }
  };
  const auto open = std::make_shared<Download>();
  queue.addOperation(open);
  addFromAllThreads();
  // The open one and the queue's own are left.
  EXPECT_TRUE(turnUntil(
      [&] { return open->hasBegun() && queue.operationCount() == 2; }));
  EXPECT_EQ(runs, kThreads * kRounds);
  drainMainQueue();
  EXPECT_EQ(calls, 0);
  const auto ender = open->endElsewhere();
  EXPECT_TRUE(turnUntil([&] { return calls == 1; }));

  addFromAllThreads();
  queue.waitUntilAllOperationsAreFinished();
  drainMainQueue();
  EXPECT_EQ(runsAtLastCall, 2 * kThreads * kRounds);
  EXPECT_GE(calls, 2);
  EXPECT_LE(calls, 1 + kThreads * kRounds);
}

}  // namespace
}  // namespace quillhaven::concurrency
