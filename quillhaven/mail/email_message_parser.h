// Parses one stored e-mail message (RFC 5322, RFC 2045 to 2047) into a header
// table, addresses and joined plain-text and HTML bodies.
//
//   auto message = EmailMessageParser::parserWithData(messageBytes);
//   if (message) std::cout << message->subject().value_or("(no subject)");
#ifndef QUILLHAVEN_MAIL_EMAIL_MESSAGE_PARSER_H_
#define QUILLHAVEN_MAIL_EMAIL_MESSAGE_PARSER_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/mail/header_table.h"
#include "quillhaven/platform/text/scanner.h"
#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::mail {

namespace internal {
struct ContentType;
class MessageBodies;
}  // namespace internal

// MIME transfer encodings (RFC 2045, section 6). Hosts store the numbers.
enum class ContentTransferEncoding : int {
  Unknown = 0,
  SevenBit = 1,
  EightBit = 2,
  QuotedPrintable = 3,
  Base64 = 4,
  Binary = 5,
};

// One address of a "From", "To" or "Reply-To" field.
struct EmailMessageParserAddress {
  std::optional<std::string> name;
  std::optional<std::string> address;

  bool operator==(const EmailMessageParserAddress&) const = default;
};

// Parameters of a content type: lower-cased names to lower-cased values.
using ContentTypeParameters = std::map<std::string, std::string, std::less<>>;

// Messages of this many bytes or more are refused.
inline constexpr std::size_t kMaximumMessageSize = 0xFFFFFFFF;

// Attached messages are followed this deep; those below contribute nothing.
inline constexpr int kMaximumAttachedMessageDepth = 32;

// A message, parsed once when it is made and only read afterwards. Problems are
// written to the log ("*** Error: ...", "*** Warning: ..."). The text of a
// message is its bytes as UTF-8; a message that is not valid UTF-8 is refused.
// Time grows linearly with the size; memory stays a small multiple of it. One
// thread at a time; several may read.
class EmailMessageParser {
 public:
  // Reads the file at a "file" URL and parses it, with the URL for the log.
  // Nothing when it cannot be read or is no message.
  [[nodiscard]] static std::optional<EmailMessageParser>
  parserWithURLContentsOfURL(std::string_view url);

  // Parses the bytes of a stored message, with or without the line before it
  // that holds its length in bytes. Nothing when they are empty, not UTF-8, or
  // hold none of the fields "subject", "content-type" and "mime-version". The
  // bytes are not needed after the call.
  [[nodiscard]] static std::optional<EmailMessageParser> parserWithData(
      std::string_view messageBytes);

  // The same operations under the names of the initialisers.
  [[nodiscard]] static std::optional<EmailMessageParser>
  initWithWithContentsOfURL(std::string_view url);
  [[nodiscard]] static std::optional<EmailMessageParser> initWithData(
      std::string_view messageBytes);
  [[nodiscard]] static std::optional<EmailMessageParser> initWithData(
      std::string_view messageBytes, std::optional<std::string> url);

  // Makes a parser of no message, with an empty header table.
  EmailMessageParser() = default;

  // Where the message was read from; absent for bytes.
  [[nodiscard]] const std::optional<std::string>& url() const { return url_; }

  // Always absent and always Unknown: parsing never fills them, and older hosts
  // count on that. Use headerContentType() and headerContentTransferEncoding().
  [[nodiscard]] std::optional<std::string> contentType() const;
  [[nodiscard]] ContentTransferEncoding contentTransferEncoding() const;

  // The joined bodies; absent when the message has none. They are put together
  // when they are first asked for, the plain text of an HTML message is made
  // then, and they live until a text is added or the last copy of this object
  // is gone.
  [[nodiscard]] const std::optional<std::string>& plainTextBody() const;
  [[nodiscard]] const std::optional<std::string>& htmlBody() const;

  // Every field, its values unfolded and decoded.
  [[nodiscard]] const HeaderTable& headerDictionary() const {
    return headerDictionary_;
  }
  [[nodiscard]] HeaderTable& headerDictionary() { return headerDictionary_; }

  // Returns the values under exactly `name` (lower case), or nothing.
  [[nodiscard]] std::optional<HeaderTable::Values> valuesForHeaderFieldName(
      std::string_view name) const;

  // The "subject" values joined with a blank; absent without such a field.
  [[nodiscard]] std::optional<std::string> subject() const;

  // The addresses of "from", "to" and "reply-to".
  [[nodiscard]] std::vector<EmailMessageParserAddress> from() const;
  [[nodiscard]] std::vector<EmailMessageParserAddress> to() const;
  [[nodiscard]] std::vector<EmailMessageParserAddress> replyTo() const;

