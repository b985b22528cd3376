// What tests of child processes look at in the process of their own.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESS_STATE_H_
#define QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESS_STATE_H_

#include <csignal>
#include <cstddef>

namespace quillhaven::platform::testing {

// The number of open descriptors, the one that counts left out.
[[nodiscard]] std::size_t openDescriptorCount();

// True when no child is left, running or a zombie, within a few seconds.
[[nodiscard]] bool hasNoChildrenSoon();

// Sets the handling of a signal for its life.
class SignalHandling {
 public:
  SignalHandling(int number, void (*handler)(int));
  SignalHandling(const SignalHandling&) = delete;
  SignalHandling& operator=(const SignalHandling&) = delete;
  ~SignalHandling();

 private:
  const int number_;
  struct sigaction previous_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESS_STATE_H_
