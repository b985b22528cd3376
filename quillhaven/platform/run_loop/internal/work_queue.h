// Pieces of work that a GLib main context runs one after the other.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_WORK_QUEUE_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_WORK_QUEUE_H_

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

struct _GMainContext;
struct _GSource;

namespace quillhaven::platform::internal {

// One source on a context, with a queue behind it: a post costs no source of
// its own and wakes the loop only when the queue was empty. The queue goes when
// its context is not turning. Thread-safe but for that.
class WorkQueue {
 public:
  // The null context is the default one.
  explicit WorkQueue(_GMainContext* context);
  ~WorkQueue();
  WorkQueue(const WorkQueue&) = delete;
  WorkQueue& operator=(const WorkQueue&) = delete;

  // `work` must not throw.
  void post(std::function<void()> work);

  // Runs what is in the queue now; what is posted meanwhile waits for the next
  // turn of the loop, so that other sources have theirs. Called by the source.
  void serve();

 private:
  // Set before the context learns of the queue and read when it calls: what
  // GLib does to hand the queue over is not seen by ThreadSanitizer.
  std::atomic<bool> isPublished_{false};
  std::mutex lock_;
  std::deque<std::function<void()>> items_;  // guarded by lock_
  _GSource* source_;  // ready exactly while there are items
};

// The queue of the default context; it is never destroyed.
WorkQueue& mainWorkQueue();

// True where running main-queue work in place is right: on the main thread, and
// on a thread that is turning the default context.
bool servesMainQueue();

// Calls `work`; an exception that leaves it is a fatal error, which says that
// it left `place`. C callbacks of a loop know no exceptions.
void callGuarded(const std::function<void()>& work, const char* place) noexcept;

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_WORK_QUEUE_H_
