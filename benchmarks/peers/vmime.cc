#include <vmime/platforms/posix/posixHandler.hpp>
#include <vmime/vmime.hpp>

#include "benchmarks/peers/contender.h"

namespace quillhaven::benchmarks {
namespace {

const ::vmime::charset& utf8() {
  static const ::vmime::charset charset("utf-8");
  return charset;
}

std::size_t textOf(const ::vmime::mailbox& mailbox) {
  return mailbox.getName().getConvertedText(utf8()).size() +
         mailbox.getEmail().toString().size();
}

std::size_t textOf(const ::vmime::addressList& addresses) {
  std::size_t size = 0;
  for (std::size_t i = 0; i < addresses.getAddressCount(); ++i) {
    const auto address = addresses.getAddressAt(i);
    if (const auto one =
            ::vmime::dynamicCast<const ::vmime::mailbox>(address)) {
      size += textOf(*one);
    } else if (const auto group =
                   ::vmime::dynamicCast<const ::vmime::mailboxGroup>(address)) {
      size += group->getName().getConvertedText(utf8()).size();
      for (std::size_t m = 0; m < group->getMailboxCount(); ++m) {
        size += textOf(*group->getMailboxAt(m));
      }
    }
  }
  return size;
}

// Returns the size of a field's value as text. Fields that are neither text nor
// addresses (dates, identifiers, media types) have been parsed; they are not
// written as text again, which would only cost.
std::size_t textOf(const ::vmime::headerField& field) {
  const auto value = field.getValue();
  if (const auto text = ::vmime::dynamicCast<const ::vmime::text>(value)) {
    return text->getConvertedText(utf8()).size();
  }
  if (const auto one = ::vmime::dynamicCast<const ::vmime::mailbox>(value)) {
    return textOf(*one);
  }
  if (const auto list =
          ::vmime::dynamicCast<const ::vmime::addressList>(value)) {
    return textOf(*list);
  }
  if (const auto list =
          ::vmime::dynamicCast<const ::vmime::mailboxList>(value)) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < list->getMailboxCount(); ++i) {
      size += textOf(*list->getMailboxAt(i));
    }
    return size;
  }
  return 0;
}

std::string contentOf(const ::vmime::body& body) {
  std::string content;
  ::vmime::utility::outputStreamStringAdapter stream(content);
  body.getContents()->extract(stream);
  return content;
}

void readText(const ::vmime::body& body, Produced& produced) {
  std::string content = contentOf(body);
  const ::vmime::charset charset = body.getCharset();
  if (charset == utf8() || charset == ::vmime::charset("us-ascii")) {
    produced.bodyText += content.size();
    return;
  }
  try {
    std::string text;
    ::vmime::charset::convert(content, text, charset, utf8());
    produced.bodyText += text.size();
  } catch (const std::exception&) {
    ++produced.failures;
    produced.bodyText += content.size();
  }
}

void readEntity(const ::vmime::bodyPart& part, int depth, Produced& produced) {
  const auto header = part.getHeader();
  for (std::size_t i = 0; i < header->getFieldCount(); ++i) {
    produced.headerText += textOf(*header->getFieldAt(i));
  }
  const auto body = part.getBody();
  for (std::size_t i = 0; i < body->getPartCount(); ++i) {
    readEntity(*body->getPartAt(i), depth, produced);
  }
  if (body->getPartCount() > 0) return;
  const ::vmime::mediaType type = body->getContentType();
  if (type.getType() == "text") {
    readText(*body, produced);
  } else if (type.getType() == "message" && type.getSubType() == "rfc822" &&
             depth < kMaximumDepth) {
    const auto attached = ::vmime::make_shared<::vmime::message>();
    attached->parse(contentOf(*body));
    readEntity(*attached, depth + 1, produced);
  }
}

Produced parse(std::string_view bytes) {
  // vmime reads from a string of its own.
  const auto message = ::vmime::make_shared<::vmime::message>();
  message->parse(std::string(withoutStoreLine(bytes)));
  Produced produced;
  readEntity(*message, 0, produced);
  return produced;
}

}  // namespace

Contender vmime() {
  ::vmime::platform::setHandler<::vmime::platforms::posix::posixHandler>();
  return {"vmime", parse};
}

}  // namespace quillhaven::benchmarks
