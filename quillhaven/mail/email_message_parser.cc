#include "quillhaven/mail/email_message_parser.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <limits>
#include <utility>

#include "quillhaven/mail/internal/body_decoding.h"
#include "quillhaven/mail/internal/content_type.h"
#include "quillhaven/mail/internal/header_block_reader.h"
#include "quillhaven/mail/internal/message_bodies.h"
#include "quillhaven/mail/internal/multipart_walk.h"
#include "quillhaven/mail/internal/parser_log.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/scanner.h"
#include "quillhaven/platform/text/utf16.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::mail {
namespace {

using internal::ContentType;
using internal::MessageBodies;
using internal::trimmedQuotes;
using platform::internal::trimmedBlanks;

constexpr std::string_view kSevenBit = "7bit";
constexpr std::string_view kPlainTextContentType =
    "text/plain; charset=us-ascii";

bool isContinuationByte(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The number that a first line holds, blanks and tabs around it allowed, or
// nothing if it holds anything else.
std::optional<std::size_t> numberOfLine(std::string_view line) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
  while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
  while (!line.empty() && isBlank(line.back())) line.remove_suffix(1);
  if (line.empty()) return std::nullopt;
  std::size_t number = 0;
  for (const char c : line) {
    if (!platform::isASCIIDigit(c)) return std::nullopt;
    // Large enough to be larger than any text.
    number = std::min(number * 10 + static_cast<std::size_t>(c - '0'),
                      std::numeric_limits<std::size_t>::max() / 16);
  }
  return number;
}

// A message's text with the position where its header begins.
struct MessageText {
  std::string_view text;
  std::size_t header;
};

// Honours a line with the message's length before it: the message is that many
// bytes, if there are more than those, and else all the rest.
MessageText withoutLengthLine(std::string_view text) {
  const std::size_t lineEnd = platform::internal::findNewline(text, 0);
  const auto length = numberOfLine(text.substr(0, lineEnd));
  if (!length) return {text, 0};
  std::size_t start = lineEnd;
  while (const std::size_t space =
             platform::internal::spaceLength(text, start)) {
    start += space;
  }
  // The position is counted in UTF-16 units and used as a byte offset. That
  // only differs after wide blanks, where other components cut the same.
  const std::size_t offset =
      platform::lengthInUTF16Units(text.substr(0, start));
  if (text.size() - offset <= *length) return {text, start};
  const std::string_view cut = text.substr(offset, *length);
  const bool isWhole = !isContinuationByte(text[offset]) &&
                       !isContinuationByte(text[offset + *length]);
  return {isWhole ? cut : std::string_view(), 0};
}

std::optional<std::string> contentsOfFile(std::string_view url) {
  const auto path = platform::pathFromFileURL(url);
  if (!path) return std::nullopt;
  std::ifstream file(*path, std::ios::binary | std::ios::ate);
  if (!file) return std::nullopt;
  const std::streamoff size = file.tellg();
  std::string bytes;
  if (size > 0 && static_cast<std::size_t>(size) <= kMaximumMessageSize) {
    bytes.resize(static_cast<std::size_t>(size));
    file.seekg(0);
    file.read(bytes.data(), size);
    if (!file) return std::nullopt;
  }
  return bytes;
}

EmailMessageParserAddress addressFromPiece(std::string_view piece) {
  EmailMessageParserAddress result;
  std::string_view address = piece;
  const std::size_t open = piece.find('<');
  if (open != std::string_view::npos &&
      piece.find('>') != std::string_view::npos) {
    const std::string_view name = trimmedBlanks(piece.substr(0, open));
    if (!name.empty()) result.name.emplace(trimmedQuotes(name));
    const std::string_view rest = piece.substr(open + 1);
    const std::string_view enclosed = rest.substr(0, rest.find('>'));
    if (!enclosed.empty()) address = enclosed;
  }
  result.address.emplace(address);
  return result;
}

// A transfer encoding as the header names it, brought into one form.
std::string normalisedTransferEncoding(std::string_view value) {
  static const platform::CharacterSet trimmedCharacters =
      platform::CharacterSet::whitespace().unionWith(
          platform::CharacterSet::withCharactersIn(";\""));
  std::string name = platform::lowercased(trimmedCharacters.trimmed(value));
  for (const std::string_view hyphened : {"8-bit", "7-bit"}) {
    for (std::size_t at = name.find(hyphened); at != std::string::npos;
         at = name.find(hyphened, at)) {
      name.erase(at + 1, 1);
    }
  }
  return name;
}

}  // namespace

