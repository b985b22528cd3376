// Walks the parts of a multipart body (RFC 2046, section 5.1) by a stack of
// boundaries and collects those that have text.
#ifndef QUILLHAVEN_MAIL_INTERNAL_MULTIPART_WALK_H_
#define QUILLHAVEN_MAIL_INTERNAL_MULTIPART_WALK_H_

#include <cstddef>
#include <list>
#include <string_view>

#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::mail::internal {

// A part with text, not decoded yet. The view points into the message.
struct PartRecord {
  std::string_view message;
  platform::StringEncoding charset;
  ContentTransferEncoding contentTransferEncoding;
};

// The records by subtype, each in the order of the message.
struct PartRecords {
  std::list<PartRecord> rfc822;
  std::list<PartRecord> plain;
  std::list<PartRecord> html;
};

// Header lines that belong to several delimiters, because no blank line parts
// them, are read again only until this many times the size of the message has
// been read so; delimiters after that count as having no content type. Only
// made-up messages reach that.
inline constexpr std::size_t kMaximumRereading = 8;

// Collects the parts of `text` from byte `at` on, delimited by `boundary`,
// which is lower-cased, as are the boundaries of nested multiparts: delimiters
// are found without regard to letter case, anywhere in a line. A multipart that
// is never closed ends with the text.
[[nodiscard]] PartRecords collectParts(std::string_view text, std::size_t at,
                                       std::string_view boundary);

}  // namespace quillhaven::mail::internal

#endif  // QUILLHAVEN_MAIL_INTERNAL_MULTIPART_WALK_H_
