// Undoes the content transfer encodings of RFC 2045, section 6.
#ifndef QUILLHAVEN_MAIL_INTERNAL_TRANSFER_DECODING_H_
#define QUILLHAVEN_MAIL_INTERNAL_TRANSFER_DECODING_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::mail::internal {

// Decodes Base64. Characters outside the alphabet are ignored; text may be
// several encodings joined, each with its own padding. Nothing when a group of
// four stays incomplete.
[[nodiscard]] std::optional<std::string> decodedBase64(std::string_view text);

// Decodes a quoted-printable body to text in `charset`, or if its bytes do not
// convert, as ASCII, or if that fails, returns it as it is. A "=" without two
// hexadecimal digits stays. Escapes and the ASCII text around them are
// converted together; characters beyond ASCII stay as they are. In an unknown
// charset every "%" is dropped before decoding (deliberate: stored bodies were
// made so).
[[nodiscard]] std::string decodedQuotedPrintable(
    std::string_view text, platform::StringEncoding charset);

// Decodes the joined texts of Q words (RFC 2047, section 4.2) to text in
// `charset`, or if the bytes do not convert, as ASCII; nothing if that fails.
// Characters beyond ASCII, which the standard forbids there, count as Mac OS
// Roman bytes, or all as UTF-8 if that set lacks one; a zero byte ends the
// text.
[[nodiscard]] std::optional<std::string> decodedQWords(
    std::string text, platform::StringEncoding charset);

// Returns the text of `bytes` in `charset` or, if they do not convert, in
// ASCII; nothing if that fails too.
[[nodiscard]] std::optional<std::string> textOfDecodedBytes(
    std::string bytes, platform::StringEncoding charset);

}  // namespace quillhaven::mail::internal

#endif  // QUILLHAVEN_MAIL_INTERNAL_TRANSFER_DECODING_H_
