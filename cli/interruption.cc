#include "cli/interruption.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace quillhaven::cli {

Interruption::Interruption(std::function<void()> tidyUp) {
  sigemptyset(&watched_);
  for (const int number : {SIGINT, SIGTERM}) {
    struct sigaction action;
    if (::sigaction(number, nullptr, &action) == 0 &&
        action.sa_handler != SIG_IGN) {
      sigaddset(&watched_, number);
    }
  }
  signals_ = platform::UniqueFd(::signalfd(-1, &watched_, SFD_CLOEXEC));
  stop_ = platform::UniqueFd(::eventfd(0, EFD_CLOEXEC));
  if (!signals_.valid() || !stop_.valid()) {
    throw std::system_error(errno, std::generic_category());
  }
  ::pthread_sigmask(SIG_BLOCK, &watched_, &maskBefore_);
  thread_ = std::thread([this, work = std::move(tidyUp)] { watch(work); });
}

Interruption::~Interruption() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written =
      ::write(stop_.get(), &one, sizeof one);
  thread_.join();
  ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
}

void Interruption::watch(const std::function<void()>& tidyUp) const {
  pollfd waiting[] = {{signals_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
  while (::poll(waiting, 2, -1) < 0 && errno == EINTR) {
  }
  signalfd_siginfo received;
  if ((waiting[0].revents & POLLIN) == 0 ||
      ::read(signals_.get(), &received, sizeof received) !=
          static_cast<ssize_t>(sizeof received)) {
    return;
  }
  // From here on the next signal ends the process at once: tidying up may wait
  // for a reader that has stopped reading.
  const int number = static_cast<int>(received.ssi_signo);
  ::signal(number, SIG_DFL);
  ::pthread_sigmask(SIG_UNBLOCK, &watched_, nullptr);
  tidyUp();
  ::raise(number);
}

}  // namespace quillhaven::cli
