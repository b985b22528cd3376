// Decodes the text of one body part.
#ifndef QUILLHAVEN_MAIL_INTERNAL_BODY_DECODING_H_
#define QUILLHAVEN_MAIL_INTERNAL_BODY_DECODING_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::mail::internal {

// The text of a part: the message's own where nothing had to be decoded, so
// that it is copied only when it is taken.
class DecodedBody {
 public:
  static DecodedBody viewing(std::string_view text);
  static DecodedBody owning(std::string text);

  // Lives as long as this object and the message.
  [[nodiscard]] std::string_view text() const {
    return isOwned_ ? std::string_view(owned_) : view_;
  }
  [[nodiscard]] std::string take() &&;

 private:
  bool isOwned_ = false;
  std::string owned_;
  std::string_view view_;
};

// Undoes the transfer encoding of a part's text and converts it from `charset`;
// nothing, perhaps with a line in the log, when that cannot be done.
[[nodiscard]] std::optional<DecodedBody> decodedBody(
    std::string_view text, ContentTransferEncoding encoding,
    platform::StringEncoding charset);

// Returns the plain text of an HTML part: without its comments, as far as
// `charset` has its characters (others become "?"), by stringWithHTMLData() and
// with its entities decoded.
[[nodiscard]] std::string plainTextOfHTML(std::string_view html,
                                          platform::StringEncoding charset);

// The length in bytes of `text` without the newline characters at its end.
[[nodiscard]] std::size_t lengthWithoutNewlinesAtEnd(std::string_view text);

}  // namespace quillhaven::mail::internal

#endif  // QUILLHAVEN_MAIL_INTERNAL_BODY_DECODING_H_
