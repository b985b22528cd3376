// The library's log: messages with a subsystem, a category and a type go to one
// sink, which a host can replace.
#ifndef QUILLHAVEN_PLATFORM_BASE_LOG_H_
#define QUILLHAVEN_PLATFORM_BASE_LOG_H_

#include <functional>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// How much a message matters, from "only while developing" to "a bug".
enum class LogType { kDebug, kInfo, kDefault, kError, kFault };

// One message on its way to the sink. The views live only during the call.
struct LogMessage {
  std::string_view subsystem;  // reverse domain name of the component
  std::string_view category;   // area within it; may be empty
  LogType type;
  std::string_view text;  // UTF-8, without a line feed at its end
};

// Receives every message. May be called from any thread, also from several at
// once, and must not throw.
using LogSink = std::function<void(const LogMessage&)>;

// Makes `sink` receive all messages from now on and returns the one that did so
// before; an empty sink brings back the standard one, which sends messages to
// the journal, with subsystem, category and type as fields, when standard error
// leads there, and else writes one line a message to standard error. Messages
// under way may still reach the old sink. Thread-safe.
LogSink setLogSink(LogSink sink);

// Writes messages of one subsystem and category. Thread-safe.
class Logger {
 public:
  Logger(std::string_view subsystem, std::string_view category);

  void log(LogType type, std::string_view text) const;

 private:
  std::string subsystem_;
  std::string category_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_LOG_H_
