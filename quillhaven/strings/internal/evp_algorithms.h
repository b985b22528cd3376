// What our digests share of libcrypto: its algorithms, looked up once.
#ifndef QUILLHAVEN_STRINGS_INTERNAL_EVP_ALGORITHMS_H_
#define QUILLHAVEN_STRINGS_INTERNAL_EVP_ALGORITHMS_H_

#include <openssl/evp.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "quillhaven/strings/digests.h"

namespace quillhaven::strings::internal {

inline constexpr std::size_t kAlgorithmCount = 6;

template <auto function>
struct EvpDeleter {
  template <typename Type>
  void operator()(Type* object) const {
    function(object);
  }
};
using EvpMdPtr = std::unique_ptr<EVP_MD, EvpDeleter<EVP_MD_free>>;
using EvpMdContextPtr =
    std::unique_ptr<EVP_MD_CTX, EvpDeleter<EVP_MD_CTX_free>>;
using EvpMacPtr = std::unique_ptr<EVP_MAC, EvpDeleter<EVP_MAC_free>>;
using EvpMacContextPtr =
    std::unique_ptr<EVP_MAC_CTX, EvpDeleter<EVP_MAC_CTX_free>>;

// Throws std::runtime_error with what libcrypto's queue tells about `call`.
[[noreturn]] void throwFailure(const std::string& call);

// Returns the hash function, which lives until the end of the process.
[[nodiscard]] const EVP_MD* hashFunction(HMACAlgorithm algorithm);

// Returns a new context, ready for bytes.
[[nodiscard]] EvpMacContextPtr hmacContext(HMACAlgorithm algorithm,
                                           std::span<const std::byte> key);

inline unsigned char* charactersOf(std::byte* bytes) {
  return reinterpret_cast<unsigned char*>(bytes);
}
inline const unsigned char* charactersOf(const std::byte* bytes) {
  return reinterpret_cast<const unsigned char*>(bytes);
}

}  // namespace quillhaven::strings::internal

#endif  // QUILLHAVEN_STRINGS_INTERNAL_EVP_ALGORITHMS_H_
