// Runs a built program as a child for tests: its streams are pipes, files or a
// terminal, and every wait has a deadline.
#ifndef QUILLHAVEN_CLI_TESTING_PROGRAM_H_
#define QUILLHAVEN_CLI_TESTING_PROGRAM_H_

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::cli::testing {

// How a stream of the child is made.
enum class Stream {
  kPipe,
  kTerminal,  // a new pseudo-terminal
  kFull,      // /dev/full
};

// A running child. Ends it at the end of its own life. One thread at a time.
class Program {
 public:
  // Starts `path` with `arguments`; aborts the test program when it cannot.
  Program(const std::string& path, std::vector<std::string> arguments,
          Stream output = Stream::kPipe, Stream error = Stream::kPipe);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();

  // Writes to its standard input; all of it unless the child stops reading.
  void write(std::string_view bytes);
  void closeOutput() { output_.reset(); }

  // Reads standard output or error until `text` was read, the end of the stream
  // or the deadline; returns all that was read so far.
  const std::string& readOutputUntil(std::string_view text);
  const std::string& readErrorUntil(std::string_view text);

  // Waits until the pipe from its standard output is full, so that the child
  // waits for us in the middle of what it writes. False after the deadline.
  [[nodiscard]] bool outputBecomesFull() const;

  // Sends a signal.
  void signal(int number) const;

  // Reads both streams to their ends and waits, with its input still open.
  // Returns the exit status, minus the number of the signal that ended it, or
  // nothing when the deadline passed.
  std::optional<int> wait();

  // The same with its input closed.
  std::optional<int> closeInputAndWait();

  [[nodiscard]] const std::string& output() const { return outputText_; }
  [[nodiscard]] const std::string& error() const { return errorText_; }

 private:
  template <typename Condition>
  void readUntil(const Condition& isDone);

  pid_t pid_ = -1;
  platform::UniqueFd input_;
  platform::UniqueFd output_;
  platform::UniqueFd error_;
  std::string outputText_;
  std::string errorText_;
};

// What a finished run left.
struct RunResult {
  std::optional<int> status;
  std::string output;
  std::string error;
};

// Runs to the end with `input` on standard input.
RunResult runProgram(const std::string& path,
                     std::vector<std::string> arguments,
                     std::string_view input = {}, Stream output = Stream::kPipe,
                     Stream error = Stream::kPipe);

using platform::testing::TemporaryFolder;

}  // namespace quillhaven::cli::testing

#endif  // QUILLHAVEN_CLI_TESTING_PROGRAM_H_
