// Percent escapes (RFC 3986, section 2.1) in the parts of a URL.
#ifndef QUILLHAVEN_PLATFORM_URL_PERCENT_ENCODING_H_
#define QUILLHAVEN_PLATFORM_URL_PERCENT_ENCODING_H_

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// The characters that stay as they are in a part of a URL: letters and digits
// of ASCII, "-._~!$'()*+," and what is named here.
enum class UrlCharacters {
  kHost,       // &;= : and the brackets
  kPath,       // &;= : @ /
  kQuery,      // &;= : @ / ?
  kQueryItem,  // : @ / ?, for a name or value within a query
};

// Returns `text` with every byte that `allowed` leaves out as "%" and two
// hexadecimal digits in upper case; a blank is "%20" and "+" stays.
[[nodiscard]] std::string percentEncoded(std::string_view text,
                                         UrlCharacters allowed);

// Returns the bytes that `text` stands for, or nothing when a "%" is not
// followed by two hexadecimal digits. "+" stays. The bytes need not be UTF-8.
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_URL_PERCENT_ENCODING_H_
