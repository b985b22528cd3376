// The threads that all operation queues share.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_WORKER_POOL_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_WORKER_POOL_H_

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <mutex>

namespace quillhaven::platform::internal {

// Runs tasks in the order of their coming, each on the next free thread. There
// are as many threads as cores (two at least) that are awake: more are made
// while tasks wait and threads sleep inside theirs, up to a limit, and those in
// excess end when they have nothing to do. The pool lives as long as the
// process; a child that was forked has none. Thread-safe.
class WorkerPool {
 public:
  // Tasks that sleep and wait for tasks behind this many never wake.
  static constexpr std::size_t kMaximumThreads = 512;

  static WorkerPool& shared();

  // For shared(): a pool is never destroyed.
  WorkerPool();

  // `task` must not throw: an exception that leaves it is a fatal error.
  void run(std::function<void()> task);

  // Says that the calling task has got on, if a thread of the pool calls: work
  // that sleeps now and then is no reason for more threads.
  static void noteProgress();

  // While one exists on a thread of the pool, that thread counts as sleeping.
  class Sleep {
   public:
    Sleep();
    ~Sleep();
    Sleep(const Sleep&) = delete;
    Sleep& operator=(const Sleep&) = delete;
  };

  // Threads that are there now. For tests.
  [[nodiscard]] std::size_t threadCount();

 private:
  struct Worker {
    int threadID = 0;  // guarded by lock_, like all but the steps
    std::atomic<std::uint64_t> steps{0};
    std::uint64_t lastSteps = 0;  // what the supervisor saw last
    std::size_t sleeps = 0;
    bool isIdle = false;
  };
  static thread_local Worker* current;

  void addThread();
  void addThreadIfTasksWait();
  void serve(std::list<Worker>::iterator worker);
  bool waitForTask(std::unique_lock<std::mutex>& guard);
  void wakeSupervisor();
  void supervise();
  std::size_t countStuck(std::unique_lock<std::mutex>& guard);

  const std::size_t target_;  // threads awake while there is enough to do
  std::mutex lock_;           // of everything below
  std::condition_variable taskCame_;
  std::condition_variable tasksWait_;  // the supervisor sleeps on it
  std::deque<std::function<void()>> tasks_;
  std::list<Worker> workers_;
  std::size_t idle_ = 0;
  std::size_t sleeping_ = 0;
  bool isSupervised_ = false;   // the supervisor's thread is there
  bool isSupervising_ = false;  // and awake
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_WORKER_POOL_H_
