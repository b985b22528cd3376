// Reads and parses messages on several threads and hands out the results in the
// order of the inputs.
#ifndef QUILLHAVEN_CLI_MESSAGE_PIPELINE_H_
#define QUILLHAVEN_CLI_MESSAGE_PIPELINE_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "cli/input_sources.h"
#include "cli/message_output.h"

namespace quillhaven::cli {

// What became of one input.
struct MessageResult {
  std::string diagnostics;  // whole lines for standard error
  std::string output;       // the message in the format asked for; may be empty
  bool failed = false;
};

// Holds a bounded number of messages and of their bytes, however many inputs
// there are; a single message may be larger than the bound. What the library
// logs while it parses a message goes to the diagnostics of that message as
// long as the pipeline lives. All operations are for one thread.
class MessagePipeline {
 public:
  // Starts up to `jobs` (at least 1) threads, which take inputs from `sources`,
  // one of them at a time. `sources` outlives the pipeline. Throws
  // std::system_error when no thread can be started.
  MessagePipeline(InputSources& sources, MessageFormat format,
                  std::size_t jobs);
  MessagePipeline(const MessagePipeline&) = delete;
  MessagePipeline& operator=(const MessagePipeline&) = delete;
  // Waits for the threads: they end after the message they are at.
  ~MessagePipeline();

  enum class Next { kResult, kNotYet, kEnd };

  // Hands out the next result; kNotYet when there is none within `patience`,
  // which is without limit if absent.
  Next next(MessageResult& result,
            std::optional<std::chrono::milliseconds> patience);

  // The number of results handed out.
  [[nodiscard]] std::size_t count() const { return handedOut_; }

 private:
  struct Slot {
    MessageResult result;
    std::size_t bytes = 0;  // counted in bytesInFlight_
    bool isDone = false;
  };

  void work();
  std::optional<Input> take(std::uint64_t& number);
  MessageResult process(const Input& input, std::uint64_t number,
                        WholeReader& reader);
  std::optional<std::string> parse(const Input& input,
                                   const std::optional<std::string>& url,
                                   std::uint64_t number, WholeReader& reader,
                                   std::string& output);
  void reserve(std::uint64_t number, std::size_t bytes);
  void deliver(std::uint64_t number, MessageResult result);

  InputSources& sources_;  // guarded by sourcesLock_
  std::mutex sourcesLock_;
  const MessageFormat format_;
  const std::size_t windowSize_;

  std::mutex lock_;
  std::condition_variable resultReady_;
  std::condition_variable roomFree_;
  std::deque<Slot> window_;        // guarded by lock_; in input order
  std::uint64_t first_ = 0;        // guarded by lock_; number of its first slot
  std::size_t bytesInFlight_ = 0;  // guarded by lock_
  bool ended_ = false;             // guarded by lock_; no more inputs
  bool stopped_ = false;           // guarded by lock_

  std::size_t handedOut_ = 0;
  std::vector<std::thread> threads_;
};

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_MESSAGE_PIPELINE_H_
