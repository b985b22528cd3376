// mimetic knows neither encoded words nor charsets: its codecs undo Base64 and
// quoted-printable, the rest is done here with iconv.
#include <mimetic/mimetic.h>

#include <iterator>

#include "benchmarks/peers/charset_converter.h"
#include "benchmarks/peers/contender.h"

namespace quillhaven::benchmarks {
namespace {

template <typename Codec>
std::string decodedWith(Codec codec, std::string_view encoded) {
  std::string decoded;
  decoded.reserve(encoded.size());
  ::mimetic::decode(encoded.begin(), encoded.end(), codec,
                    std::back_inserter(decoded));
  return decoded;
}

// One encoded word at the start of a text, with the text that it stands for.
struct Word {
  std::size_t size;  // in bytes, 0 when there is no word
  std::string text;
};

// Reads the encoded word at the start of `value`, which begins with "=?".
Word readEncodedWord(std::string_view value, Produced& produced) {
  const std::size_t charsetEnd = value.find('?', 2);
  if (charsetEnd == std::string_view::npos) return {};
  const std::size_t start = charsetEnd + 3;
  if (start > value.size() || value[start - 1] != '?') return {};
  const std::size_t end = value.find("?=", start);
  if (end == std::string_view::npos) return {};

  const std::string_view encoded = value.substr(start, end - start);
  std::string bytes;
  const char type = value[charsetEnd + 1];
  if (type == 'B' || type == 'b') {
    bytes = decodedWith(::mimetic::Base64::Decoder(), encoded);
  } else if (type == 'Q' || type == 'q') {
    std::string blanks(encoded);
    std::replace(blanks.begin(), blanks.end(), '_', ' ');
    bytes = decodedWith(::mimetic::QP::Decoder(), blanks);
  } else {
    return {};
  }
  std::optional<std::string> text =
      utf8FromCharset(bytes, value.substr(2, charsetEnd - 2));
  if (!text) ++produced.failures;
  return {end + 2, text ? std::move(*text) : std::move(bytes)};
}

// Returns `value` with its encoded words decoded and the blanks between two of
// them left out.
std::string decodedWords(std::string_view value, Produced& produced) {
  std::string text;
  std::size_t at = 0;
  bool followsWord = false;
  while (true) {
    const std::size_t opening = std::min(value.find("=?", at), value.size());
    const std::string_view between = value.substr(at, opening - at);
    const bool isBlank =
        between.find_first_not_of(" \t\r\n") == std::string_view::npos;
    if (opening == value.size()) return text.append(between);
    const Word word = readEncodedWord(value.substr(opening), produced);
    if (word.size == 0) {
      text.append(between).append("=?");
      at = opening + 2;
      followsWord = false;
      continue;
    }
    if (!followsWord || !isBlank) text += between;
    text += word.text;
    at = opening + word.size;
    followsWord = true;
  }
}

std::size_t textOf(const ::mimetic::Mailbox& mailbox, Produced& produced) {
  return decodedWords(mailbox.label(), produced).size() +
         mailbox.mailbox().size() + mailbox.domain().size();
}

std::size_t textOf(const ::mimetic::AddressList& addresses,
                   Produced& produced) {
  std::size_t size = 0;
  for (const ::mimetic::Address& address : addresses) {
    if (!address.isGroup()) {
      size += textOf(address.mailbox(), produced);
      continue;
    }
    size += address.group().name().size();
    for (const auto& mailbox : address.group()) {
      size += textOf(mailbox, produced);
    }
  }
  return size;
}

void readHeaders(const ::mimetic::Header& header, Produced& produced) {
  for (const ::mimetic::Field& field : header) {
    produced.headerText += decodedWords(field.value(), produced).size();
  }
  for (const auto& mailbox : header.from()) {
    produced.headerText += textOf(mailbox, produced);
  }
  produced.headerText += textOf(header.to(), produced);
  produced.headerText += textOf(header.replyto(), produced);
}

void readText(const ::mimetic::MimeEntity& entity, Produced& produced) {
  const auto& encoding = entity.header().contentTransferEncoding().mechanism();
  const std::string& charset = entity.header().contentType().param("charset");
  const std::string& body = entity.body();
  std::optional<std::string> text;
  if (encoding == "base64") {
    text = utf8FromCharset(decodedWith(::mimetic::Base64::Decoder(), body),
                           charset);
  } else if (encoding == "quoted-printable") {
    text =
        utf8FromCharset(decodedWith(::mimetic::QP::Decoder(), body), charset);
  } else {
    text = utf8FromCharset(body, charset);
  }
  if (!text) ++produced.failures;
  produced.bodyText += text ? text->size() : body.size();
}

// Attached messages are parts of the entity that holds them.
void readEntity(const ::mimetic::MimeEntity& entity, Produced& produced) {
  readHeaders(entity.header(), produced);
  const auto& parts = entity.body().parts();
  for (const ::mimetic::MimeEntity* part : parts) readEntity(*part, produced);
  const ::mimetic::ContentType& type = entity.header().contentType();
  if (parts.empty() && (type.type() == "text" || type.type().empty())) {
    readText(entity, produced);
  }
}

Produced parse(std::string_view message) {
  const std::string_view bytes = withoutStoreLine(message);
  const ::mimetic::MimeEntity entity(bytes.data(), bytes.data() + bytes.size());
  Produced produced;
  readEntity(entity, produced);
  return produced;
}

}  // namespace

Contender mimetic() { return {"mimetic", parse}; }

}  // namespace quillhaven::benchmarks
