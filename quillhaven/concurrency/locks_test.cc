#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "quillhaven/concurrency/atomic.h"
#include "quillhaven/concurrency/unfair_lock.h"

namespace quillhaven::concurrency {
namespace {

template <typename Value>
concept CanToggle = requires(Atomic<Value> atomic) {
  atomic.toggle();
};
static_assert(CanToggle<bool> && !CanToggle<int>);
static_assert(!std::is_copy_constructible_v<UnfairLock>);

TEST(UnfairLock, LetsOneThreadInAtATime) {
  constexpr int kThreads = 4, kRounds = 20'000;
  UnfairLock lock;
  int count = 0;  // not atomic: the lock alone keeps it right
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < kRounds; ++i) lock.around([&] { ++count; });
      });
    }
  }
  EXPECT_EQ(lock.around([&] { return count; }), kThreads * kRounds);
}

// Long holds send the others to sleep; each must be woken.
TEST(UnfairLock, WakesThoseWhoSleep) {
  constexpr int kThreads = 8;
  UnfairLock lock;
  std::atomic<int> arrived = 0, through = 0;
  {
    std::vector<std::jthread> threads;
    lock.around([&] {
      for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
          ++arrived;
          lock.around([&] { ++through; });
        });
      }
      while (arrived < kThreads) std::this_thread::yield();
      // Long enough for some to have spun in vain.
      for (int i = 0; i < 2000; ++i) std::this_thread::yield();
      EXPECT_EQ(through, 0);
    });
  }
  EXPECT_EQ(through, kThreads);
}

TEST(UnfairLock, HandsOutWhatTheBodyReturns) {
  UnfairLock lock;
  std::string text = "kept";
  std::string& same = lock.around([&]() -> std::string& { return text; });
  EXPECT_EQ(&same, &text);
  EXPECT_EQ(*lock.around([] { return std::make_unique<int>(3); }), 3);
  EXPECT_THROW(lock.around([] { throw std::runtime_error("out"); }),
               std::runtime_error);
  EXPECT_THROW(lock.around([]() -> int { throw std::runtime_error("out"); }),
               std::runtime_error);
  EXPECT_EQ(lock.around([] { return 1; }), 1);  // was unlocked
}

TEST(UnfairLock, StopsWhoTakesItAgain) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto again = [](bool first) {
    UnfairLock lock;
    // Also when the thread has never used a lock before.
    if (!first) UnfairLock().around([] {});
    std::thread([&] { lock.around([&] { lock.around([] {}); }); }).join();
  };
  EXPECT_DEATH(again(true), "an unfair lock is taken again by its owner");
  EXPECT_DEATH(again(false), "an unfair lock is taken again by its owner");
}

// The id of the parent's thread may be another's in the child.
TEST(UnfairLock, KnowsItsOwnerInAForkedChild) {
  internal::LockWord word(0);
  const auto isOwn = [&] {
    internal::lock(word);
    const bool isRight = word == static_cast<std::uint32_t>(::gettid());
    internal::unlock(word);
    return isRight;
  };
  EXPECT_TRUE(isOwn());
  const pid_t child = ::fork();
  if (child == 0) ::_exit(isOwn() ? 0 : 1);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(isOwn());
}

TEST(Atomic, AdjustsInOneStep) {
  Atomic<int> count(0);
  {
    const auto work = [&] {
      for (int i = 0; i < 1000; ++i) count.adjust([](int n) { return n + 1; });
    };
    const std::jthread one(work), two(work);
  }
  EXPECT_EQ(count.wrappedValue(), 2000);
}

// The change may use the wrapper itself, as it runs outside the lock; what it
// stores meanwhile is lost.
TEST(Atomic, ModifiesInTwoSteps) {
  Atomic<std::string> text("a");
  text.modify([&](std::string& copy) {
    copy += "b";
    EXPECT_EQ(text.wrappedValue(), "a");
    text.setWrappedValue("lost");
  });
  EXPECT_EQ(text.wrappedValue(), "ab");
}

TEST(Atomic, KeepsItsValueWhenABlockThrows) {
  Atomic<std::string> text("kept");
  EXPECT_THROW(text.adjust([](const std::string&) -> std::string {
    throw std::runtime_error("out");
  }),
               std::runtime_error);
  EXPECT_EQ(text.wrappedValue(), "kept");
}

TEST(Atomic, TogglesTwiceToWhereItWas) {
  for (const bool start : {false, true}) {
    Atomic<bool> flag(start);
    flag.toggle();
    EXPECT_EQ(flag.wrappedValue(), !start);
    flag.toggle();
    EXPECT_EQ(flag.wrappedValue(), start);
  }
}

TEST(Atomic, CopiesShareTheLockAndHoldTheirOwnValue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Atomic<int> first(1);
  Atomic<int> second = first;
  second.setWrappedValue(2);
  EXPECT_EQ(first.wrappedValue(), 1);
  EXPECT_DEATH(first.adjust([&](int) { return second.wrappedValue(); }),
               "taken again");
  Atomic<int> other(3);
  first.adjust([&](int) { return other.wrappedValue(); });
  EXPECT_EQ(first.wrappedValue(), 3);
  other = second;
  EXPECT_EQ(other.wrappedValue(), 2);
  EXPECT_DEATH(first.adjust([&](int) { return other.wrappedValue(); }),
               "taken again");
}

// The block replaces the wrapper it works on; its lock must outlive the step.
TEST(Atomic, AdjustOutlivesTheLockOfItsWrapper) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Atomic<std::shared_ptr<int>> value(std::make_shared<int>(1));
  const std::weak_ptr<int> old = value.wrappedValue();
  value.adjust([&](const std::shared_ptr<int>& current) {
    EXPECT_EQ(current.use_count(), 2);
    return std::make_shared<int>(*current + 1);
  });
  EXPECT_TRUE(old.expired());
  EXPECT_EQ(*value.wrappedValue(), 2);
}

}  // namespace
}  // namespace quillhaven::concurrency
