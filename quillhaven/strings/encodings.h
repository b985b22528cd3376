// Bytes and identifiers as text: hexadecimal digits and URL-safe Base64.
#ifndef QUILLHAVEN_STRINGS_ENCODINGS_H_
#define QUILLHAVEN_STRINGS_ENCODINGS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/url/uuid.h"

namespace quillhaven::strings {

// Returns the UTF-8 bytes of `text` as a view into it.
[[nodiscard]] inline std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

// Returns each byte as two lower-case hexadecimal digits, without separators.
[[nodiscard]] std::string hexDigest(std::span<const std::byte> data);

// Returns `data` in Base64 with the URL-safe alphabet and without padding
// (RFC 4648, section 5).
[[nodiscard]] std::string base64URLEncodedString(
    std::span<const std::byte> data);

// The identifier "00000000-0000-0000-0000-000000000000".
[[nodiscard]] constexpr platform::Uuid zero() { return {}; }

// Returns the canonical text form in lower case, 36 characters.
[[nodiscard]] std::string lowercaseString(const platform::Uuid& uuid);

// Return the 16 bytes in the order of the text form.
[[nodiscard]] std::vector<std::byte> data(const platform::Uuid& uuid);
[[nodiscard]] std::array<std::uint8_t, 16> uint8(const platform::Uuid& uuid);

// Returns the 16 bytes in URL-safe Base64 without padding, 22 characters.
[[nodiscard]] std::string base64String(const platform::Uuid& uuid);

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_ENCODINGS_H_
