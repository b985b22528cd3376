// Real processes and folders for tests.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESSES_H_
#define QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESSES_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform::testing {

// True as soon as `condition` is; false when it still is not after a minute.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);

// How many descriptors this process has.
[[nodiscard]] std::size_t openDescriptorCount();

// A running child with pipes to its standard streams 0 and 1. Ends it at the
// end of its own life. One thread at a time.
class Child {
 public:
  // Starts the program at `path` with exactly the arguments `argv` and waits
  // for its first byte of output; aborts the test program without one.
  static Child start(const std::string& path, std::vector<std::string> argv);
  // Runs `body` in a fork; its result is the exit status.
  static Child run(const std::function<int()>& body);

  Child(Child&& other) noexcept;
  ~Child();

  [[nodiscard]] std::int32_t pid() const { return pid_; }

  // Reads until the child closes its output.
  [[nodiscard]] std::string readAll() const;
  // Reads one line, without its line feed.
  [[nodiscard]] std::string readLine() const;

  // Kills it and waits until it is a zombie, which it stays.
  void kill();
  // The same, and takes its status.
  void end();

 private:
  Child(std::int32_t pid, UniqueFd input, UniqueFd output);

  std::int32_t pid_;
  UniqueFd input_;
  UniqueFd output_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_PROCESS_TESTING_PROCESSES_H_
