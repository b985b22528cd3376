#include "quillhaven/platform/run_loop/internal/loop_source.h"

#include <glib.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "quillhaven/platform/run_loop/internal/work_queue.h"

namespace quillhaven::platform::internal {

class LoopSource {
 public:
  explicit LoopSource(std::function<void(int)> callback);
  ~LoopSource() { g_source_unref(source_); }
  LoopSource(const LoopSource&) = delete;
  LoopSource& operator=(const LoopSource&) = delete;

  void startTimer(std::chrono::nanoseconds delay,
                  std::chrono::nanoseconds interval);
  void watch(int descriptor, int conditions);
  static void attach(const std::shared_ptr<LoopSource>& self,
                     GMainContext* context);
  void disarm();
  bool isArmed();

 private:
  using Callback = std::shared_ptr<const std::function<void(int)>>;

  static gboolean dispatch(GSource* source, GSourceFunc, gpointer self);
  static void detached(gpointer self);
  void fire();
  void scheduleNext();
  Callback callback();

  GSource* const source_;
  gpointer descriptorTag_ = nullptr;
  std::chrono::microseconds interval_{0};
  // Set before the context learns of this object and after each call, and read
  // when it calls or lets go: what GLib does to hand the object from thread to
  // thread is not seen by ThreadSanitizer.
  std::atomic<bool> isPublished_{false};
  std::shared_ptr<LoopSource> self_;  // while attached
  std::mutex lock_;
  Callback callback_;  // guarded by lock_; null once disarmed
};

namespace {

// Far enough away, and no overflow when added to the time.
constexpr std::chrono::nanoseconds kLongestDelay =
    std::chrono::hours(24 * 3650);

gint64 microsecondsFrom(std::chrono::nanoseconds delay) {
  const auto bounded =
      std::clamp(delay, std::chrono::nanoseconds(0), kLongestDelay);
  // Rounded up: a timer fires no earlier than asked.
  return std::chrono::ceil<std::chrono::microseconds>(bounded).count();
}

gboolean ignored(gpointer) { return G_SOURCE_CONTINUE; }

}  // namespace

LoopSource::LoopSource(std::function<void(int)> callback)
    : source_([] {
        static GSourceFuncs functions = {nullptr, nullptr, dispatch,
                                         nullptr, nullptr, nullptr};
        return g_source_new(&functions, sizeof(GSource));
      }()),
      callback_(std::make_shared<const std::function<void(int)>>(
          std::move(callback))) {}

void LoopSource::startTimer(std::chrono::nanoseconds delay,
                            std::chrono::nanoseconds interval) {
  interval_ = std::chrono::microseconds(microsecondsFrom(interval));
  g_source_set_ready_time(source_,
                          g_get_monotonic_time() + microsecondsFrom(delay));
}

void LoopSource::watch(int descriptor, int conditions) {
  descriptorTag_ = g_source_add_unix_fd(source_, descriptor,
                                        static_cast<GIOCondition>(conditions));
}

void LoopSource::attach(const std::shared_ptr<LoopSource>& self,
                        GMainContext* context) {
  self->self_ = self;
  self->isPublished_.store(true, std::memory_order_release);
  g_source_set_callback(self->source_, ignored, self.get(), detached);
  g_source_attach(self->source_, context);
}

void LoopSource::detached(gpointer self) {
  auto& source = *static_cast<LoopSource*>(self);
  source.isPublished_.load(std::memory_order_acquire);
  // May be the end of the object.
  const std::shared_ptr<LoopSource> last = std::move(source.self_);
}

gboolean LoopSource::dispatch(GSource*, GSourceFunc, gpointer self) {
  auto& source = *static_cast<LoopSource*>(self);
  source.isPublished_.load(std::memory_order_acquire);
  source.fire();
  source.isPublished_.store(true, std::memory_order_release);
  return G_SOURCE_CONTINUE;
}

void LoopSource::fire() {
  const Callback callback = this->callback();
  if (!callback) return;
  int conditions = 0;
  if (descriptorTag_ != nullptr) {
    conditions = g_source_query_unix_fd(source_, descriptorTag_);
  } else if (interval_.count() > 0) {
    scheduleNext();
  } else {
    disarm();
  }
  callGuarded([&] { (*callback)(conditions); }, "the callback of a source");
}

// Keeps the beat; beats that were missed are left out.
void LoopSource::scheduleNext() {
  const gint64 now = g_get_monotonic_time();
  const gint64 next = g_source_get_ready_time(source_) + interval_.count();
  g_source_set_ready_time(source_, next > now ? next : now + interval_.count());
}

LoopSource::Callback LoopSource::callback() {
  const std::lock_guard guard(lock_);
  return callback_;
}

void LoopSource::disarm() {
  Callback last;
  {
    const std::lock_guard guard(lock_);
    std::swap(last, callback_);
  }
  if (last) g_source_destroy(source_);
}

bool LoopSource::isArmed() { return callback() != nullptr; }

std::shared_ptr<LoopSource> attachTimer(GMainContext* context,
                                        std::chrono::nanoseconds delay,
                                        std::chrono::nanoseconds interval,
                                        std::function<void(int)> callback) {
  auto source = std::make_shared<LoopSource>(std::move(callback));
  source->startTimer(delay, interval);
  LoopSource::attach(source, context);
  return source;
}

std::shared_ptr<LoopSource> attachDescriptor(
    GMainContext* context, int descriptor, int conditions,
    std::function<void(int)> callback) {
  auto source = std::make_shared<LoopSource>(std::move(callback));
  source->watch(descriptor, conditions);
  LoopSource::attach(source, context);
  return source;
}

void disarm(LoopSource& source) { source.disarm(); }

bool isArmed(LoopSource& source) { return source.isArmed(); }

}  // namespace quillhaven::platform::internal
