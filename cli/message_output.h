// The forms in which `quillhaven parse` shows a message.
#ifndef QUILLHAVEN_CLI_MESSAGE_OUTPUT_H_
#define QUILLHAVEN_CLI_MESSAGE_OUTPUT_H_

#include <optional>
#include <string>
#include <string_view>

#include "cli/json_writer.h"
#include "quillhaven/mail/email_message_parser.h"

namespace quillhaven::cli {

enum class MessageFormat {
  kText,         // for reading
  kJson,         // an indented object
  kNewlineJson,  // an object on one line
};

// Stands between two messages in the text form.
inline constexpr std::string_view kMessageSeparator =
    "\n"
    "------------------------------------------------------------------------"
    "\n\n";

// Writes the object for the value of a content-type field.
void writeContentType(JsonWriter& json, std::string_view value);

// Writes the object for a parsed message.
void writeMessage(JsonWriter& json, const mail::EmailMessageParser& message);

// Writes the object for what is no message.
void writeFailedMessage(JsonWriter& json,
                        const std::optional<std::string>& url);

// Appends `message` in `format`, with a line feed at its end.
void appendMessage(std::string& text, const mail::EmailMessageParser& message,
                   MessageFormat format);

// The same for what is no message; nothing in the text form.
void appendFailedMessage(std::string& text,
                         const std::optional<std::string>& url,
                         MessageFormat format);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_MESSAGE_OUTPUT_H_
