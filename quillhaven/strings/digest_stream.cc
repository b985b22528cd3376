#include "quillhaven/strings/digest_stream.h"

#include "quillhaven/strings/internal/evp_algorithms.h"

namespace quillhaven::strings {

using internal::charactersOf;

// One of the contexts is there.
struct DigestStream::State {
  HMACAlgorithm algorithm;
  internal::EvpMdContextPtr digest;
  internal::EvpMacContextPtr hmac;
};

DigestStream::DigestStream(HMACAlgorithm algorithm)
    : state_(std::make_unique<State>()) {
  state_->algorithm = algorithm;
  state_->digest.reset(EVP_MD_CTX_new());
  if (!state_->digest ||
      EVP_DigestInit_ex2(state_->digest.get(),
                         internal::hashFunction(algorithm), nullptr) != 1) {
    internal::throwFailure("digest");
  }
}

DigestStream::DigestStream(HMACAlgorithm algorithm,
                           std::span<const std::byte> key)
    : state_(std::make_unique<State>()) {
  state_->algorithm = algorithm;
  state_->hmac = internal::hmacContext(algorithm, key);
}

DigestStream::~DigestStream() = default;

void DigestStream::append(std::span<const std::byte> data) {
  const int status =
      state_->digest
          ? EVP_DigestUpdate(state_->digest.get(), data.data(), data.size())
          : EVP_MAC_update(state_->hmac.get(), charactersOf(data.data()),
                           data.size());
  if (status != 1) internal::throwFailure("digest");
}

std::vector<std::byte> DigestStream::finish() {
  std::vector<std::byte> result(digestLength(state_->algorithm));
  std::size_t size = 0;
  const int status =
      state_->digest
          ? EVP_DigestFinal_ex(state_->digest.get(),
                               charactersOf(result.data()), nullptr)
          : EVP_MAC_final(state_->hmac.get(), charactersOf(result.data()),
                          &size, result.size());
  if (status != 1) internal::throwFailure("digest");
  return result;
}

}  // namespace quillhaven::strings
