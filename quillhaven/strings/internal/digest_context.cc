#include "quillhaven/strings/internal/digest_context.h"

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>

namespace quillhaven::strings::internal {
namespace {

template <auto function>
struct Deleter {
  template <typename Type>
  void operator()(Type* object) const {
    function(object);
  }
};
using EvpMdPtr = std::unique_ptr<EVP_MD, Deleter<EVP_MD_free>>;
using EvpMdContextPtr = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX_free>>;
using EvpMacPtr = std::unique_ptr<EVP_MAC, Deleter<EVP_MAC_free>>;
using EvpMacContextPtr =
    std::unique_ptr<EVP_MAC_CTX, Deleter<EVP_MAC_CTX_free>>;

constexpr std::array<const char*, kDigestCount> kNames = {
    "MD5", "SHA1", "SHA2-224", "SHA2-256", "SHA2-384", "SHA2-512"};

// Throws what libcrypto's queue tells about a failed `call`.
[[noreturn]] void throwFailure(const std::string& call) {
  char reason[256];
  ERR_error_string_n(ERR_get_error(), reason, sizeof reason);
  ERR_clear_error();
  throw std::runtime_error("libcrypto: " + call + ": " + reason);
}

std::size_t indexOf(Digest algorithm) {
  return static_cast<std::size_t>(algorithm);
}

// Looking an algorithm up by name costs more than digesting a kilobyte.
template <std::size_t index>
const EVP_MD* fetched() {
  static const EvpMdPtr algorithm = [] {
    EvpMdPtr found(EVP_MD_fetch(nullptr, kNames[index], nullptr));
    if (!found) throwFailure(kNames[index]);
    return found;
  }();
  return algorithm.get();
}

const EVP_MD* algorithmFor(Digest algorithm) {
  constexpr std::array<const EVP_MD* (*)(), kDigestCount> kFetched = {
      fetched<0>, fetched<1>, fetched<2>, fetched<3>, fetched<4>, fetched<5>};
  return kFetched[indexOf(algorithm)]();
}

EvpMacContextPtr newKeylessContext(std::size_t index) {
  static const EvpMacPtr algorithm(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
  if (!algorithm) throwFailure("HMAC");
  EvpMacContextPtr context(EVP_MAC_CTX_new(algorithm.get()));
  std::string name = kNames[index];
  const OSSL_PARAM parameters[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, name.data(), 0),
      OSSL_PARAM_construct_end()};
  // A context can be copied only after its first key; this one guards nothing.
  const unsigned char noKey = 0;
  if (!context || EVP_MAC_init(context.get(), &noKey, 0, parameters) != 1) {
    throwFailure("HMAC with " + name);
  }
  return context;
}

// A context that knows its hash function, to be copied for each key.
template <std::size_t index>
const EVP_MAC_CTX* prepared() {
  static const EvpMacContextPtr context = newKeylessContext(index);
  return context.get();
}

const EVP_MAC_CTX* preparedContextFor(Digest algorithm) {
  constexpr std::array<const EVP_MAC_CTX* (*)(), kDigestCount> kPrepared = {
      prepared<0>, prepared<1>, prepared<2>,
      prepared<3>, prepared<4>, prepared<5>};
  return kPrepared[indexOf(algorithm)]();
}

const unsigned char* charactersOf(const std::byte* bytes) {
  return reinterpret_cast<const unsigned char*>(bytes);
}

unsigned char* charactersOf(std::byte* bytes) {
  return reinterpret_cast<unsigned char*>(bytes);
}

}  // namespace

void digest(Digest algorithm, std::span<const std::byte> data,
            std::span<std::byte> result) {
  if (EVP_Digest(data.data(), data.size(), charactersOf(result.data()), nullptr,
                 algorithmFor(algorithm), nullptr) != 1) {
    throwFailure(kNames[indexOf(algorithm)]);
  }
}

void hmac(Digest algorithm, std::span<const std::byte> key,
          std::span<const std::byte> data, std::span<std::byte> result) {
  const EvpMacContextPtr context(
      EVP_MAC_CTX_dup(preparedContextFor(algorithm)));
  // A null pointer would mean the key that is there already.
  const std::byte none{};
  const std::byte* const keyBytes = key.empty() ? &none : key.data();
  std::size_t size = 0;
  if (!context ||
      EVP_MAC_init(context.get(), charactersOf(keyBytes), key.size(),
                   nullptr) != 1 ||
      EVP_MAC_update(context.get(), charactersOf(data.data()), data.size()) !=
          1 ||
      EVP_MAC_final(context.get(), charactersOf(result.data()), &size,
                    result.size()) != 1) {
    throwFailure("HMAC");
  }
}

}  // namespace quillhaven::strings::internal
