#include "quillhaven/strings/internal/evp_algorithms.h"

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/params.h>

#include <array>
#include <stdexcept>

namespace quillhaven::strings::internal {
namespace {

constexpr std::array<const char*, kAlgorithmCount> kNames = {
    "MD5", "SHA1", "SHA2-224", "SHA2-256", "SHA2-384", "SHA2-512"};

std::size_t indexOf(HMACAlgorithm algorithm) {
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

EvpMacContextPtr newKeylessContext(std::size_t index) {
  const EvpMacPtr algorithm(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
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

}  // namespace

void throwFailure(const std::string& call) {
  char reason[256];
  ERR_error_string_n(ERR_get_error(), reason, sizeof reason);
  ERR_clear_error();
  throw std::runtime_error("libcrypto: " + call + ": " + reason);
}

const EVP_MD* hashFunction(HMACAlgorithm algorithm) {
  constexpr std::array<const EVP_MD* (*)(), kAlgorithmCount> kFetched = {
      fetched<0>, fetched<1>, fetched<2>, fetched<3>, fetched<4>, fetched<5>};
  return kFetched[indexOf(algorithm)]();
}

EvpMacContextPtr hmacContext(HMACAlgorithm algorithm,
                             std::span<const std::byte> key) {
  constexpr std::array<const EVP_MAC_CTX* (*)(), kAlgorithmCount> kPrepared = {
      prepared<0>, prepared<1>, prepared<2>,
      prepared<3>, prepared<4>, prepared<5>};
  EvpMacContextPtr context(EVP_MAC_CTX_dup(kPrepared[indexOf(algorithm)]()));
  // A null pointer would mean the key that is there already.
  const std::byte none{};
  const std::byte* const bytes = key.empty() ? &none : key.data();
  if (!context || EVP_MAC_init(context.get(), charactersOf(bytes), key.size(),
                               nullptr) != 1) {
    throwFailure("HMAC");
  }
  return context;
}

}  // namespace quillhaven::strings::internal
