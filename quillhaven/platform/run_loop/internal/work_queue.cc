#include "quillhaven/platform/run_loop/internal/work_queue.h"

#include <glib.h>

#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::platform::internal {
namespace {

constexpr gint64 kReadyNow = 0;
constexpr gint64 kNeverReady = -1;

gboolean dispatch(GSource*, GSourceFunc, gpointer queue) {
  static_cast<WorkQueue*>(queue)->serve();
  return G_SOURCE_CONTINUE;
}

gboolean ignored(gpointer) { return G_SOURCE_CONTINUE; }

}  // namespace

WorkQueue::WorkQueue(GMainContext* context) {
  static GSourceFuncs functions = {nullptr, nullptr, dispatch,
                                   nullptr, nullptr, nullptr};
  source_ = g_source_new(&functions, sizeof(GSource));
  g_source_set_callback(source_, ignored, this, nullptr);
  g_source_set_ready_time(source_, kNeverReady);
  // A piece of work that turns the loop has the next ones served in there.
  g_source_set_can_recurse(source_, TRUE);
  isPublished_.store(true, std::memory_order_release);
  g_source_attach(source_, context);
}

WorkQueue::~WorkQueue() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

void WorkQueue::post(std::function<void()> work) {
  const std::lock_guard guard(lock_);
  items_.push_back(std::move(work));
  if (items_.size() == 1) g_source_set_ready_time(source_, kReadyNow);
}

void WorkQueue::serve() {
  isPublished_.load(std::memory_order_acquire);
  std::size_t count;
  {
    const std::lock_guard guard(lock_);
    count = items_.size();
  }
  for (; count > 0; --count) {
    std::function<void()> work;
    {
      const std::lock_guard guard(lock_);
      if (items_.empty()) return;  // served by a loop within one of them
      work = std::move(items_.front());
      items_.pop_front();
      if (items_.empty()) g_source_set_ready_time(source_, kNeverReady);
    }
    callGuarded(work, "work of a run loop");
  }
}

WorkQueue& mainWorkQueue() {
  // Other threads may post while the process ends.
  static WorkQueue& queue = *std::make_unique<WorkQueue>(nullptr).release();
  return queue;
}

void callGuarded(const std::function<void()>& work,
                 const char* place) noexcept {
  try {
    work();
  } catch (const std::exception& error) {
    fatalError(std::string("an exception left ") + place + ": " + error.what());
  } catch (...) {
    fatalError(std::string("an exception left ") + place);
  }
}

}  // namespace quillhaven::platform::internal
