// The main thread and the main queue: work that must run where the host's own
// loop turns.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_MAIN_QUEUE_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_MAIN_QUEUE_H_

#include <chrono>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace quillhaven::platform {

// Makes the calling thread the main one from now on. For a host whose loop
// turns on another thread than the process's first, which is the main thread
// until somebody adopts. To be called before other threads use the library.
void adoptMainThread();

// True on the main thread. Thread-safe.
[[nodiscard]] bool isMainThread();

// Appends `work` to the main queue. It runs on the main thread when a loop
// turns there: a GLib, GTK or Qt host's own, nested and modal ones included, or
// RunLoop::main(). Work runs one after the other in the order of the calls, and
// never within the call, also on the main thread; while a piece of work turns a
// loop itself, the next ones are served in there. `work` must not throw: an
// exception that leaves it is a fatal error. Thread-safe.
void mainQueueAsync(std::function<void()> work);

// Like mainQueueAsync(), but not before `delay` has passed.
void mainQueueAfter(std::chrono::nanoseconds delay, std::function<void()> work);

namespace internal {

// Calls `work(context)` on the main thread and returns when that has returned;
// what it throws leaves this call.
void runOnMainThread(void (*work)(void* context), void* context);

}  // namespace internal

// Runs `work` on the main thread and returns what it returned, or throws what
// it threw. On the main thread, or within work of the main queue, it runs in
// place; else it takes its turn in the main queue and the caller sleeps, which
// is for ever when the main thread turns no loop or waits for the caller.
// Thread-safe.
template <std::invocable Work>
std::invoke_result_t<Work> mainQueueSync(Work&& work) {
  using Result = std::invoke_result_t<Work>;
  using Callable = std::remove_reference_t<Work>;
  if constexpr (std::is_void_v<Result>) {
    internal::runOnMainThread(
        [](void* context) {
          std::invoke(std::forward<Work>(*static_cast<Callable*>(context)));
        },
        const_cast<void*>(static_cast<const void*>(std::addressof(work))));
  } else if constexpr (std::is_reference_v<Result>) {
    return *mainQueueSync(
        [&work] { return std::addressof(std::invoke(work)); });
  } else {
    std::optional<Result> result;
    mainQueueSync(
        [&] { result.emplace(std::invoke(std::forward<Work>(work))); });
    return std::move(*result);
  }
}

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_MAIN_QUEUE_H_
