#include "quillhaven/platform/run_loop/run_loop.h"

#include <glib.h>

#include <optional>
#include <thread>
#include <utility>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/run_loop/internal/loop_source.h"
#include "quillhaven/platform/run_loop/internal/work_queue.h"

namespace quillhaven::platform {
namespace internal {

// The context and queue behind a loop.
struct RunLoopCore {
  // The main loop.
  RunLoopCore() : context(g_main_context_ref(g_main_context_default())) {}

  // The calling thread's. A context that its host has made its default is used
  // as it is; else it gets one, so that services it calls complete on it.
  explicit RunLoopCore(GMainContext* threadDefault)
      : context(threadDefault != nullptr ? g_main_context_ref(threadDefault)
                                         : g_main_context_new()),
        ownWork(std::in_place, context) {}

  ~RunLoopCore() {
    ownWork.reset();
    g_main_context_unref(context);
  }
  RunLoopCore(const RunLoopCore&) = delete;
  RunLoopCore& operator=(const RunLoopCore&) = delete;

  [[nodiscard]] bool isMain() const { return !ownWork; }
  WorkQueue& work() { return ownWork ? *ownWork : mainWorkQueue(); }
  [[nodiscard]] bool isTurnedHere() const {
    return isMain() ? servesMainQueue() : thread == std::this_thread::get_id();
  }

  GMainContext* const context;
  std::optional<WorkQueue> ownWork;
  const std::thread::id thread = std::this_thread::get_id();
};

}  // namespace internal

namespace {

using internal::RunLoopCore;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

// The loop of a thread, and the thread's default context while there is none
// else.
class ThreadLoop {
 public:
  ThreadLoop()
      : given_(g_main_context_get_thread_default()),
        core_(std::make_shared<RunLoopCore>(given_)) {
    if (given_ == nullptr) g_main_context_push_thread_default(core_->context);
  }
  ~ThreadLoop() {
    if (given_ == nullptr &&
        g_main_context_get_thread_default() == core_->context) {
      g_main_context_pop_thread_default(core_->context);
    }
  }
  ThreadLoop(const ThreadLoop&) = delete;
  ThreadLoop& operator=(const ThreadLoop&) = delete;

  [[nodiscard]] const std::shared_ptr<RunLoopCore>& core() const {
    return core_;
  }

 private:
  GMainContext* const given_;
  const std::shared_ptr<RunLoopCore> core_;
};

// Ends a wait. Its priority is the lowest, so a turn in which it fires has
// served nothing else.
class WaitLimit {
 public:
  WaitLimit(GMainContext* context, nanoseconds limit) {
    static GSourceFuncs functions = {nullptr, nullptr, dispatch,
                                     nullptr, nullptr, nullptr};
    source_ = g_source_new(&functions, sizeof(GSource));
    g_source_set_priority(source_, G_MAXINT);
    g_source_set_can_recurse(source_, TRUE);
    g_source_set_callback(source_, ignored, this, nullptr);
    g_source_set_ready_time(
        source_,
        g_get_monotonic_time() +
            std::chrono::ceil<std::chrono::microseconds>(limit).count());
    g_source_attach(source_, context);
  }
  ~WaitLimit() {
    g_source_destroy(source_);
    g_source_unref(source_);
  }
  WaitLimit(const WaitLimit&) = delete;
  WaitLimit& operator=(const WaitLimit&) = delete;

  [[nodiscard]] bool hasPassed() const { return hasPassed_; }

 private:
  static gboolean dispatch(GSource*, GSourceFunc, gpointer self) {
    static_cast<WaitLimit*>(self)->hasPassed_ = true;
    return G_SOURCE_CONTINUE;
  }
  static gboolean ignored(gpointer) { return G_SOURCE_CONTINUE; }

  GSource* source_;
  bool hasPassed_ = false;
};

// Longer waits sleep without a limit.
constexpr nanoseconds kLongestLimit = std::chrono::hours(24 * 365);

}  // namespace

RunLoopSource::RunLoopSource(std::shared_ptr<RunLoopCore> loop,
                             std::shared_ptr<internal::LoopSource> source)
    : loop_(std::move(loop)), source_(std::move(source)) {}

RunLoopSource& RunLoopSource::operator=(RunLoopSource&& other) noexcept {
  if (this != &other) {
    invalidate();
    loop_ = std::move(other.loop_);
    source_ = std::move(other.source_);
  }
  return *this;
}

void RunLoopSource::invalidate() noexcept {
  const auto source = std::move(source_);
  if (source) internal::disarm(*source);
  loop_.reset();
}

bool RunLoopSource::isValid() const {
  return source_ && internal::isArmed(*source_);
}

RunLoop::RunLoop(std::shared_ptr<RunLoopCore> core) : core_(std::move(core)) {}

RunLoop RunLoop::main() {
  // Used by other threads while the process ends.
  static const auto& core = *std::make_unique<std::shared_ptr<RunLoopCore>>(
                                 std::make_shared<RunLoopCore>())
                                 .release();
  return RunLoop(core);
}

RunLoop RunLoop::current() {
  if (internal::servesMainQueue()) return main();
  static thread_local const ThreadLoop loop;
  return RunLoop(loop.core());
}

RunLoop RunLoop::makePrivate() {
  constexpr GMainContext* kNew = nullptr;
  return RunLoop(std::make_shared<RunLoopCore>(kNew));
}

bool RunLoop::runOnce(nanoseconds limit) const {
  if (!core_->isTurnedHere()) {
    fatalError("a run loop turns on its own thread alone");
  }
  if (limit <= nanoseconds(0)) {
    return g_main_context_iteration(core_->context, FALSE);
  }
  if (limit > kLongestLimit) {
    return g_main_context_iteration(core_->context, TRUE);
  }
  const WaitLimit end(core_->context, limit);
  return g_main_context_iteration(core_->context, TRUE) && !end.hasPassed();
}

bool RunLoop::runUntil(const std::function<bool()>& condition,
                       nanoseconds limit) const {
  const bool isLimited = limit <= kLongestLimit;
  const auto end =
      isLimited ? steady_clock::now() + limit : steady_clock::time_point::max();
  while (!condition()) {
    const nanoseconds rest =
        isLimited ? end - steady_clock::now() : nanoseconds::max();
    if (rest <= nanoseconds(0)) return false;
    runOnce(rest);
  }
  return true;
}

void RunLoop::perform(std::function<void()> work) const {
  core_->work().post(std::move(work));
}

void RunLoop::wakeUp() const { g_main_context_wakeup(core_->context); }

RunLoopSource RunLoop::startTimer(nanoseconds delay, std::function<void()> fire,
                                  nanoseconds interval) const {
  return {core_,
          internal::attachTimer(core_->context, delay, interval,
                                [fire = std::move(fire)](int) { fire(); })};
}

RunLoopSource RunLoop::watch(int descriptor, FileEvents events,
                             std::function<void(FileEvents)> ready) const {
  const auto call = [ready = std::move(ready)](int conditions) {
    ready(static_cast<FileEvents>(conditions));
  };
  return {core_, internal::attachDescriptor(core_->context, descriptor,
                                            static_cast<int>(events), call)};
}

}  // namespace quillhaven::platform
