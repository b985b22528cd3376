// The unfair lock beside the standard library's, and a completion queue.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
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

}  // namespace
}  // namespace quillhaven::concurrency
