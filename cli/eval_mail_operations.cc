// The operations of `quillhaven eval` on messages and their headers.
#include "cli/eval_operation.h"
#include "cli/message_output.h"
#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/mail/encoded_words.h"
#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::cli {
namespace {

using mail::EmailMessageParser;

void alternativeTextEncodings(const Arguments& arguments, JsonWriter& result) {
  const auto encodings =
      mail::alternativeTextEncodingsForEncoding(arguments.uint32("encoding"));
  if (!encodings) {
    result.null();
    return;
  }
  result.beginArray();
  for (const platform::StringEncoding encoding : *encodings) {
    result.value(encoding);
  }
  result.endArray();
}

void parserWithData(const Arguments& arguments, JsonWriter& result) {
  const std::string messageBytes = arguments.base64("dataBase64");
  const auto message = EmailMessageParser::parserWithData(messageBytes);
  if (message) {
    writeMessage(result, *message);
  } else {
    writeFailedMessage(result, std::nullopt);
  }
}

void parseContentTypeField(const Arguments& arguments, JsonWriter& result) {
  writeContentType(result, arguments.text());
}

constexpr EvalOperation kOperations[] = {
    {"isMimeEncodedString", onText<mail::isMimeEncodedString>},
    {"stringWithMimeEncodedString", onText<mail::stringWithMimeEncodedString>},
    {"alternativeTextEncodingsForEncoding", alternativeTextEncodings},
    {"encodingForIANAName", onText<platform::stringEncodingForIANAName>},
    {"parserWithData", parserWithData},
    {"parseContentTypeField", parseContentTypeField},
    {"contentTransferEncodingForString",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(static_cast<int>(
           EmailMessageParser::contentTransferEncodingForString(
               arguments.text())));
     }},
    {"stringByRemovingNewlinesAtEndOfString",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(EmailMessageParser::stringByRemovingNewlinesAtEndOfString(
           arguments.stringOrNull("text")));
     }},
};

}  // namespace

std::span<const EvalOperation> mailOperations() { return kOperations; }

}  // namespace quillhaven::cli
