// A timer or a watched file descriptor on a GLib main context.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_LOOP_SOURCE_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_LOOP_SOURCE_H_

#include <chrono>
#include <functional>
#include <memory>

struct _GMainContext;

namespace quillhaven::platform::internal {

// What is attached to the context. It lives as long as it is attached or held.
class LoopSource;

// Both attach to `context`, where null is the default one. The callback must
// not throw; its argument, in the bits of poll(), is 0 for a timer. A negative
// delay is none, an interval of zero fires once.
std::shared_ptr<LoopSource> attachTimer(_GMainContext* context,
                                        std::chrono::nanoseconds delay,
                                        std::chrono::nanoseconds interval,
                                        std::function<void(int)> callback);
std::shared_ptr<LoopSource> attachDescriptor(_GMainContext* context,
                                             int descriptor, int conditions,
                                             std::function<void(int)> callback);

// No call of the callback begins after this has returned. Thread-safe.
void disarm(LoopSource& source);
// False once disarmed, and for a timer once it fired for the last time.
bool isArmed(LoopSource& source);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_LOOP_SOURCE_H_
