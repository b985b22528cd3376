// What tests of child processes look at in the process of their own.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESS_STATE_H_
#define QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESS_STATE_H_

#include <csignal>
#include <cstddef>
#include <string>
#include <string_view>

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

// A folder that vanishes with what it holds.
class ScratchFolder {
 public:
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  [[nodiscard]] std::string path(std::string_view name = {}) const;
  // Writes a file with these permissions; returns its path.
  [[nodiscard]] std::string write(std::string_view name, std::string_view bytes,
                                  unsigned mode = 0755) const;

 private:
  std::string path_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESS_STATE_H_
