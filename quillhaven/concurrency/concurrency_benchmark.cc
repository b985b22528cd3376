// The unfair lock beside the standard library's, a completion queue, and the
// memory of operations beside that of another library's tasks.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <cstdint>
#include <latch>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "quillhaven/concurrency/atomic.h"
#include "quillhaven/concurrency/completion_operation_queue.h"
#include "quillhaven/concurrency/unfair_lock.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::concurrency {
namespace {

// A mutex with the interface of ours.
class StandardLock {
 public:
  template <typename Body>
  void around(Body&& body) {
    const std::lock_guard guard(lock_);
    body();
  }

 private:
  std::mutex lock_;
};

template <typename Lock>
void BM_Uncontended(benchmark::State& state) {
  Lock lock;
  std::int64_t count = 0;
  for (auto _ : state) {
    lock.around([&] { benchmark::DoNotOptimize(++count); });
  }
}
BENCHMARK(BM_Uncontended<UnfairLock>);
BENCHMARK(BM_Uncontended<StandardLock>);

// Both threads of the benchmark on one lock.
template <typename Lock>
void BM_Contended(benchmark::State& state) {
  static Lock lock;
  static std::int64_t count = 0;
  for (auto _ : state) {
    lock.around([&] { benchmark::DoNotOptimize(++count); });
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Contended<UnfairLock>)->Threads(2)->UseRealTime();
BENCHMARK(BM_Contended<StandardLock>)->Threads(2)->UseRealTime();
BENCHMARK(BM_Contended<UnfairLock>)->Threads(4)->UseRealTime();
BENCHMARK(BM_Contended<StandardLock>)->Threads(4)->UseRealTime();

void BM_AtomicAdjust(benchmark::State& state) {
  Atomic<std::int64_t> value(0);
  for (auto _ : state) {
    value.adjust([](std::int64_t n) { return n + 1; });
  }
  benchmark::DoNotOptimize(value.wrappedValue());
}
BENCHMARK(BM_AtomicAdjust);

// Operations in one completion queue, and the call of its handler.
void BM_CompletionQueue(benchmark::State& state) {
  const auto loop = platform::RunLoop::main();
  for (auto _ : state) {
    bool isDone = false;
    CompletionOperationQueue queue;
    queue.setCompletionHandler([&] { isDone = true; });
    std::vector<std::shared_ptr<platform::Operation>> operations;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      operations.push_back(std::make_shared<platform::BlockOperation>([] {}));
    }
    queue.addOperations(operations, false);
    loop.runUntil([&] { return isDone; });
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_CompletionQueue)
    ->RangeMultiplier(10)
    ->Range(1000, 100'000)
    ->UseRealTime();

std::size_t heapInUse() { return ::mallinfo2().uordblks; }

// What pieces of work take on the heap while they wait. The first measurement
// is made before they are there, and they go on other threads.
class HeapOfWork {
 public:
  void report(benchmark::State& state) const {
    state.counters["bytes_each"] = static_cast<double>(heapInUse() - before_) /
                                   static_cast<double>(state.range(0));
  }
  void waitUntilGone() const {
    constexpr std::size_t kOfThreads = 100'000;
    while (heapInUse() > before_ + kOfThreads) std::this_thread::yield();
  }

 private:
  const std::size_t before_ = heapInUse();
};

template <typename Queue>
void BM_MemoryOfQueuedOperations(benchmark::State& state) {
  std::atomic<std::int64_t> runs = 0;
  for (auto _ : state) {
    Queue queue;
    queue.setSuspended(true);
    const HeapOfWork heap;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      queue.addOperationWithBlock([&runs] { ++runs; });
    }
    heap.report(state);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    heap.waitUntilGone();
  }
}
BENCHMARK(BM_MemoryOfQueuedOperations<platform::OperationQueue>)
    ->RangeMultiplier(10)
    ->Range(1000, 100'000)
    ->UseRealTime();
BENCHMARK(BM_MemoryOfQueuedOperations<CompletionOperationQueue>)
    ->RangeMultiplier(10)
    ->Range(1000, 100'000)
    ->UseRealTime();

// The peer, whose tasks know no state, cancellation or dependencies.
void BM_MemoryOfAsioTasks(benchmark::State& state) {
  std::atomic<std::int64_t> runs = 0;
  for (auto _ : state) {
    boost::asio::thread_pool pool(1);
    std::latch mayStart(1);
    boost::asio::post(pool, [&mayStart] { mayStart.wait(); });
    const HeapOfWork heap;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      boost::asio::post(pool, [&runs] { ++runs; });
    }
    heap.report(state);
    mayStart.count_down();
    pool.join();
    heap.waitUntilGone();
  }
}
BENCHMARK(BM_MemoryOfAsioTasks)
    ->RangeMultiplier(10)
    ->Range(1000, 100'000)
    ->UseRealTime();

}  // namespace
}  // namespace quillhaven::concurrency
