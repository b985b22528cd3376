#include "quillhaven/system/termination_observer.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/system/internal/standard_output.h"

namespace quillhaven::system {

using platform::FileEvents;
using platform::RunLoop;

KEventTerminationObserver::KEventTerminationObserver(std::int32_t pid,
                                                     Handler handler)
    : pid_(pid), handler_(std::move(handler)) {}

KEventTerminationObserver::~KEventTerminationObserver() { invalidate(); }

std::shared_ptr<KEventTerminationObserver> KEventTerminationObserver::observe(
    std::int32_t pid, Handler handler) {
  std::shared_ptr<KEventTerminationObserver> observer(
      new KEventTerminationObserver(pid, std::move(handler)));
  try {
    observer->arm();
  } catch (const KEventTerminationError& error) {
    internal::printLine("Unable to add kevent termination observer, error " +
                        std::to_string(error.returnValue()));
    return nullptr;
  }
  return observer;
}

void KEventTerminationObserver::arm() {
  if (pid_ < 0) {
    platform::fatalError("the process to observe has a negative ID");
  }
  platform::UniqueFd process(
      static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  if (!process.valid()) {
    throw KEventTerminationError::kEventError(process.get());
  }
  // The main loop may call back before the source has arrived in its place.
  const std::lock_guard guard(lock_);
  fileDescriptor_ = std::move(process);
  source_ = RunLoop::main().watch(fileDescriptor_.get(), FileEvents::kReadable,
                                  [weak = weak_from_this()](FileEvents) {
                                    if (const auto observer = weak.lock())
                                      observer->processDidExit();
                                  });
}

// The handler may turn a loop itself, in which the process must not be told
// again, and may invalidate the observer or let go of it.
void KEventTerminationObserver::processDidExit() {
  const auto self = shared_from_this();
  bool wasArmed = false;
  {
    const std::lock_guard guard(lock_);
    wasArmed = fileDescriptor_.valid();
    source_.invalidate();
  }
  if (wasArmed && handler_) handler_(self);
  invalidate();
}

void KEventTerminationObserver::invalidate() {
  const std::lock_guard guard(lock_);
  source_.invalidate();
  fileDescriptor_.reset();
}

}  // namespace quillhaven::system
