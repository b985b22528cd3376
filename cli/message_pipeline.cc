#include "cli/message_pipeline.h"

#include <exception>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "cli/output.h"
#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::cli {
namespace {

// Bytes read or waiting to be written, over all threads.
constexpr std::size_t kMaximumBytesInFlight = std::size_t{256} * 1024 * 1024;
constexpr std::size_t kWindowPerJob = 4;

// Where the log lines of the message on this thread go.
thread_local std::string* logLines = nullptr;

void collectLogLine(const platform::LogMessage& message) {
  std::string line(message.text);
  line.push_back('\n');
  if (logLines == nullptr) {
    writeDiagnostics(line);
  } else {
    logLines->append(line);
  }
}

// Why the parser made no message of `bytes`.
std::string_view refusal(std::string_view bytes) {
  if (bytes.empty()) return "empty";
  if (!platform::isValidUTF8(bytes)) return "not valid UTF-8";
  return "not a valid message (no Subject, Content-Type or MIME-Version field)";
}

}  // namespace

MessagePipeline::MessagePipeline(InputSources& sources, MessageFormat format,
                                 std::size_t jobs)
    : sources_(sources), format_(format), windowSize_(kWindowPerJob * jobs) {
  platform::setLogSink(collectLogLine);
  try {
    while (threads_.size() < jobs) threads_.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    // Fewer threads do the same work.
    if (threads_.empty()) {
      platform::setLogSink(nullptr);
      throw;
    }
  }
}

MessagePipeline::~MessagePipeline() {
  {
    const std::lock_guard guard(lock_);
    stopped_ = true;
  }
  roomFree_.notify_all();
  for (std::thread& thread : threads_) thread.join();
  platform::setLogSink(nullptr);
}

MessagePipeline::Next MessagePipeline::next(
    MessageResult& result, std::optional<std::chrono::milliseconds> patience) {
  std::unique_lock guard(lock_);
  const auto canAnswer = [this] {
    return window_.empty() ? ended_ : window_.front().isDone;
  };
  if (!patience) {
    resultReady_.wait(guard, canAnswer);
  } else if (!resultReady_.wait_for(guard, *patience, canAnswer)) {
    return Next::kNotYet;
  }
  if (window_.empty()) return Next::kEnd;
  result = std::move(window_.front().result);
  bytesInFlight_ -= window_.front().bytes;
  window_.pop_front();
  ++first_;
  ++handedOut_;
  guard.unlock();
  roomFree_.notify_all();
  return Next::kResult;
}

void MessagePipeline::work() {
  WholeReader reader;
  std::uint64_t number = 0;
  while (const auto input = take(number)) {
    deliver(number, process(*input, number, reader));
    reader.shrink();
  }
}

// Takes the next input once there is room for its result, and its number.
std::optional<Input> MessagePipeline::take(std::uint64_t& number) {
  const std::lock_guard oneAtATime(sourcesLock_);
  {
    std::unique_lock guard(lock_);
    roomFree_.wait(guard,
                   [this] { return stopped_ || window_.size() < windowSize_; });
    if (stopped_ || ended_) return std::nullopt;
  }
  std::optional<Input> input = sources_.next();  // may wait for a list
  const std::lock_guard guard(lock_);
  if (input) {
    number = first_ + window_.size();
    window_.emplace_back();
  } else {
    ended_ = true;
    resultReady_.notify_one();
  }
  return input;
}

MessageResult MessagePipeline::process(const Input& input, std::uint64_t number,
                                       WholeReader& reader) {
  MessageResult result;
  std::optional<std::string> url;
  if (input.kind == Input::Kind::kFile) {
    url = platform::fileURLFromPath(input.path);
  }
  std::optional<std::string> failure;
  logLines = &result.diagnostics;
  try {
    failure = parse(input, url, number, reader, result.output);
  } catch (const std::bad_alloc&) {
    failure = "not enough memory";
  } catch (const std::exception& error) {
    failure = error.what();
  }
  logLines = nullptr;
  if (!failure) return result;

  result.failed = true;
  result.diagnostics.append(diagnostic(displayName(input), *failure));
  result.output.clear();
  if (input.kind != Input::Kind::kOtherProblem) {
    appendFailedMessage(result.output, url, format_);
  }
  return result;
}

// Appends the message to `output`; returns why there is none, or nothing.
std::optional<std::string> MessagePipeline::parse(
    const Input& input, const std::optional<std::string>& url,
    std::uint64_t number, WholeReader& reader, std::string& output) {
  if (!input.problem.empty()) return input.problem;
  if (auto failure = reader.open(input)) return failure;
  reserve(number, reader.expectedSize());
  if (auto failure = reader.read(mail::kMaximumMessageSize)) return failure;
  const auto message =
      mail::EmailMessageParser::initWithData(reader.bytes(), url);
  if (!message) return std::string(refusal(reader.bytes()));
  appendMessage(output, *message, format_);
  return std::nullopt;
}

// Counts the bytes of a message and waits while there are too many in flight,
// except for the oldest message, which all others wait for.
void MessagePipeline::reserve(std::uint64_t number, std::size_t bytes) {
  std::unique_lock guard(lock_);
  roomFree_.wait(guard, [&] {
    return stopped_ || number == first_ ||
           bytesInFlight_ + bytes <= kMaximumBytesInFlight;
  });
  bytesInFlight_ += bytes;
  window_[static_cast<std::size_t>(number - first_)].bytes = bytes;
}

void MessagePipeline::deliver(std::uint64_t number, MessageResult result) {
  const std::lock_guard guard(lock_);
  Slot& slot = window_[static_cast<std::size_t>(number - first_)];
  const std::size_t bytes = result.output.size() + result.diagnostics.size();
  bytesInFlight_ = bytesInFlight_ - slot.bytes + bytes;
  slot = {std::move(result), bytes, true};
  if (number == first_) resultReady_.notify_one();
}

}  // namespace quillhaven::cli