std::optional<EmailMessageParser>
EmailMessageParser::parserWithURLContentsOfURL(std::string_view url) {
  return initWithWithContentsOfURL(url);
}

std::optional<EmailMessageParser> EmailMessageParser::parserWithData(
    std::string_view messageBytes) {
  return initWithData(messageBytes);
}

std::optional<EmailMessageParser> EmailMessageParser::initWithWithContentsOfURL(
    std::string_view url) {
  const std::string messageBytes = contentsOfFile(url).value_or(std::string());
  return initWithData(messageBytes, std::string(url));
}

std::optional<EmailMessageParser> EmailMessageParser::initWithData(
    std::string_view messageBytes) {
  return initWithData(messageBytes, std::nullopt);
}

std::optional<EmailMessageParser> EmailMessageParser::initWithData(
    std::string_view messageBytes, std::optional<std::string> url) {
  if (messageBytes.size() >= kMaximumMessageSize) return std::nullopt;
  // ASCII, the other encoding a message may be in, is valid UTF-8.
  if (!platform::isValidUTF8(messageBytes)) return std::nullopt;
  return parse(messageBytes, std::move(url), 0);
}

std::optional<EmailMessageParser> EmailMessageParser::parse(
    std::string_view text, std::optional<std::string> url, int depth) {
  if (text.empty()) return std::nullopt;
  const MessageText message = withoutLengthLine(text);
  if (message.text.empty()) return std::nullopt;

  std::optional<EmailMessageParser> parser(std::in_place);
  parser->url_ = std::move(url);
  const std::size_t headerEnd = internal::HeaderBlockReader::read(
      message.text, message.header, parser->headerDictionary_);
  const HeaderTable& headers = parser->headerDictionary_;
  if (!headers.find("subject") && !headers.find("content-type") &&
      !headers.find("mime-version")) {
    internal::logInvalidHeader(parser->url_);
    return std::nullopt;
  }
  const std::size_t body = internal::skipToNextNewline(message.text, headerEnd);

  // Parameters say how to read a body; without one the types are enough.
  std::string_view contentType = parser->headerContentType();
  if (body == message.text.size()) {
    contentType = contentType.substr(0, contentType.find(';'));
  }
  const ContentType content(contentType);
  if (content.type == "text") {
    parser->readSinglePart(message.text.substr(body), content);
  } else if (content.type == "multipart") {
    parser->readMultipart(message.text, body, content, depth);
  }
  return parser;
}

void EmailMessageParser::readSinglePart(std::string_view body,
                                        const ContentType& content) {
  const std::string_view subtype = content.subtype;
  if (subtype != "plain" && subtype != "html") {
    internal::logUnknownSubtype(subtype);
    return;
  }
  if (body.empty()) return;
  platform::StringEncoding charset = platform::kStringEncodingInvalid;
  if (content.charset) {
    charset = platform::stringEncodingForIANAName(*content.charset);
  }
  if (charset == platform::kStringEncodingInvalid) {
    charset = platform::kStringEncodingUTF8;
  }
  std::optional<internal::DecodedBody> decoded =
      internal::decodedBody(body, headerContentTransferEncoding(), charset);
  if (!decoded) return;
  bodies_ = std::make_shared<MessageBodies>();
  if (subtype == "plain") {
    bodies_->takePlainText(std::move(*decoded).take());
  } else {
    bodies_->takeHTMLDocument(std::move(*decoded).take(), charset);
  }
}

