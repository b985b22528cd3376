// The program's two streams: results on standard output, diagnostics on
// standard error.
#ifndef QUILLHAVEN_CLI_OUTPUT_H_
#define QUILLHAVEN_CLI_OUTPUT_H_

#include <mutex>
#include <string>
#include <string_view>

namespace quillhaven::cli {

// Collects results and writes them to a descriptor, which it does not own, in
// large pieces. The first failed write ends it: later records are dropped.
// Thread-safe.
class Output {
 public:
  explicit Output(int fd);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // Takes one whole record: close() never comes in the middle of it. Returns
  // false once a write has failed or after close().
  bool append(std::string_view record);

  // Writes what was collected; returns as append() does.
  bool flush();

  // Writes what was collected and drops everything that comes later.
  void close();

  // The errno of the write that failed, 0 if none did.
  [[nodiscard]] int error() const;
  [[nodiscard]] bool isTerminal() const { return isTerminal_; }

 private:
  bool writeCollected();
  bool writeAll(std::string_view bytes);

  const int fd_;
  const bool isTerminal_;
  mutable std::mutex lock_;
  std::string collected_;  // guarded by lock_
  int error_ = 0;          // guarded by lock_
  bool closed_ = false;    // guarded by lock_
};

// Flushes `output` and returns the exit status of a command whose work gave
// `status`. A reader that has gone away is no failure (0); any other failed
// write is reported and gives 1.
[[nodiscard]] int finish(Output& output, int status);

// Returns "quillhaven: SUBJECT: REASON" and a line feed. Control characters of
// the subject, usually a path, are U+FFFD: it stays one line.
[[nodiscard]] std::string diagnostic(std::string_view subject,
                                     std::string_view reason);

// Returns "quillhaven: REASON" and a line feed.
[[nodiscard]] std::string diagnostic(std::string_view reason);

// Writes `lines` to standard error, with a terminal's control characters
// replaced when it is one.
void writeDiagnostics(std::string_view lines);

// Returns `text` with control characters (C0, DEL and C1) as U+FFFD, because a
// terminal would obey them; line feeds, "\r\n" and tabs stay.
[[nodiscard]] std::string replacingTerminalControls(std::string_view text);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_OUTPUT_H_
