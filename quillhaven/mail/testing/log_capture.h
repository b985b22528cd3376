// Collects the log while a test runs.
#ifndef QUILLHAVEN_MAIL_TESTING_LOG_CAPTURE_H_
#define QUILLHAVEN_MAIL_TESTING_LOG_CAPTURE_H_

#include <string>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/log.h"

namespace quillhaven::mail::testing_support {

// Receives all messages of the log from its making to its end. One thread at a
// time.
class LogCapture {
 public:
  LogCapture()
      : before_(platform::setLogSink([this](const platform::LogMessage& m) {
          lines_.emplace_back(m.text);
        })) {}
  ~LogCapture() { platform::setLogSink(std::move(before_)); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
  platform::LogSink before_;
};

}  // namespace quillhaven::mail::testing_support

#endif  // QUILLHAVEN_MAIL_TESTING_LOG_CAPTURE_H_