void EmailMessageParser::readMultipart(std::string_view text, std::size_t body,
                                       const ContentType& content, int depth) {
  const std::string_view subtype = content.subtype;
  if (subtype == "report" || subtype == "encrypted") return;
  if (subtype != "alternative" && subtype != "mixed" && subtype != "related" &&
      subtype != "signed") {
    internal::logUnhandledMultipart(subtype, url_);
    return;
  }
  if (!content.boundary || body == text.size()) return;
  const internal::PartRecords records =
      internal::collectParts(text, body, *content.boundary);

  bodies_ = std::make_shared<MessageBodies>();
  // The order is fixed: attached messages, then plain text, then HTML.
  // Deliberate: stored bodies were joined so.
  for (const internal::PartRecord& record : records.rfc822) {
    if (depth == kMaximumAttachedMessageDepth) {
      internal::logAttachedTooDeep(url_);
      break;
    }
    auto attached = parse(record.message, std::nullopt, depth + 1);
    if (attached) bodies_->takeAttached(std::move(attached->bodies_));
  }
  for (const internal::PartRecord& record : records.plain) {
    auto decoded = internal::decodedBody(
        record.message, record.contentTransferEncoding, record.charset);
    if (decoded) bodies_->takePlainText(std::move(*decoded).take());
  }
  for (const internal::PartRecord& record : records.html) {
    auto decoded = internal::decodedBody(
        record.message, record.contentTransferEncoding, record.charset);
    if (decoded) bodies_->takeHTML(std::move(*decoded).take());
  }
}

bool EmailMessageParser::getDecodedTextForBodyPart(
    std::string_view bodyText, ContentTransferEncoding encoding,
    platform::StringEncoding charset, bool isHTML,
    std::optional<std::string>* plainTextBody,
    std::optional<std::string>* htmlBody) {
  if (plainTextBody != nullptr) plainTextBody->reset();
  if (htmlBody != nullptr) htmlBody->reset();
  std::optional<internal::DecodedBody> decoded =
      internal::decodedBody(bodyText, encoding, charset);
  if (!decoded) return false;
  if (!isHTML) {
    if (plainTextBody != nullptr) *plainTextBody = std::move(*decoded).take();
    return true;
  }
  if (plainTextBody != nullptr) {
    *plainTextBody = internal::plainTextOfHTML(decoded->text(), charset);
  }
  if (htmlBody != nullptr) *htmlBody = std::move(*decoded).take();
  return true;
}

std::optional<std::string> EmailMessageParser::contentType() const {
  return std::nullopt;
}

ContentTransferEncoding EmailMessageParser::contentTransferEncoding() const {
  return ContentTransferEncoding::Unknown;
}

const std::optional<std::string>& EmailMessageParser::plainTextBody() const {
  static const std::optional<std::string> kNone;
  return bodies_ ? bodies_->plainText() : kNone;
}

const std::optional<std::string>& EmailMessageParser::htmlBody() const {
  static const std::optional<std::string> kNone;
  return bodies_ ? bodies_->html() : kNone;
}

std::optional<HeaderTable::Values> EmailMessageParser::valuesForHeaderFieldName(
    std::string_view name) const {
  return headerDictionary_.find(name);
}

std::optional<std::string> EmailMessageParser::subject() const {
  const auto values = valuesForHeaderFieldName("subject");
  if (!values) return std::nullopt;
  std::string joined(values->front());
  auto value = values->begin();
  while (++value != values->end()) joined.append(" ").append(*value);
  return joined;
}

std::vector<EmailMessageParserAddress> EmailMessageParser::from() const {
  return emailAddressesForHeaderField("from");
}

std::vector<EmailMessageParserAddress> EmailMessageParser::to() const {
  return emailAddressesForHeaderField("to");
}

std::vector<EmailMessageParserAddress> EmailMessageParser::replyTo() const {
  return emailAddressesForHeaderField("reply-to");
}

std::vector<EmailMessageParserAddress>
EmailMessageParser::emailAddressesForHeaderField(std::string_view name) const {
  std::vector<EmailMessageParserAddress> addresses;
  const auto values = valuesForHeaderFieldName(name);
  if (!values) return addresses;
  std::size_t count = 0;
  for (const std::string_view value : *values) {
    count +=
        static_cast<std::size_t>(std::count(value.begin(), value.end(), ',')) +
        1;
  }
  addresses.reserve(count);
  for (std::string_view value : *values) {
    while (true) {
      const std::size_t comma = value.find(',');
      addresses.push_back(addressFromPiece(value.substr(0, comma)));
      if (comma == std::string_view::npos) break;
      value.remove_prefix(comma + 1);
    }
  }
  return addresses;
}

std::string_view EmailMessageParser::headerContentType() const {
  const auto values = valuesForHeaderFieldName("content-type");
  return values ? values->back() : defaultPlainTextContentType();
}

