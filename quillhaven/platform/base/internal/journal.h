// The system's journal, spoken to in its own datagrams: fields keep the
// subsystem and category, and no library is needed for it.
#ifndef QUILLHAVEN_PLATFORM_BASE_INTERNAL_JOURNAL_H_
#define QUILLHAVEN_PLATFORM_BASE_INTERNAL_JOURNAL_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/base/log.h"

namespace quillhaven::platform::internal {

// A socket to the journal. Thread-safe; a child process may go on with it.
class Journal {
 public:
  static constexpr const char* kSocketPath = "/run/systemd/journal/socket";

  // Returns the journal when standard error leads there, which `stream`, the
  // variable JOURNAL_STREAM ("device:inode"; may be null), says: a process
  // whose errors somebody redirects wants them there.
  static std::optional<Journal> behindStandardError(
      const char* stream, const char* socketPath = kSocketPath);

  Journal(Journal&& other) noexcept;
  ~Journal();

  // Returns whether the journal has taken the message.
  [[nodiscard]] bool send(const LogMessage& message) const;

 private:
  Journal(int socket, std::string path);

  [[nodiscard]] bool sendDatagram(std::string_view fields) const;
  [[nodiscard]] bool sendFile(std::string_view fields) const;

  int socket_;
  std::string path_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_BASE_INTERNAL_JOURNAL_H_
