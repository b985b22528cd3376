#include "quillhaven/platform/process/testing/process_state.h"

#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace quillhaven::platform::testing {

namespace fs = std::filesystem;

std::size_t openDescriptorCount() {
  const auto count = std::distance(fs::directory_iterator("/proc/self/fd"),
                                   fs::directory_iterator());
  return static_cast<std::size_t>(count) - 1;
}

bool hasNoChildrenSoon() {
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < deadline) {
    siginfo_t info;
    if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
      return errno == ECHILD;
    }
    std::this_thread::yield();
  }
  return false;
}

SignalHandling::SignalHandling(int number, void (*handler)(int))
    : number_(number) {
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigaction(number_, &action, &previous_);
}

SignalHandling::~SignalHandling() { ::sigaction(number_, &previous_, nullptr); }

}  // namespace quillhaven::platform::testing
