// What our digests share of libcrypto: its algorithms, looked up once.
#ifndef QUILLHAVEN_STRINGS_INTERNAL_DIGEST_CONTEXT_H_
#define QUILLHAVEN_STRINGS_INTERNAL_DIGEST_CONTEXT_H_

#include <cstddef>
#include <span>

namespace quillhaven::strings::internal {

enum class Digest { kMD5, kSHA1, kSHA224, kSHA256, kSHA384, kSHA512 };
inline constexpr std::size_t kDigestCount = 6;

// Writes the digest of `data` to `result`, which has its length.
void digest(Digest algorithm, std::span<const std::byte> data,
            std::span<std::byte> result);

// Writes the HMAC of `data` to `result`, which has the length of the digest.
void hmac(Digest algorithm, std::span<const std::byte> key,
          std::span<const std::byte> data, std::span<std::byte> result);

}  // namespace quillhaven::strings::internal

#endif  // QUILLHAVEN_STRINGS_INTERNAL_DIGEST_CONTEXT_H_
