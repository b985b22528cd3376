#include "quillhaven/platform/base/log.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "quillhaven/platform/base/internal/journal.h"

namespace quillhaven::platform {
namespace {

// One write a message, so that lines of several threads do not mix.
void writeToStandardError(const LogMessage& message) {
  std::string line;
  line.reserve(message.text.size() + 1);
  line.append(message.text).push_back('\n');
  std::string_view rest = line;
  while (!rest.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

void writeToStandardSink(const LogMessage& message) {
  using Journal = std::optional<internal::Journal>;
  // Still there for what is logged while the process ends.
  static const Journal& journal =
      *std::make_unique<Journal>(internal::Journal::behindStandardError(
                                     std::getenv("JOURNAL_STREAM")))
           .release();
  if (!journal || !journal->send(message)) writeToStandardError(message);
}

std::mutex& sinkLock() {
  static std::mutex lock;
  return lock;
}

// The host's sink; null while the standard one is in force. Guarded by
// sinkLock(). Shared, so that a sink lives until its last message has returned;
// still there for what other threads log while the process ends.
std::shared_ptr<const LogSink>& hostSink() {
  using Shared = std::shared_ptr<const LogSink>;
  static Shared& sink = *std::make_unique<Shared>().release();
  return sink;
}

}  // namespace

LogSink setLogSink(LogSink sink) {
  std::shared_ptr<const LogSink> next;
  if (sink) next = std::make_shared<const LogSink>(std::move(sink));
  const std::lock_guard guard(sinkLock());
  std::swap(hostSink(), next);
  return next ? *next : LogSink();
}

Logger::Logger(std::string_view subsystem, std::string_view category)
    : subsystem_(subsystem), category_(category) {}

void Logger::log(LogType type, std::string_view text) const {
  const LogMessage message{subsystem_, category_, type, text};
  std::shared_ptr<const LogSink> sink;
  {
    const std::lock_guard guard(sinkLock());
    sink = hostSink();
  }
  if (sink) {
    (*sink)(message);
  } else {
    writeToStandardSink(message);
  }
}

}  // namespace quillhaven::platform
