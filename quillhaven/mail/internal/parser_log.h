// The lines that the message parser writes to the log. Support tools search for
// them, so their wording is fixed.
#ifndef QUILLHAVEN_MAIL_INTERNAL_PARSER_LOG_H_
#define QUILLHAVEN_MAIL_INTERNAL_PARSER_LOG_H_

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::mail::internal {

void logInvalidHeader(const std::optional<std::string>& url);
void logUnknownSubtype(std::string_view subtype);
void logUnhandledMultipart(std::string_view subtype,
                           const std::optional<std::string>& url);
void logUndecodableBase64();
void logAttachedTooDeep(const std::optional<std::string>& url);

}  // namespace quillhaven::mail::internal

#endif  // QUILLHAVEN_MAIL_INTERNAL_PARSER_LOG_H_
