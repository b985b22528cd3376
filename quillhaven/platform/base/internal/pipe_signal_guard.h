// Writing to pipes and sockets whose reader may be gone.
#ifndef QUILLHAVEN_PLATFORM_BASE_INTERNAL_PIPE_SIGNAL_GUARD_H_
#define QUILLHAVEN_PLATFORM_BASE_INTERNAL_PIPE_SIGNAL_GUARD_H_

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace quillhaven::platform::internal {

// While it lives, a write of this thread to where nobody reads fails with EPIPE
// and does nothing else: how the process handles SIGPIPE is the host's affair
// and stays as it is.
class PipeSignalGuard {
 public:
  PipeSignalGuard() : wasPending_(isPending()) {
    const sigset_t pipeSignal = signals();
    ::pthread_sigmask(SIG_BLOCK, &pipeSignal, &previous_);
  }
  PipeSignalGuard(const PipeSignalGuard&) = delete;
  PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;
  ~PipeSignalGuard() {
    const int kept = errno;
    if (!wasPending_ && isPending()) {
      const sigset_t pipeSignal = signals();
      constexpr timespec kAtOnce{};
      while (::sigtimedwait(&pipeSignal, nullptr, &kAtOnce) < 0 &&
             errno == EINTR) {
      }
    }
    ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    errno = kept;
  }

 private:
  static sigset_t signals() {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGPIPE);
    return set;
  }
  static bool isPending() {
    sigset_t pending;
    ::sigpending(&pending);
    return ::sigismember(&pending, SIGPIPE) == 1;
  }

  const bool wasPending_;
  sigset_t previous_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_BASE_INTERNAL_PIPE_SIGNAL_GUARD_H_
