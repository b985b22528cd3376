#include "quillhaven/mail/internal/parser_log.h"

#include "quillhaven/platform/base/log.h"

namespace quillhaven::mail::internal {
namespace {

const platform::Logger& parserLogger() {
  static const platform::Logger logger("com.quillhaven.utilities", "mail");
  return logger;
}

// How the log shows where a message came from.
std::string shown(const std::optional<std::string>& url) {
  return url.value_or("(null)");
}

}  // namespace

void logInvalidHeader(const std::optional<std::string>& url) {
  parserLogger().log(platform::LogType::kError,
                     "*** Error: Email header is invalid: " + shown(url));
}

void logUnknownSubtype(std::string_view subtype) {
  parserLogger().log(
      platform::LogType::kDefault,
      "*** Warning: Unknown subtype " + std::string(subtype) + ". Ignoring.");
}

void logUnhandledMultipart(std::string_view subtype,
                           const std::optional<std::string>& url) {
  parserLogger().log(platform::LogType::kError,
                     "*** Error: Unhandled multipart type: " +
                         std::string(subtype) + " for url: " + shown(url));
}

void logUndecodableBase64() {
  parserLogger().log(platform::LogType::kError,
                     "*** Error: parsing base64 encoded body part.");
}

void logAttachedTooDeep(const std::optional<std::string>& url) {
  parserLogger().log(
      platform::LogType::kDefault,
      "*** Warning: Attached messages are nested too deeply. Ignoring: " +
          shown(url));
}

}  // namespace quillhaven::mail::internal
