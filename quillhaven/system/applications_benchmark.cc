// Many processes that end at once, beside the bare calls of the system and the
// watch that GLib has for children.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/run_loop/run_loop.h"
#include "quillhaven/system/termination_observer.h"

namespace quillhaven::system {
namespace {

using platform::UniqueFd;

void require(bool condition) {
  if (!condition) std::abort();
}

// Processes that wait for each other to end.
class Crowd {
 public:
  explicit Crowd(std::size_t count) {
    rlimit limit;
    require(::getrlimit(RLIMIT_NOFILE, &limit) == 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    require(::setrlimit(RLIMIT_NOFILE, &limit) == 0);
    int ends[2];
    require(::pipe(ends) == 0);
    gate_.reset(ends[1]);
    const UniqueFd reader(ends[0]);
    for (std::size_t i = 0; i < count; ++i) {
      const pid_t pid = ::fork();
      require(pid >= 0);
      if (pid == 0) {
        gate_.reset();
        char byte;
        ::_exit(static_cast<int>(::read(reader.get(), &byte, 1)));
      }
      pids_.push_back(pid);
    }
  }

  [[nodiscard]] const std::vector<pid_t>& pids() const { return pids_; }

  // Ends them and waits until all have, so that only the telling is measured.
  void end() {
    gate_.reset();
    for (const pid_t pid : pids_) {
      siginfo_t info;
      require(::waitid(P_PID, static_cast<id_t>(pid), &info,
                       WEXITED | WNOWAIT) == 0);
    }
  }
  void reap() const {
    for (const pid_t pid : pids_) ::waitpid(pid, nullptr, 0);
  }

 private:
  UniqueFd gate_;
  std::vector<pid_t> pids_;
};

void BM_ObservedExits(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    Crowd crowd(count);
    state.ResumeTiming();
    std::size_t told = 0;
    std::vector<std::shared_ptr<KEventTerminationObserver>> observers;
    for (const pid_t pid : crowd.pids()) {
      observers.push_back(KEventTerminationObserver::observe(
          pid, [&told](const auto&) { ++told; }));
    }
    state.PauseTiming();
    crowd.end();
    state.ResumeTiming();
    platform::RunLoop::main().runUntil([&] { return told == count; });
    state.PauseTiming();
    observers.clear();
    crowd.reap();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ObservedExits)->Arg(100)->Arg(1000)->UseRealTime();

// The limit: one descriptor each and one call that looks at all of them.
void BM_BarePoll(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    Crowd crowd(count);
    state.ResumeTiming();
    std::vector<pollfd> processes;
    for (const pid_t pid : crowd.pids()) {
      processes.push_back(
          {static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)), POLLIN, 0});
    }
    state.PauseTiming();
    crowd.end();
    state.ResumeTiming();
    require(::poll(processes.data(), processes.size(), -1) ==
            static_cast<int>(count));
    for (const pollfd& process : processes) ::close(process.fd);
    state.PauseTiming();
    crowd.reap();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_BarePoll)->Arg(100)->Arg(1000)->UseRealTime();

// For children alone, and it takes their status.
void BM_GLibChildWatch(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    Crowd crowd(count);
    state.ResumeTiming();
    std::size_t told = 0;
    for (const pid_t pid : crowd.pids()) {
      ::g_child_watch_add(
          pid,
          [](GPid, gint, gpointer at) { ++*static_cast<std::size_t*>(at); },
          &told);
    }
    state.PauseTiming();
    crowd.end();
    state.ResumeTiming();
    while (told < count) ::g_main_context_iteration(nullptr, TRUE);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_GLibChildWatch)->Arg(100)->Arg(1000)->UseRealTime();

}  // namespace
}  // namespace quillhaven::system