std::vector<std::string_view> EmailMessageParser::_headerContentType() const {
  const auto values = valuesForHeaderFieldName("content-type");
  if (!values) return {defaultPlainTextContentType()};
  return {values->begin(), values->end()};
}

ContentTransferEncoding EmailMessageParser::headerContentTransferEncoding()
    const {
  const auto values = valuesForHeaderFieldName("content-transfer-encoding");
  if (!values) return ContentTransferEncoding::SevenBit;
  return contentTransferEncodingForString(
      normalisedTransferEncoding(values->back()));
}

std::vector<std::string> EmailMessageParser::_headerContentTransferEncoding()
    const {
  const auto values = valuesForHeaderFieldName("content-transfer-encoding");
  if (!values) return {std::string(defaultContentTransferEncoding())};
  std::vector<std::string> normalised;
  for (const std::string_view value : *values) {
    normalised.push_back(normalisedTransferEncoding(value));
  }
  return normalised;
}

std::int64_t EmailMessageParser::contentLength() const {
  const auto values = _contentLength();
  if (!values) return 0;
  platform::Scanner scanner(values->back());
  scanner.skipping(&platform::CharacterSet::whitespaceAndNewlines());
  return scanner.scanInteger().value_or(0);
}

std::optional<HeaderTable::Values> EmailMessageParser::_contentLength() const {
  return valuesForHeaderFieldName("content-length");
}

ContentTransferEncoding EmailMessageParser::contentTransferEncodingForString(
    std::string_view text) {
  const std::string lower = platform::lowercased(text);
  const std::string_view name = trimmedQuotes(
      platform::CharacterSet::whitespaceAndNewlines().trimmed(lower));
  if (name == kSevenBit) return ContentTransferEncoding::SevenBit;
  if (name == "8bit") return ContentTransferEncoding::EightBit;
  if (name == "quoted-printable") {
    return ContentTransferEncoding::QuotedPrintable;
  }
  if (name == "base64") return ContentTransferEncoding::Base64;
  if (name == "binary") return ContentTransferEncoding::Binary;
  return ContentTransferEncoding::Unknown;
}

ContentTypeParameters EmailMessageParser::parseContentTypeField(
    std::string_view value, std::string* resultingMediaType,
    std::string* mediaSubtype) {
  internal::ContentTypeReader reader(value);
  if (resultingMediaType != nullptr) *resultingMediaType = reader.type();
  if (mediaSubtype != nullptr) *mediaSubtype = reader.subtype();
  ContentTypeParameters parameters;
  while (const auto parameter = reader.next()) {
    parameters.insert_or_assign(platform::lowercased(parameter->name),
                                platform::lowercased(parameter->value));
  }
  return parameters;
}

std::optional<platform::Scanner> EmailMessageParser::messageScannerForString(
    std::string_view text) {
  if (text.empty()) return std::nullopt;
  return platform::Scanner(text);
}

void EmailMessageParser::skipToNextNewlineInScanner(
    platform::Scanner& scanner) {
  scanner.setPosition(
      internal::skipToNextNewline(scanner.text(), scanner.position()));
}

HeaderTable EmailMessageParser::scanHeaderAtCurrentPositionInScanner(
    platform::Scanner& scanner) {
  HeaderTable table;
  scanner.setPosition(internal::HeaderBlockReader::read(
      scanner.text(), scanner.position(), table));
  return table;
}

std::string_view EmailMessageParser::defaultContentTransferEncoding() {
  return kSevenBit;
}

std::string_view EmailMessageParser::defaultPlainTextContentType() {
  return kPlainTextContentType;
}

void EmailMessageParser::addPlainTextBody(
    std::optional<std::string_view> text) {
  if (!text) return;
  bodies_ = MessageBodies::goingOnFrom(std::move(bodies_));
  bodies_->takePlainText(std::string(*text));
}

void EmailMessageParser::addHTMLBody(std::optional<std::string_view> text) {
  if (!text) return;
  bodies_ = MessageBodies::goingOnFrom(std::move(bodies_));
  bodies_->takeHTML(std::string(*text));
}

std::optional<std::string>
EmailMessageParser::stringByRemovingNewlinesAtEndOfString(
    std::optional<std::string_view> text) {
  if (!text || text->empty()) return std::nullopt;
  return std::string(
      text->substr(0, internal::lengthWithoutNewlinesAtEnd(*text)));
}

}  // namespace quillhaven::mail
