// A Qt host without windows: its loop serves the library's main queue.
#include "quillhaven/ui/event_loop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/concurrency/completion_operation_queue.h"
#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/run_loop/main_queue.h"
#include "quillhaven/platform/run_loop/operation.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::ui {
namespace {

using namespace std::chrono_literals;

// Turns Qt's main loop until `quit` is called, ten seconds at most; returns
// whether it was.
class HostLoop {
 public:
  bool exec() {
    QTimer::singleShot(10s, &context_, [] { QCoreApplication::exit(1); });
    return QCoreApplication::exec() == 0;
  }

 private:
  QObject context_;  // ends the timer
};

TEST(QtHost, IsKnownToServeTheMainQueue) {
  EXPECT_TRUE(eventLoopServesMainQueue());
}

TEST(QtHost, RunsItemsOfOtherThreadsInTheirOrder) {
  std::vector<int> seen;
  std::jthread worker([&seen] {
    for (int i = 0; i < 100; ++i) {
      platform::mainQueueAsync([&seen, i] {
        EXPECT_TRUE(platform::isMainThread());
        seen.push_back(i);
      });
    }
    // Sleeps until the main thread has run it.
    EXPECT_EQ(platform::mainQueueSync([&seen] { return seen.size(); }), 100u);
    platform::mainQueueAsync([] { QCoreApplication::quit(); });
  });
  EXPECT_TRUE(HostLoop().exec());
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(seen.at(static_cast<std::size_t>(i)), i);
  }
}

TEST(QtHost, ServesNestedLoopsAndSinglePasses) {
  std::string order;
  platform::mainQueueAsync([&order] {
    order += 'a';
    QEventLoop nested;
    platform::mainQueueAsync([&order, &nested] {
      order += 'b';
      nested.quit();
    });
    nested.exec();
    order += 'c';
    QCoreApplication::quit();
  });
  EXPECT_TRUE(HostLoop().exec());
  EXPECT_EQ(order, "abc");

  platform::mainQueueAsync([&order] { order += 'd'; });
  QCoreApplication::processEvents();
  EXPECT_EQ(order, "abcd");
}

TEST(QtHost, ServesTimersAndDescriptors) {
  const platform::RunLoop loop = platform::RunLoop::main();
  int beats = 0;
  const auto timer = loop.startTimer(
      1ms, [&beats] { ++beats; }, 1ms);
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  std::string received;
  const auto watch =
      loop.watch(ends[0], platform::FileEvents::kReadable, [&](auto) {
        char byte = 0;
        ASSERT_EQ(read(ends[0], &byte, 1), 1);
        received += byte;
      });
  int later = 0;
  platform::mainQueueAfter(5ms, [&later, &beats] { later = beats; });
  QTimer checks;
  QObject::connect(&checks, &QTimer::timeout, [&] {
    if (beats >= 3 && received.empty()) {
      EXPECT_EQ(write(ends[1], "x", 1), 1);
    }
    if (!received.empty() && later > 0) QCoreApplication::quit();
  });
  checks.start(0);
  EXPECT_TRUE(HostLoop().exec());
  EXPECT_GE(beats, 3);
  EXPECT_EQ(received.front(), 'x');
  close(ends[0]);
  close(ends[1]);
}

TEST(QtHost, TakesPartInQtTimersWhileOurLoopTurns) {
  bool hasFired = false;
  QTimer::singleShot(1ms, [&hasFired] { hasFired = true; });
  EXPECT_TRUE(
      platform::RunLoop::main().runUntil([&] { return hasFired; }, 10s));
}

TEST(QtHost, HearsOfFinishedOperationsOnItsThread) {
  concurrency::CompletionOperationQueue queue;
  std::atomic<int> worked = 0;
  bool hasCompleted = false;
  queue.setCompletionHandler([&] {
    EXPECT_TRUE(platform::isMainThread());
    EXPECT_EQ(worked, 20);
    hasCompleted = true;
    QCoreApplication::quit();
  });
  std::vector<std::shared_ptr<platform::Operation>> operations(20);
  for (auto& operation : operations) {
    operation = std::make_shared<platform::BlockOperation>([&worked] {
      EXPECT_FALSE(platform::isMainThread());
      ++worked;
    });
  }
  queue.addOperations(operations, false);
  EXPECT_TRUE(HostLoop().exec());
  EXPECT_TRUE(hasCompleted);
}

TEST(QtHost, IsToldOfWhenItCannotServe) {
  std::string logged;
  const auto earlier =
      platform::setLogSink([&logged](const platform::LogMessage& message) {
        EXPECT_EQ(message.type, platform::LogType::kError);
        logged += message.text;
      });
  qputenv("QT_NO_GLIB", "1");
  bool isServed = true;
  const std::unique_ptr<QThread> thread(
      QThread::create([&isServed] { isServed = eventLoopServesMainQueue(); }));
  thread->start();
  ASSERT_TRUE(thread->wait(10'000));
  qunsetenv("QT_NO_GLIB");
  platform::setLogSink(earlier);
  EXPECT_FALSE(isServed);
  EXPECT_NE(logged.find("QEventDispatcherUNIX"), std::string::npos) << logged;
}

}  // namespace
}  // namespace quillhaven::ui

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
