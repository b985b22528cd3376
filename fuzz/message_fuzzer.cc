// Feeds the message parser with the bytes of a stored message.
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::fuzz {
namespace {

using mail::EmailMessageParser;
using mail::HeaderTable;

// Many fields can share one long value. What joins or splits all values of such
// a field then grows with the square of the message, so it is only called below
// this many bytes.
constexpr std::size_t kLargestField = 1 << 20;

// Far above what a header block may add by carrying values on.
constexpr std::size_t kMostCarriedBytes = std::size_t{4} << 20;

std::size_t sizeOfValues(const HeaderTable& table, std::string_view name) {
  std::size_t size = 0;
  if (const auto values = table.find(name)) {
    for (std::string_view value : *values) size += value.size();
  }
  return size;
}

void checkHeaders(const HeaderTable& table, std::size_t messageSize) {
  std::size_t stored = 0;
  std::size_t count = 0;
  std::unordered_set<const char*> seen;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::string_view name = table.nameAt(i);
    requireUTF8(name);
    require(platform::lowercased(name) == name, "field names are lower-case");
    require(table.find(name).has_value(), "each name leads to its values");
    for (std::string_view value : table.valuesAt(i)) {
      ++count;
      if (!seen.insert(value.data()).second) continue;
      stored += value.size();
      requireUTF8(value);
    }
  }
  require(count <= messageSize, "a value for at most every byte");
  // A value that is carried on to fields without one is decoded once more for
  // each of them; what that may add is limited whatever the size.
  require(stored <= 16 * messageSize + kMostCarriedBytes,
          "the table is bounded by the message");
}

void checkAddresses(const EmailMessageParser& message, std::string_view name) {
  if (sizeOfValues(message.headerDictionary(), name) > kLargestField) return;
  for (const auto& address : message.emailAddressesForHeaderField(name)) {
    requireUTF8(address.name.value_or(""));
    requireUTF8(address.address.value_or(""));
  }
}

void checkFields(const EmailMessageParser& message) {
  const HeaderTable& table = message.headerDictionary();
  for (std::string_view name : {"from", "to", "reply-to", "cc"}) {
    checkAddresses(message, name);
  }
  if (sizeOfValues(table, "subject") <= kLargestField) {
    requireUTF8(message.subject().value_or(""));
  }
  if (sizeOfValues(table, "content-transfer-encoding") <= kLargestField) {
    for (const auto& value : message._headerContentTransferEncoding()) {
      requireUTF8(value);
    }
    (void)message.headerContentTransferEncoding();
  }
  require(message._headerContentType().back() == message.headerContentType(),
          "the last content type counts");
  EmailMessageParser::parseContentTypeField(message.headerContentType());
  (void)message.contentLength();
}

void checkBodies(const EmailMessageParser& message, std::size_t messageSize) {
  // Three bytes out of one where Base64 or an 8-bit charset is at work, and
  // three more where the text of HTML gets list markers and line separators.
  const std::size_t bound = 9 * messageSize + 64;
  requireUTF8(message.plainTextBody().value_or(""));
  requireUTF8(message.htmlBody().value_or(""));
  require(message.plainTextBody().value_or("").size() <= bound,
          "the plain-text body is bounded by the message");
  // Each attached message can put the plain text before its HTML once more.
  require(message.htmlBody().value_or("").size() <=
              bound * (mail::kMaximumAttachedMessageDepth + 2),
          "the HTML body is bounded by the message");
}

// A message behind a line with its length is the same message, whatever follows
// its bytes.
void checkLengthLine(const EmailMessageParser& message,
                     std::string_view messageBytes) {
  // A first line without ":" may itself be a length, and blanks before the
  // message would be passed over.
  const std::size_t end = messageBytes.find_first_of("\n\r\f\v:");
  if (end == std::string_view::npos || messageBytes[end] != ':') return;
  if (platform::asciiPrefixLength(messageBytes) < end) return;
  if (messageBytes.front() == ' ' || messageBytes.front() == '\t') return;

  std::string stored = std::to_string(messageBytes.size());
  stored.append("\n").append(messageBytes).append("<?xml version=\"1.0\"?>\n");
  const auto again = EmailMessageParser::parserWithData(stored);
  require(again.has_value(), "a length line does no harm");
  require(
      again->plainTextBody() == message.plainTextBody() &&
          again->htmlBody() == message.htmlBody() &&
          again->headerDictionary().size() == message.headerDictionary().size(),
      "a length line changes nothing");
}

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  const std::string_view messageBytes = inputBytes(data, size);
  const auto message = EmailMessageParser::parserWithData(messageBytes);
  if (!message) return 0;
  require(quillhaven::platform::isValidUTF8(messageBytes),
          "a message that is not UTF-8 is refused");
  checkHeaders(message->headerDictionary(), size);
  checkFields(*message);
  checkBodies(*message, size);
  checkLengthLine(*message, messageBytes);
  return 0;
}
