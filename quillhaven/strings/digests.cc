#include "quillhaven/strings/digests.h"

#include <algorithm>

#include "quillhaven/platform/text/case_mapping.h"
#include "quillhaven/platform/text/utf8.h"
#include "quillhaven/strings/encodings.h"
#include "quillhaven/strings/internal/evp_algorithms.h"

namespace quillhaven::strings {
namespace {

using internal::charactersOf;

// Both tables are in the order of the cases.
constexpr std::array<std::uint32_t, internal::kAlgorithmCount>
    kPlatformConstants = {1, 0, 5, 2, 3, 4};
constexpr std::array<std::size_t, internal::kAlgorithmCount> kDigestLengths = {
    16, 20, 28, 32, 48, 64};

std::size_t indexOf(HMACAlgorithm algorithm) {
  return static_cast<std::size_t>(algorithm);
}

template <std::size_t size>
std::array<std::byte, size> digestOf(HMACAlgorithm algorithm,
                                     std::span<const std::byte> data) {
  std::array<std::byte, size> result;
  if (EVP_Digest(data.data(), data.size(), charactersOf(result.data()), nullptr,
                 internal::hashFunction(algorithm), nullptr) != 1) {
    internal::throwFailure("digest");
  }
  return result;
}

}  // namespace

std::uint32_t platformConstant(HMACAlgorithm algorithm) {
  return kPlatformConstants[indexOf(algorithm)];
}

std::size_t digestLength(HMACAlgorithm algorithm) {
  return kDigestLengths[indexOf(algorithm)];
}

std::array<std::byte, 16> md5(std::span<const std::byte> data) {
  return digestOf<16>(HMACAlgorithm::MD5, data);
}

std::array<std::byte, 20> sha1(std::span<const std::byte> data) {
  return digestOf<20>(HMACAlgorithm::SHA1, data);
}

std::array<std::byte, 32> sha256(std::span<const std::byte> data) {
  return digestOf<32>(HMACAlgorithm::SHA256, data);
}

std::vector<std::byte> hmac(std::span<const std::byte> data,
                            HMACAlgorithm algorithm,
                            std::span<const std::byte> key) {
  const internal::EvpMacContextPtr context =
      internal::hmacContext(algorithm, key);
  std::vector<std::byte> result(digestLength(algorithm));
  std::size_t size = 0;
  if (EVP_MAC_update(context.get(), charactersOf(data.data()), data.size()) !=
          1 ||
      EVP_MAC_final(context.get(), charactersOf(result.data()), &size,
                    result.size()) != 1) {
    internal::throwFailure("HMAC");
  }
  return result;
}

std::vector<std::byte> hmac(std::string_view text, HMACAlgorithm algorithm,
                            std::span<const std::byte> key) {
  return hmac(bytesOf(text), algorithm, key);
}

std::optional<std::string> md5(std::string_view text) {
  if (!platform::isValidUTF8(text)) return std::nullopt;
  return hexDigest(md5(bytesOf(text)));
}

// The digits of the digest with dashes between them are the canonical form of
// its bytes, so the detour over text is spared.
std::optional<platform::Uuid> md5UUID(std::string_view text) {
  if (!platform::isValidUTF8(text)) return std::nullopt;
  const auto digest = md5(bytesOf(platform::lowercased(text)));
  platform::Uuid::Bytes bytes;
  std::transform(
      digest.begin(), digest.end(), bytes.begin(),
      [](std::byte byte) { return std::to_integer<std::uint8_t>(byte); });
  return platform::Uuid(bytes);
}

// The digest of a digest is deliberate: servers know users by it.
std::string sha1Digest(std::string_view text) {
  return hexDigest(sha1(md5(bytesOf(text))));
}

}  // namespace quillhaven::strings
