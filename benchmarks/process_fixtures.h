// Processes to look at: one with very many sockets, and very many processes.
#ifndef QUILLHAVEN_BENCHMARKS_PROCESS_FIXTURES_H_
#define QUILLHAVEN_BENCHMARKS_PROCESS_FIXTURES_H_

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace quillhaven::benchmarks {

// Children that wait until the object ends, and them with it; or until this
// process does. One thread at a time.
class Children {
 public:
  Children() = default;
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;
  ~Children();

  // Starts a process that has about `count` descriptors: both ends of TCP
  // connections on the loopback interface and, for `fileCount` of them, files.
  // Returns its ID once they are open; -1 when the limits do not allow it.
  pid_t addSocketHolder(std::size_t count, std::size_t fileCount);

  // Starts `count` processes that execute `program` with the argument
  // "infinity" and returns once all do. False when that fails.
  [[nodiscard]] bool addWaiting(std::size_t count, const std::string& program);

 private:
  std::vector<pid_t> pids_;
};

// What a program wrote.
struct ProgramRun {
  bool isDone = false;  // it was started and ended by itself
  std::string output;
};

// Runs a program of the search path to its end, with standard error closed off.
[[nodiscard]] ProgramRun runToEnd(const std::vector<std::string>& arguments);

}  // namespace quillhaven::benchmarks

#endif  // QUILLHAVEN_BENCHMARKS_PROCESS_FIXTURES_H_
