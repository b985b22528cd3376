#include "quillhaven/platform/run_loop/internal/worker_pool.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/run_loop/internal/work_queue.h"

namespace quillhaven::platform::internal {
namespace {

// How often the supervisor looks while tasks wait. Work that sleeps for less
// between two looks keeps its core.
constexpr auto kTick = std::chrono::milliseconds(5);
// How long a thread in excess stays with nothing to do.
constexpr auto kExcessLife = std::chrono::seconds(5);

// Starts a thread that takes none of the host's signals.
template <typename Work>
void startThread(const char* name, Work work) {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    std::thread thread(std::move(work));
    pthread_setname_np(thread.native_handle(), name);
    thread.detach();
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// True when the kernel says that the thread sleeps. One that has ended, or
// cannot be looked at, does not.
bool isAsleep(int threadID) {
  const std::string path =
      "/proc/self/task/" + std::to_string(threadID) + "/stat";
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  std::array<char, 256> bytes;
  const ssize_t count = ::read(file, bytes.data(), bytes.size());
  ::close(file);
  const std::string_view stat(
      bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  const std::size_t nameEnd = stat.rfind(')');
  if (nameEnd == std::string_view::npos || nameEnd + 2 >= stat.size()) {
    return false;
  }
  const char state = stat[nameEnd + 2];
  return state == 'S' || state == 'D';
}

}  // namespace

thread_local WorkerPool::Worker* WorkerPool::current = nullptr;

WorkerPool& WorkerPool::shared() {
  // Its threads go on while the process ends.
  static WorkerPool& pool = *std::make_unique<WorkerPool>().release();
  return pool;
}

WorkerPool::WorkerPool()
    : target_(std::max<std::size_t>(2, std::thread::hardware_concurrency())) {}

void WorkerPool::run(std::function<void()> task) {
  const std::lock_guard guard(lock_);
  tasks_.push_back(std::move(task));
  if (tasks_.size() <= idle_) {
    taskCame_.notify_one();
  } else {
    addThreadIfTasksWait();
  }
}

void WorkerPool::addThreadIfTasksWait() {
  if (tasks_.size() <= idle_) return;
  if (workers_.size() - sleeping_ < target_) {
    addThread();
  } else if (!isSupervising_) {
    wakeSupervisor();
  }
}

void WorkerPool::wakeSupervisor() {
  isSupervising_ = true;
  if (isSupervised_) {
    tasksWait_.notify_one();
    return;
  }
  try {
    startThread("quillhaven-pool", [this] { supervise(); });
    isSupervised_ = true;
  } catch (const std::system_error&) {
    isSupervising_ = false;  // the next task tries again
  }
}

void WorkerPool::addThread() {
  if (workers_.size() >= kMaximumThreads) return;
  const auto worker = workers_.emplace(workers_.end());
  try {
    startThread("quillhaven-work", [this, worker] { serve(worker); });
  } catch (const std::system_error& error) {
    workers_.erase(worker);
    if (workers_.empty()) {
      fatalError(std::string("operations have no thread: ") + error.what());
    }
  }
}

void WorkerPool::serve(std::list<Worker>::iterator worker) {
  std::unique_lock guard(lock_);
  worker->threadID = ::gettid();
  current = &*worker;
  while (waitForTask(guard)) {
    {
      const std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      guard.unlock();
      noteProgress();
      callGuarded(task, "an operation");
    }
    guard.lock();
  }
  workers_.erase(worker);
}

// Returns whether there is a task; if not, the thread ends.
bool WorkerPool::waitForTask(std::unique_lock<std::mutex>& guard) {
  while (tasks_.empty()) {
    const auto isInExcess = [this] {
      return workers_.size() - sleeping_ > target_;
    };
    ++idle_;
    current->isIdle = true;
    bool hasWaited = false;
    if (isInExcess()) {
      hasWaited =
          taskCame_.wait_for(guard, kExcessLife) == std::cv_status::timeout;
    } else {
      taskCame_.wait(guard);
    }
    current->isIdle = false;
    --idle_;
    if (hasWaited && tasks_.empty() && isInExcess()) return false;
  }
  return true;
}

// Looks after tasks that wait: a thread that has neither got on nor been awake
// since the last look is stuck, and is made up for.
void WorkerPool::supervise() {
  std::unique_lock guard(lock_);
  while (true) {
    tasksWait_.wait_for(guard, kTick, [] { return false; });
    if (tasks_.size() <= idle_) {
      isSupervising_ = false;
      tasksWait_.wait(guard, [this] { return isSupervising_; });
      continue;
    }
    const std::size_t stuck = countStuck(guard);
    const std::size_t awake = workers_.size() - sleeping_ - idle_;
    const std::size_t busy = awake > stuck ? awake - stuck : 0;
    if (tasks_.size() <= idle_ || busy >= target_) continue;
    const std::size_t missing = std::min(target_ - busy, tasks_.size() - idle_);
    for (std::size_t i = 0; i < missing; ++i) addThread();
  }
}

// Looks at the kernel's table with the lock released.
std::size_t WorkerPool::countStuck(std::unique_lock<std::mutex>& guard) {
  std::vector<int> suspects;
  for (Worker& worker : workers_) {
    const std::uint64_t steps = worker.steps.load(std::memory_order_relaxed);
    const bool hasGotOn = steps != std::exchange(worker.lastSteps, steps);
    if (!hasGotOn && !worker.isIdle && worker.sleeps == 0) {
      suspects.push_back(worker.threadID);
    }
  }
  guard.unlock();
  const auto stuck = std::count_if(suspects.begin(), suspects.end(), isAsleep);
  guard.lock();
  return static_cast<std::size_t>(stuck);
}

void WorkerPool::noteProgress() {
  if (current == nullptr) return;
  // Written by this thread alone.
  const std::uint64_t steps = current->steps.load(std::memory_order_relaxed);
  current->steps.store(steps + 1, std::memory_order_relaxed);
}

WorkerPool::Sleep::Sleep() {
  if (current == nullptr) return;
  WorkerPool& pool = shared();
  const std::lock_guard guard(pool.lock_);
  if (current->sleeps++ > 0) return;
  ++pool.sleeping_;
  pool.addThreadIfTasksWait();
}

WorkerPool::Sleep::~Sleep() {
  if (current == nullptr) return;
  WorkerPool& pool = shared();
  const std::lock_guard guard(pool.lock_);
  if (--current->sleeps == 0) --pool.sleeping_;
}

std::size_t WorkerPool::threadCount() {
  const std::lock_guard guard(lock_);
  return workers_.size();
}

}  // namespace quillhaven::platform::internal
