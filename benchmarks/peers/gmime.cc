#include <gmime/gmime.h>

#include <cstring>
#include <memory>

#include "benchmarks/peers/contender.h"

namespace quillhaven::benchmarks {
namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename Object>
using ObjectPtr = std::unique_ptr<Object, Unref>;

std::size_t sizeOf(const char* text) {
  return text == nullptr ? 0 : std::strlen(text);
}

std::size_t textOf(InternetAddressList* addresses) {
  std::size_t size = 0;
  const int count =
      addresses == nullptr ? 0 : internet_address_list_length(addresses);
  for (int i = 0; i < count; ++i) {
    InternetAddress* address = internet_address_list_get_address(addresses, i);
    size += sizeOf(internet_address_get_name(address));
    if (INTERNET_ADDRESS_IS_GROUP(address)) {
      size += textOf(
          internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)));
    } else if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
      size += sizeOf(
          internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
    }
  }
  return size;
}

std::size_t decodedHeadersOf(GMimeObject* object) {
  std::size_t size = 0;
  GMimeHeaderList* headers = g_mime_object_get_header_list(object);
  const int count = g_mime_header_list_get_count(headers);
  for (int i = 0; i < count; ++i) {
    size += sizeOf(
        g_mime_header_get_value(g_mime_header_list_get_header_at(headers, i)));
  }
  return size;
}

void readMessage(GMimeMessage* message, int depth, Produced& produced);

void readEntity(GMimeObject* entity, int depth, Produced& produced) {
  if (entity == nullptr) return;
  produced.headerText += decodedHeadersOf(entity);
  if (GMIME_IS_MULTIPART(entity)) {
    GMimeMultipart* multipart = GMIME_MULTIPART(entity);
    const int count = g_mime_multipart_get_count(multipart);
    for (int i = 0; i < count; ++i) {
      readEntity(g_mime_multipart_get_part(multipart, i), depth, produced);
    }
  } else if (GMIME_IS_MESSAGE_PART(entity)) {
    GMimeMessage* attached =
        g_mime_message_part_get_message(GMIME_MESSAGE_PART(entity));
    if (attached != nullptr && depth < kMaximumDepth) {
      readMessage(attached, depth + 1, produced);
    }
  } else if (GMIME_IS_TEXT_PART(entity)) {
    const std::unique_ptr<char, decltype(&g_free)> text(
        g_mime_text_part_get_text(GMIME_TEXT_PART(entity)), g_free);
    if (text == nullptr) ++produced.failures;
    produced.bodyText += sizeOf(text.get());
  }
}

void readMessage(GMimeMessage* message, int depth, Produced& produced) {
  produced.headerText += decodedHeadersOf(GMIME_OBJECT(message));
  produced.headerText += textOf(g_mime_message_get_from(message)) +
                         textOf(g_mime_message_get_to(message)) +
                         textOf(g_mime_message_get_reply_to(message));
  readEntity(g_mime_message_get_mime_part(message), depth, produced);
}

Produced parse(std::string_view message) {
  const std::string_view bytes = withoutStoreLine(message);
  // The stream reads the bytes where they are; it never writes to them.
  GByteArray array{reinterpret_cast<guint8*>(const_cast<char*>(bytes.data())),
                   static_cast<guint>(bytes.size())};
  const ObjectPtr<GMimeStream> stream(
      g_mime_stream_mem_new_with_byte_array(&array));
  g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(stream.get()), FALSE);
  const ObjectPtr<GMimeParser> parser(
      g_mime_parser_new_with_stream(stream.get()));
  const ObjectPtr<GMimeMessage> parsed(
      g_mime_parser_construct_message(parser.get(), nullptr));
  if (parsed == nullptr) return {0, 0, 1};
  Produced produced;
  readMessage(parsed.get(), 0, produced);
  return produced;
}

}  // namespace

Contender gmime() {
  g_mime_init();
  return {"GMime", parse};
}

}  // namespace quillhaven::benchmarks