  // Returns the addresses of a field, empty if it is absent. Values are split
  // at every comma, quoted or not, and an address without "<" and ">" keeps its
  // leading blank; hosts split further. Deliberate.
  [[nodiscard]] std::vector<EmailMessageParserAddress>
  emailAddressesForHeaderField(std::string_view name) const;

  // The last "content-type" value, or defaultPlainTextContentType(); all of
  // them, or that default alone. Views live as long as this object.
  [[nodiscard]] std::string_view headerContentType() const;
  [[nodiscard]] std::vector<std::string_view> _headerContentType() const;

  // The last "content-transfer-encoding" value as enumeration; all of them
  // normalised, or defaultContentTransferEncoding() alone.
  [[nodiscard]] ContentTransferEncoding headerContentTransferEncoding() const;
  [[nodiscard]] std::vector<std::string> _headerContentTransferEncoding() const;

  // The integer that the last "content-length" value begins with, 0 when there
  // is none; all of the values, or nothing.
  [[nodiscard]] std::int64_t contentLength() const;
  [[nodiscard]] std::optional<HeaderTable::Values> _contentLength() const;

  // Returns the encoding that a header text names; Unknown for other texts.
  [[nodiscard]] static ContentTransferEncoding contentTransferEncodingForString(
      std::string_view text);

  // Returns the parameters of a content type and, where the pointers are not
  // null, hands out its type and subtype, lower-cased. Without "/" both are the
  // same word. Values are lower-cased, boundaries too: delimiters are searched
  // without regard to letter case.
  static ContentTypeParameters parseContentTypeField(
      std::string_view value, std::string* resultingMediaType = nullptr,
      std::string* mediaSubtype = nullptr);

  // Returns a scanner over `text` that skips nothing and ignores letter case;
  // nothing when the text is empty. The text must outlive it.
  [[nodiscard]] static std::optional<platform::Scanner> messageScannerForString(
      std::string_view text);

  // Steps over the line break at the scanner's position, if there is one: each
  // newline character once, so that "\r\n" and "\n\r" are one break and of
  // "\n\n" the second stays.
  static void skipToNextNewlineInScanner(platform::Scanner& scanner);

  // Reads the header block at the scanner's position and leaves the scanner at
  // the blank line that ended it. A block that ends with the text instead loses
  // its last field.
  [[nodiscard]] static HeaderTable scanHeaderAtCurrentPositionInScanner(
      platform::Scanner& scanner);

  // "7bit", and "text/plain; charset=us-ascii".
  [[nodiscard]] static std::string_view defaultContentTransferEncoding();
  [[nodiscard]] static std::string_view defaultPlainTextContentType();

  // Decodes the text of one body part: undoes its transfer encoding, converts
  // it from `charset` and, for HTML, also derives plain text. Hands out what
  // the pointers that are not null ask for and returns true when there is any
  // text, be it empty. `bodyText` must be valid UTF-8.
  static bool getDecodedTextForBodyPart(
      std::string_view bodyText, ContentTransferEncoding encoding,
      platform::StringEncoding charset, bool isHTML,
      std::optional<std::string>* plainTextBody,
      std::optional<std::string>* htmlBody);

  // Append to the joined bodies; an absent or empty text is ignored. A second
  // HTML body replaces the first by the plain text and itself. Deliberate.
  void addPlainTextBody(std::optional<std::string_view> text);
  void addHTMLBody(std::optional<std::string_view> text);

  // Returns `text` without the newlines at its end; nothing for an empty or
  // absent text, an empty one when it has nothing but newlines.
  [[nodiscard]] static std::optional<std::string>
  stringByRemovingNewlinesAtEndOfString(std::optional<std::string_view> text);

 private:
  // Parses `text`, valid UTF-8, which lies `depth` attached messages deep.
  static std::optional<EmailMessageParser> parse(std::string_view text,
                                                 std::optional<std::string> url,
                                                 int depth);
  void readSinglePart(std::string_view body,
                      const internal::ContentType& content);
  void readMultipart(std::string_view text, std::size_t body,
                     const internal::ContentType& content, int depth);

  std::optional<std::string> url_;
  HeaderTable headerDictionary_;
  std::shared_ptr<internal::MessageBodies> bodies_;  // null: none
};

}  // namespace quillhaven::mail

#endif  // QUILLHAVEN_MAIL_EMAIL_MESSAGE_PARSER_H_
