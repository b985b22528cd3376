#include "cli/message_output.h"

#include <cstddef>
#include <vector>

#include "quillhaven/html/html_data.h"

namespace quillhaven::cli {
namespace {

using mail::EmailMessageParser;
using Addresses = std::vector<mail::EmailMessageParserAddress>;

void writeHeaders(JsonWriter& json, const mail::HeaderTable& headers) {
  json.beginObject();
  for (std::size_t i = 0; i < headers.size(); ++i) {
    json.key(headers.nameAt(i));
    json.beginArray();
    for (const std::string_view value : headers.valuesAt(i)) json.value(value);
    json.endArray();
  }
  json.endObject();
}

void writeAddresses(JsonWriter& json, const Addresses& addresses) {
  json.beginArray();
  for (const auto& [name, address] : addresses) {
    json.beginObject();
    json.key("name");
    json.value(name);
    json.key("address");
    json.value(address);
    json.endObject();
  }
  json.endArray();
}

JsonWriter::Layout layoutOf(MessageFormat format) {
  return format == MessageFormat::kJson ? JsonWriter::Layout::kIndented
                                        : JsonWriter::Layout::kOneLine;
}

std::string_view withoutBlanksAtEnds(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

// A view into `text`, for reading: empty when it is absent.
std::string_view shown(const std::optional<std::string>& text) {
  return text ? withoutBlanksAtEnds(*text) : std::string_view();
}

// Appends "Label: name <address>, address" and a line feed; nothing without
// addresses. The parser keeps the blank before an address; people need not.
void appendAddresses(std::string& text, std::string_view label,
                     const Addresses& addresses) {
  bool isFirst = true;
  for (const auto& entry : addresses) {
    const std::string_view name = shown(entry.name);
    const std::string_view address = shown(entry.address);
    if (name.empty() && address.empty()) continue;
    text.append(isFirst ? label : ", ");
    isFirst = false;
    text.append(name);
    if (name.empty()) {
      text.append(address);
    } else if (!address.empty()) {
      text.append(" <").append(address).append(">");
    }
  }
  if (!isFirst) text.push_back('\n');
}

// Appends a body after an empty line; nothing when it is empty.
void appendBody(std::string& text, std::string_view body) {
  if (body.empty()) return;
  text.append("\n").append(body);
  if (!body.ends_with('\n')) text.push_back('\n');
}

void appendText(std::string& text, const EmailMessageParser& message) {
  if (const auto subject = message.subject()) {
    text.append("Subject: ").append(*subject).append("\n");
  }
  appendAddresses(text, "From: ", message.from());
  appendAddresses(text, "To: ", message.to());
  appendAddresses(text, "Reply-To: ", message.replyTo());
  if (message.plainTextBody()) {
    appendBody(text, *message.plainTextBody());
  } else if (message.htmlBody()) {
    appendBody(text, html::stringWithHTMLText(*message.htmlBody()));
  }
}

}  // namespace

void writeContentType(JsonWriter& json, std::string_view value) {
  std::string type;
  std::string subtype;
  const auto parameters =
      EmailMessageParser::parseContentTypeField(value, &type, &subtype);
  json.beginObject();
  json.key("mediaType");
  json.value(type);
  json.key("mediaSubtype");
  json.value(subtype);
  json.key("parameters");
  json.beginObject();
  for (const auto& [name, parameter] : parameters) {
    json.key(name);
    json.value(parameter);
  }
  json.endObject();
  json.endObject();
}

void writeMessage(JsonWriter& json, const EmailMessageParser& message) {
  json.beginObject();
  json.key("url");
  json.value(message.url());
  json.key("parsed");
  json.value(true);
  json.key("headers");
  writeHeaders(json, message.headerDictionary());
  json.key("subject");
  json.value(message.subject());
  json.key("from");
  writeAddresses(json, message.from());
  json.key("to");
  writeAddresses(json, message.to());
  json.key("replyTo");
  writeAddresses(json, message.replyTo());
  json.key("contentType");
  writeContentType(json, message.headerContentType());
  json.key("contentTransferEncoding");
  json.value(static_cast<int>(message.headerContentTransferEncoding()));
  json.key("contentLength");
  json.value(message.contentLength());
  json.key("plainTextBody");
  json.value(message.plainTextBody());
  json.key("htmlBody");
  json.value(message.htmlBody());
  json.endObject();
}

void writeFailedMessage(JsonWriter& json,
                        const std::optional<std::string>& url) {
  json.beginObject();
  json.key("url");
  json.value(url);
  json.key("parsed");
  json.value(false);
  json.endObject();
}

void appendMessage(std::string& text, const EmailMessageParser& message,
                   MessageFormat format) {
  if (format == MessageFormat::kText) {
    appendText(text, message);
    return;
  }
  JsonWriter json(text, layoutOf(format));
  writeMessage(json, message);
  text.push_back('\n');
}

void appendFailedMessage(std::string& text,
                         const std::optional<std::string>& url,
                         MessageFormat format) {
  if (format == MessageFormat::kText) return;
  JsonWriter json(text, layoutOf(format));
  writeFailedMessage(json, url);
  text.push_back('\n');
}

}  // namespace quillhaven::cli
