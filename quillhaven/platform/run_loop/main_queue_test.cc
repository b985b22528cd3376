#include "quillhaven/platform/run_loop/main_queue.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace quillhaven::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Turns the default context, as a GLib host's own loop does, until `isDone`.
template <typename Condition>
bool turnUntil(const Condition& isDone) {
  const auto wake = [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; };
  const guint ticks = g_timeout_add(20, wake, nullptr);
  const auto deadline = steady_clock::now() + std::chrono::seconds(30);
  while (!isDone() && steady_clock::now() < deadline) {
    g_main_context_iteration(nullptr, TRUE);
  }
  g_source_remove(ticks);
  return isDone();
}

TEST(MainQueueAsync, RunsWorkOfAllThreadsInTheirOrderOnTheMainThread) {
  constexpr int kThreads = 4, kItems = 500;
  std::vector<std::vector<int>> seen(kThreads);
  int count = 0;  // touched on the main thread alone
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &seen, &count] {
      EXPECT_FALSE(isMainThread());
      for (int i = 0; i < kItems; ++i) {
        mainQueueAsync([t, i, &seen, &count] {
          EXPECT_TRUE(isMainThread());
          seen[static_cast<std::size_t>(t)].push_back(i);
          ++count;
        });
      }
    });
  }
  ASSERT_TRUE(turnUntil([&] { return count == kThreads * kItems; }));
  for (const auto& items : seen) {
    for (int i = 0; i < kItems; ++i) {
      ASSERT_EQ(items[static_cast<std::size_t>(i)], i);
    }
  }
}

TEST(MainQueueAsync, NeverRunsWithinTheCall) {
  std::string order;
  bool isDone = false;
  mainQueueAsync([&] {
    mainQueueAsync([&] {
      order += "inner";
      isDone = true;
    });
    order += "outer ";
  });
  order += "caller ";
  ASSERT_TRUE(turnUntil([&] { return isDone; }));
  EXPECT_EQ(order, "caller outer inner");
}

TEST(MainQueueAsync, WorkThatPostsItselfLeavesOtherSourcesTheirTurn) {
  bool hasFired = false;
  const auto fire = [](gpointer flag) -> gboolean {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_REMOVE;
  };
  g_timeout_add(1, fire, &hasFired);
  bool isDone = false;
  std::function<void()> again = [&] {
    if (hasFired) {
      isDone = true;
    } else {
      mainQueueAsync(again);
    }
  };
  mainQueueAsync(again);
  EXPECT_TRUE(turnUntil([&] { return isDone; }));
}

TEST(MainQueueAsync, ALoopWithinAPieceOfWorkServesTheNextOnes) {
  std::string order;
  bool isDone = false;
  mainQueueAsync([&] {
    order += "(";
    turnUntil([&] { return order == "(inner"; });
    order += ")";
  });
  mainQueueAsync([&] { order += "inner"; });
  mainQueueAsync([&] { isDone = true; });
  ASSERT_TRUE(turnUntil([&] { return isDone && order.ends_with(')'); }));
  EXPECT_EQ(order, "(inner)");
}

TEST(MainQueueAsync, AnExceptionThatLeavesWorkIsAFatalError) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        mainQueueAsync([] { throw std::runtime_error("lost"); });
        turnUntil([] { return false; });
      },
      "Fatal error: an exception left work of a run loop: lost");
}

TEST(MainQueueAfter, RunsNoEarlierThanAsked) {
  const auto start = steady_clock::now();
  std::vector<int> order;
  mainQueueAfter(milliseconds(30), [&] { order.push_back(2); });
  mainQueueAfter(milliseconds(5), [&] { order.push_back(1); });
  mainQueueAfter(milliseconds(-5), [&] { order.push_back(0); });
  mainQueueAfter(std::chrono::nanoseconds::max(), [&] { order.push_back(3); });
  ASSERT_TRUE(turnUntil([&] { return order.size() == 3; }));
  EXPECT_GE(steady_clock::now() - start, milliseconds(30));
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
}

TEST(MainQueueSync, BringsBackResultsAndExceptions) {
  std::atomic<bool> isDone = false;
  std::string here = "here";
  const std::jthread thread([&] {
    EXPECT_EQ(mainQueueSync([] { return isMainThread(); }), true);
    auto owned = mainQueueSync([] { return std::make_unique<int>(7); });
    EXPECT_EQ(*owned, 7);
    std::string& same = mainQueueSync([&]() -> std::string& { return here; });
    EXPECT_EQ(&same, &here);
    EXPECT_THROW(mainQueueSync([] { throw std::out_of_range("far"); }),
                 std::out_of_range);
    // Work that can be called once only, and as an rvalue.
    const auto moved = mainQueueSync(
        [pointer = std::move(owned)]() mutable { return std::move(pointer); });
    EXPECT_EQ(*moved, 7);
    isDone = true;
  });
  EXPECT_TRUE(turnUntil([&] { return isDone.load(); }));
}

TEST(MainQueueSync, RunsInPlaceOnTheMainThread) {
  int runs = 0;
  mainQueueSync([&] { mainQueueSync([&] { ++runs; }); });
  EXPECT_EQ(runs, 1);  // no loop has turned
}

// A thread that turns the default context would wait for itself.
TEST(MainQueueSync, RunsInPlaceWhereTheMainQueueIsServed) {
  std::thread([] {
    bool isDone = false;
    mainQueueAsync([&] { isDone = mainQueueSync([] { return true; }); });
    EXPECT_TRUE(turnUntil([&] { return isDone; }));
  }).join();
}

TEST(MainThread, IsTheLastThatAdopted) {
  std::thread([] {
    EXPECT_FALSE(isMainThread());
    adoptMainThread();
    EXPECT_TRUE(isMainThread());
    EXPECT_EQ(mainQueueSync([] { return 1; }), 1);
    EXPECT_FALSE([] {
      bool isMain = true;
      std::thread([&] { isMain = isMainThread(); }).join();
      return isMain;
    }());
  }).join();
  EXPECT_FALSE(isMainThread());
  adoptMainThread();
  EXPECT_TRUE(isMainThread());
}

}  // namespace
}  // namespace quillhaven::platform
