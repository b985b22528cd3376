// Operations beside bare tasks of another library's thread pool.
#include <benchmark/benchmark.h>

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <cstdint>
#include <latch>
#include <memory>
#include <vector>

#include "quillhaven/platform/run_loop/operation.h"

namespace quillhaven::platform {
namespace {

constexpr std::size_t kWorkers = 2;

// Range: operations in the queue before it is waited for.
void BM_OperationsThroughAQueue(benchmark::State& state) {
  std::atomic<std::int64_t> runs = 0;
  for (auto _ : state) {
    OperationQueue queue;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      queue.addOperationWithBlock(
          [&runs] { runs.fetch_add(1, std::memory_order_relaxed); });
    }
    queue.waitUntilAllOperationsAreFinished();
  }
  if (runs != state.iterations() * state.range(0)) {
    state.SkipWithError("operations were lost");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_OperationsThroughAQueue)->Range(1000, 100'000)->UseRealTime();

void BM_AsioTasks(benchmark::State& state) {
  std::atomic<std::int64_t> runs = 0;
  boost::asio::thread_pool pool(kWorkers);
  for (auto _ : state) {
    std::latch done(state.range(0));
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      boost::asio::post(pool, [&runs, &done] {
        runs.fetch_add(1, std::memory_order_relaxed);
        done.count_down();
      });
    }
    done.wait();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_AsioTasks)->Range(1000, 100'000)->UseRealTime();

void BM_OperationThereAndBack(benchmark::State& state) {
  OperationQueue queue;
  for (auto _ : state) {
    queue.addOperations({std::make_shared<BlockOperation>([] {})}, true);
  }
}
BENCHMARK(BM_OperationThereAndBack)->UseRealTime();

void BM_AsioTaskThereAndBack(benchmark::State& state) {
  boost::asio::thread_pool pool(kWorkers);
  for (auto _ : state) {
    std::latch done(1);
    boost::asio::post(pool, [&done] { done.count_down(); });
    done.wait();
  }
}
BENCHMARK(BM_AsioTaskThereAndBack)->UseRealTime();

void BM_OperationsOneAtATime(benchmark::State& state) {
  for (auto _ : state) {
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      queue.addOperationWithBlock([] {});
    }
    queue.waitUntilAllOperationsAreFinished();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_OperationsOneAtATime)->Arg(10'000)->UseRealTime();

// Each operation waits for the one before it.
void BM_ChainOfOperations(benchmark::State& state) {
  for (auto _ : state) {
    OperationQueue queue;
    std::shared_ptr<Operation> last;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      auto next = std::make_shared<BlockOperation>([] {});
      if (last) next->addDependency(last);
      queue.addOperation(next);
      last = std::move(next);
    }
    queue.waitUntilAllOperationsAreFinished();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ChainOfOperations)->Arg(10'000)->UseRealTime();

}  // namespace
}  // namespace quillhaven::platform
