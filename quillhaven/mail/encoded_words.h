// MIME encoded words (RFC 2047) in header values.
#ifndef QUILLHAVEN_MAIL_ENCODED_WORDS_H_
#define QUILLHAVEN_MAIL_ENCODED_WORDS_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::mail {

// True when `text` holds the opening of an encoded word in a known charset with
// at least one character of encoded text; the closing "?=" may be missing, as
// in values of mailers that fold inside a word. Blanks between the tokens are
// passed over.
[[nodiscard]] bool isMimeEncodedString(std::string_view text);

// Returns `text` with its encoded words decoded; nothing when `text` is absent.
// Malformed openings stay as they are. Words of the same type (B or Q) make one
// run, decoded as a whole in the charset of its first word, and whatever stands
// between them is dropped: "=?utf-8?Q?a?= x =?utf-8?Q?b?=" gives "ab". A Base64
// run that does not decode is removed; a run whose bytes do not convert stays.
// `text` must be valid UTF-8. Thread-safe; time grows linearly with the length.
[[nodiscard]] std::optional<std::string> stringWithMimeEncodedString(
    std::optional<std::string_view> text);

// Returns the encodings to try, in order, when Base64 bytes do not convert in
// `encoding`, or nothing: only the simplified Chinese sets EUC-CN and
// GB 2312-80 have any, because mailers label their supersets so.
[[nodiscard]] std::optional<std::vector<platform::StringEncoding>>
alternativeTextEncodingsForEncoding(platform::StringEncoding encoding);

}  // namespace quillhaven::mail

#endif  // QUILLHAVEN_MAIL_ENCODED_WORDS_H_
