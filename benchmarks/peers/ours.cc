#include "benchmarks/peers/contender.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/mail/email_message_parser.h"

namespace quillhaven::benchmarks {
namespace {

using mail::EmailMessageParser;
using mail::EmailMessageParserAddress;

std::size_t sizeOf(const std::optional<std::string>& text) {
  return text ? text->size() : 0;
}

// Reads the addresses; their text is part of the header text already.
std::size_t textOf(const std::vector<EmailMessageParserAddress>& addresses) {
  std::size_t size = 0;
  for (const EmailMessageParserAddress& address : addresses) {
    size += sizeOf(address.name) + sizeOf(address.address);
  }
  return size;
}

Produced parseMail(std::string_view bytes) {
  const auto message = EmailMessageParser::parserWithData(bytes);
  if (!message) return {0, 0, 1};
  Produced produced;
  const mail::HeaderTable& headers = message->headerDictionary();
  for (std::size_t i = 0; i < headers.size(); ++i) {
    for (const std::string_view value : headers.valuesAt(i)) {
      produced.headerText += value.size();
    }
  }
  produced.headerText += textOf(message->from()) + textOf(message->to()) +
                         textOf(message->replyTo());
  produced.bodyText =
      sizeOf(message->plainTextBody()) + sizeOf(message->htmlBody());
  return produced;
}

Produced parseHeaders(std::string_view bytes) {
  const auto message = EmailMessageParser::parserWithData(bytes);
  if (!message) return {0, 0, 1};
  return {message->headerDictionary().size(), 0, 0};
}

Produced readHTMLData(std::string_view bytes) {
  return {0, html::stringWithHTMLData(bytes).size(), 0};
}

Produced convertToPlainText(std::string_view bytes) {
  return {0, html::stringByConvertingHTMLToPlainText(bytes).size(), 0};
}

}  // namespace

Contender ourMailParser() { return {"ours", parseMail}; }
Contender ourHeaderParser() { return {"ours", parseHeaders, false}; }
Contender ourHTMLData() { return {"stringWithHTMLData", readHTMLData}; }
Contender ourPlainText() {
  return {"stringByConvertingHTMLToPlainText", convertToPlainText};
}

}  // namespace quillhaven::benchmarks
