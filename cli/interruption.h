// Ends the program in good order when it is interrupted.
#ifndef QUILLHAVEN_CLI_INTERRUPTION_H_
#define QUILLHAVEN_CLI_INTERRUPTION_H_

#include <csignal>
#include <functional>
#include <thread>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::cli {

// While it lives, SIGINT and SIGTERM first call `tidyUp` on a thread of its own
// and then end the process as if nothing had caught them, so that a shell sees
// why it ended. A second signal does not wait. A signal that was ignored stays
// ignored (nohup). To be made before other threads, which take over the mask.
class Interruption {
 public:
  explicit Interruption(std::function<void()> tidyUp);
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption();

 private:
  void watch(const std::function<void()>& tidyUp) const;

  sigset_t watched_;
  sigset_t maskBefore_;
  platform::UniqueFd signals_;
  platform::UniqueFd stop_;
  std::thread thread_;
};

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_INTERRUPTION_H_
