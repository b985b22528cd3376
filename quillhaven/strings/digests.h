// Digests (MD5, SHA-1, SHA-256) and HMAC of bytes and texts.
//
// Digests derive identifiers and sign requests; MD5 and SHA-1 protect nothing.
// Everything here is thread-safe. Where libcrypto lacks an algorithm, because
// its configuration leaves only approved ones, all throw std::runtime_error.
#ifndef QUILLHAVEN_STRINGS_DIGESTS_H_
#define QUILLHAVEN_STRINGS_DIGESTS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/url/uuid.h"

namespace quillhaven::strings {

// The hash functions under HMAC. std::hash takes it, as any enumeration.
enum class HMACAlgorithm { MD5, SHA1, SHA224, SHA256, SHA384, SHA512 };

// The platform's constant of an algorithm, as stored settings hold it.
[[nodiscard]] std::uint32_t platformConstant(HMACAlgorithm algorithm);

// The length in bytes of the algorithm's digest and of its HMAC.
[[nodiscard]] std::size_t digestLength(HMACAlgorithm algorithm);

// Returns the digest of `data`.
[[nodiscard]] std::array<std::byte, 16> md5(std::span<const std::byte> data);
[[nodiscard]] std::array<std::byte, 20> sha1(std::span<const std::byte> data);
[[nodiscard]] std::array<std::byte, 32> sha256(std::span<const std::byte> data);

// Returns the HMAC (RFC 2104) of `data`, digestLength(algorithm) bytes. Any
// key will do, the empty one included.
[[nodiscard]] std::vector<std::byte> hmac(std::span<const std::byte> data,
                                          HMACAlgorithm algorithm,
                                          std::span<const std::byte> key);

// The same of the UTF-8 bytes of `text`.
[[nodiscard]] std::vector<std::byte> hmac(std::string_view text,
                                          HMACAlgorithm algorithm,
                                          std::span<const std::byte> key);

// Returns the MD5 digest of the UTF-8 bytes of `text` as 32 lower-case
// hexadecimal digits; nothing when `text` is no valid UTF-8.
[[nodiscard]] std::optional<std::string> md5(std::string_view text);

// Returns the identifier made of the MD5 digest of `text` in lower case,
// without any version or variant bits; nothing when `text` is no valid UTF-8.
// Texts that differ only in letter case give the same one.
[[nodiscard]] std::optional<platform::Uuid> md5UUID(std::string_view text);

// Returns the SHA-1 of the MD5 digest of `text` (not of the text itself) as 40
// lower-case hexadecimal digits.
[[nodiscard]] std::string sha1Digest(std::string_view text);

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_DIGESTS_H_
