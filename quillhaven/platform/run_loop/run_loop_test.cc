#include "quillhaven/platform/run_loop/run_loop.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/platform/run_loop/main_queue.h"

namespace quillhaven::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kDeadline = 30s;

// POLLIN and its like are part of the interface.
static_assert(static_cast<int>(FileEvents::kReadable) == POLLIN);
static_assert(static_cast<int>(FileEvents::kWritable) == POLLOUT);
static_assert(static_cast<int>(FileEvents::kError) == POLLERR);
static_assert(static_cast<int>(FileEvents::kHangUp) == POLLHUP);

// Two connected descriptors, closed at the end.
class Pipe {
 public:
  Pipe() { EXPECT_EQ(::pipe(ends_.data()), 0); }
  ~Pipe() {
    ::close(ends_[0]);
    closeWriting();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  [[nodiscard]] int reading() const { return ends_[0]; }
  void write(const std::string& bytes) {
    EXPECT_EQ(::write(ends_[1], bytes.data(), bytes.size()),
              static_cast<ssize_t>(bytes.size()));
  }
  std::string read() {
    std::array<char, 64> bytes;
    const ssize_t count = ::read(ends_[0], bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(count < 0 ? 0 : count)};
  }
  void closeWriting() {
    if (ends_[1] >= 0) ::close(ends_[1]);
    ends_[1] = -1;
  }

 private:
  std::array<int, 2> ends_{};
};

// Calls `test` on the main thread and on another one.
template <typename Test>
void onEachKindOfThread(const Test& test) {
  {
    SCOPED_TRACE("main thread");
    test();
  }
  SCOPED_TRACE("other thread");
  std::thread(test).join();
}

TEST(RunLoop, BelongsToItsThread) {
  EXPECT_EQ(RunLoop::current(), RunLoop::main());
  std::thread([] {
    EXPECT_EQ(g_main_context_get_thread_default(), nullptr);
    const RunLoop own = RunLoop::current();
    EXPECT_NE(own, RunLoop::main());
    EXPECT_EQ(own, RunLoop::current());
    EXPECT_NE(g_main_context_get_thread_default(), nullptr);
    std::thread([&] { EXPECT_NE(own, RunLoop::current()); }).join();
  }).join();
}

TEST(RunLoop, ServesItsOwnSourcesAloneWhenPrivate) {
  const RunLoop common = RunLoop::current();
  const RunLoop loop = RunLoop::makePrivate();
  EXPECT_EQ(RunLoop::current(), common);
  std::string served;
  const auto timer = common.startTimer(0ms, [&served] { served += "common "; });
  common.perform([&served] { served += "common "; });
  std::thread([loop, &served] {
    loop.perform([&served] { served += "own "; });
  }).join();
  EXPECT_TRUE(loop.runOnce(kDeadline));
  EXPECT_FALSE(loop.runOnce(10ms));
  EXPECT_EQ(served, "own ");
  EXPECT_TRUE(common.runUntil(
      [&served] { return served == "own common common "; }, kDeadline));
}

TEST(RunOnce, IsRefusedOnAnotherThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto turnElsewhere = [] {
    const RunLoop loop = RunLoop::main();
    std::thread([&] { loop.runOnce(0s); }).join();
  };
  EXPECT_DEATH(turnElsewhere(), "a run loop turns on its own thread alone");
}

TEST(RunLoop, UsesTheContextThatItsHostGaveTheThread) {
  std::thread([] {
    GMainContext* const context = g_main_context_new();
    g_main_context_push_thread_default(context);
    bool isDone = false;
    RunLoop::current().perform([&] { isDone = true; });
    g_main_context_iteration(context, FALSE);
    EXPECT_TRUE(isDone);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
  }).join();
}

TEST(RunOnce, SleepsNoLongerThanItsLimit) {
  onEachKindOfThread([] {
    const RunLoop loop = RunLoop::current();
    while (loop.runOnce(0s)) {
    }
    EXPECT_FALSE(loop.runOnce(-1s));
    const auto start = steady_clock::now();
    EXPECT_FALSE(loop.runOnce(50ms));
    EXPECT_GE(steady_clock::now() - start, 50ms);
    EXPECT_LT(steady_clock::now() - start, kDeadline);
  });
}

TEST(RunOnce, ReturnsWhenASourceWasServed) {
  onEachKindOfThread([] {
    const RunLoop loop = RunLoop::current();
    int fired = 0;
    const auto timer = loop.startTimer(1ms, [&] { ++fired; });
    EXPECT_TRUE(loop.runUntil([&] { return fired == 1; }, kDeadline));
    EXPECT_FALSE(timer.isValid());
    loop.perform([&] { ++fired; });
    EXPECT_TRUE(loop.runOnce(std::chrono::nanoseconds::max()));
    EXPECT_EQ(fired, 2);
    EXPECT_FALSE(loop.runOnce(0s));
  });
}

TEST(RunUntil, IsWokenByOtherThreads) {
  onEachKindOfThread([] {
    const RunLoop loop = RunLoop::current();
    std::atomic<bool> isDone = false;
    std::jthread thread([&] {
      std::atomic<bool> hasRun = false;
      loop.perform([&] {
        hasRun = true;
        hasRun.notify_one();
      });
      hasRun.wait(false);
      isDone = true;
      loop.wakeUp();
    });
    EXPECT_TRUE(loop.runUntil([&] { return isDone.load(); }));
  });
}

TEST(RunUntil, EndsAtItsLimitThoughSourcesKeepItBusy) {
  const RunLoop loop = RunLoop::current();
  const auto timer = loop.startTimer(
      0s, [] {}, 1ms);
  const auto start = steady_clock::now();
  EXPECT_FALSE(loop.runUntil([] { return false; }, 30ms));
  EXPECT_GE(steady_clock::now() - start, 30ms);
}

TEST(Perform, NeverRunsOnceTheThreadHasEnded) {
  auto captured = std::make_shared<int>();
  std::optional<RunLoop> loop;
  std::optional<RunLoopSource> timer;
  std::thread([&] {
    loop = RunLoop::current();
    timer = loop->startTimer(0s, [captured] { ++*captured; });
  }).join();
  loop->perform([captured] { ++*captured; });
  EXPECT_EQ(captured.use_count(), 3);
  timer.reset();
  loop.reset();
  EXPECT_EQ(captured.use_count(), 1);
  EXPECT_EQ(*captured, 0);
}

TEST(Timer, KeepsItsBeatUntilItsHandleGoes) {
  onEachKindOfThread([] {
    const RunLoop loop = RunLoop::current();
    const auto start = steady_clock::now();
    int fired = 0;
    std::optional<RunLoopSource> timer;
    timer = loop.startTimer(
        10ms,
        [&] {
          if (++fired == 3) timer.reset();
        },
        5ms);
    EXPECT_TRUE(timer->isValid());
    EXPECT_TRUE(loop.runUntil([&] { return fired == 3; }, kDeadline));
    EXPECT_GE(steady_clock::now() - start, 20ms);
    EXPECT_FALSE(loop.runUntil([&] { return fired > 3; }, 20ms));
  });
}

TEST(Timer, AssigningToItsHandleDisarmsIt) {
  const RunLoop loop = RunLoop::current();
  std::string fired;
  RunLoopSource timer = loop.startTimer(0s, [&] { fired += "first"; });
  timer = loop.startTimer(1ms, [&] { fired += "second"; });
  RunLoopSource moved = std::move(timer);
  EXPECT_TRUE(loop.runUntil([&] { return !moved.isValid(); }, kDeadline));
  EXPECT_EQ(fired, "second");
}

TEST(Timer, IsDisarmedFromAnotherThread) {
  const RunLoop loop = RunLoop::current();
  int fired = 0;
  RunLoopSource timer = loop.startTimer(
      0s, [&] { ++fired; }, 1ms);
  EXPECT_TRUE(loop.runUntil([&] { return fired > 2; }, kDeadline));
  std::thread([&] { timer.invalidate(); }).join();
  const int last = fired;
  EXPECT_FALSE(loop.runUntil([&] { return fired > last; }, 20ms));
}

TEST(Watch, ReportsBytesAndTheEndUntilItsHandleGoes) {
  onEachKindOfThread([] {
    const RunLoop loop = RunLoop::current();
    Pipe pipe;
    std::string bytes;
    bool isClosed = false;
    std::optional<RunLoopSource> source = loop.watch(
        pipe.reading(), FileEvents::kReadable, [&](FileEvents events) {
          if (hasAny(events, FileEvents::kReadable)) bytes += pipe.read();
          if (hasAny(events, FileEvents::kHangUp)) isClosed = true;
        });
    EXPECT_FALSE(loop.runOnce(0s));
    pipe.write("ab");
    EXPECT_TRUE(loop.runUntil([&] { return bytes == "ab"; }, kDeadline));
    EXPECT_FALSE(isClosed);
    pipe.write("c");
    pipe.closeWriting();
    EXPECT_TRUE(loop.runUntil([&] { return isClosed; }, kDeadline));
    EXPECT_EQ(bytes, "abc");
    source.reset();
    EXPECT_FALSE(loop.runOnce(0s));
  });
}

TEST(RunLoop, IsServedByTheOwnLoopOfAGLibHost) {
  GMainLoop* const host = g_main_loop_new(nullptr, FALSE);
  Pipe pipe;
  std::string order;
  int served = 0;
  const auto done = [&](const char* what) {
    order += what;
    if (++served == 3) g_main_loop_quit(host);
  };
  const RunLoop loop = RunLoop::main();
  const auto timer = loop.startTimer(20ms, [&] { done("timer "); });
  const auto source =
      loop.watch(pipe.reading(), FileEvents::kReadable, [&](FileEvents) {
        pipe.read();
        done("bytes ");
      });
  std::jthread thread([&] {
    mainQueueSync([&] { done("hop "); });
    pipe.write("x");
  });
  g_main_loop_run(host);
  g_main_loop_unref(host);
  EXPECT_EQ(served, 3) << order;
}

}  // namespace
}  // namespace quillhaven::platform
