#include "quillhaven/platform/keychain/internal/sealed_format.h"

#include <sodium.h>

#include <algorithm>
#include <new>

#include "quillhaven/platform/keychain/internal/little_endian.h"
#include "quillhaven/platform/keychain/internal/sodium_start.h"

namespace quillhaven::platform::internal {
namespace {

constexpr std::string_view kMagic = "QHKCHAIN";
constexpr std::string_view kKeyMagic = "QHKCKEY\1";
constexpr std::uint8_t kVersion = 1;
constexpr std::size_t kMasterKeySize = crypto_kdf_KEYBYTES;
constexpr std::size_t kChecksumSize = 16;
constexpr std::size_t kTagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;

// Numbers of the keys derived from the master key.
constexpr std::uint64_t kSealingKey = 1;
constexpr std::uint64_t kCheckKey = 2;
constexpr const char kKeyContext[crypto_kdf_CONTEXTBYTES + 1] = "QHKCHAIN";

static_assert(kMagic.size() + 4 + 2 * kNumberSize + 16 + 16 + 24 +
                  kChecksumSize ==
              SealedHeader::kSize);
static_assert(sizeof(SealedHeader::nonce) ==
              crypto_aead_xchacha20poly1305_ietf_NPUBBYTES);
static_assert(sizeof(KeyDerivation::salt) == crypto_pwhash_SALTBYTES);

const unsigned char* unsignedBytes(const char* bytes) {
  return reinterpret_cast<const unsigned char*>(bytes);
}
unsigned char* unsignedBytes(char* bytes) {
  return reinterpret_cast<unsigned char*>(bytes);
}

// Not a secret one: it finds damage, the seal finds malice.
std::array<char, kChecksumSize> checksum(std::string_view bytes) {
  std::array<char, kChecksumSize> sum{};
  ::crypto_generichash(unsignedBytes(sum.data()), sum.size(),
                       unsignedBytes(bytes.data()), bytes.size(), nullptr, 0);
  return sum;
}

bool endsInItsChecksum(std::string_view bytes) {
  const std::size_t end = bytes.size() - kChecksumSize;
  const auto sum = checksum(bytes.substr(0, end));
  return std::ranges::equal(sum, bytes.substr(end));
}

SecretBytes derivedKey(const SecretBytes& masterKey, std::uint64_t number,
                       std::size_t size) {
  SecretBytes key(size);
  ::crypto_kdf_derive_from_key(unsignedBytes(key.data()), size, number,
                               kKeyContext, unsignedBytes(masterKey.data()));
  return key;
}

SecretBytes keyCheckOf(const SecretBytes& masterKey) {
  return derivedKey(masterKey, kCheckKey, sizeof(SealedHeader::keyCheck));
}

bool isWithinBounds(const KeyDerivation& derivation) {
  if (derivation.source == KeySource::kKeyFile) {
    return derivation.operations == 0 && derivation.memoryInKibibytes == 0;
  }
  return derivation.operations >= crypto_pwhash_OPSLIMIT_MIN &&
         derivation.operations <= kMaximumOperations &&
         derivation.memoryInKibibytes >= crypto_pwhash_MEMLIMIT_MIN / 1024 &&
         derivation.memoryInKibibytes <= kMaximumMemoryInKibibytes;
}

template <std::size_t kCount>
void take(std::string_view& bytes, std::array<char, kCount>& array) {
  std::ranges::copy(bytes.substr(0, kCount), array.begin());
  bytes.remove_prefix(kCount);
}

std::uint32_t takeNumber(std::string_view& bytes) {
  const std::uint32_t number = numberAt(bytes);
  bytes.remove_prefix(kNumberSize);
  return number;
}

std::string bytesFromHeader(const SealedHeader& header) {
  std::string bytes(kMagic);
  bytes.push_back(static_cast<char>(kVersion));
  bytes.push_back(static_cast<char>(header.derivation.source));
  bytes.append(2, '\0');
  appendNumber(bytes, header.derivation.operations);
  appendNumber(bytes, header.derivation.memoryInKibibytes);
  bytes.append(header.derivation.salt.begin(), header.derivation.salt.end());
  bytes.append(header.keyCheck.begin(), header.keyCheck.end());
  bytes.append(header.nonce.begin(), header.nonce.end());
  const auto sum = checksum(bytes);
  bytes.append(sum.begin(), sum.end());
  return bytes;
}

}  // namespace

std::optional<SealedHeader> headerFromBytes(std::string_view fileBytes) {
  if (fileBytes.size() < SealedHeader::kSize + kTagSize) return std::nullopt;
  std::string_view rest = fileBytes.substr(0, SealedHeader::kSize);
  if (!rest.starts_with(kMagic) || !endsInItsChecksum(rest)) {
    return std::nullopt;
  }
  rest.remove_prefix(kMagic.size());
  const auto source = static_cast<std::uint8_t>(rest[1]);
  if (static_cast<std::uint8_t>(rest[0]) != kVersion || source > 1 ||
      rest[2] != 0 || rest[3] != 0) {
    return std::nullopt;
  }
  rest.remove_prefix(4);

  SealedHeader header;
  header.derivation.source = static_cast<KeySource>(source);
  header.derivation.operations = takeNumber(rest);
  header.derivation.memoryInKibibytes = takeNumber(rest);
  take(rest, header.derivation.salt);
  take(rest, header.keyCheck);
  take(rest, header.nonce);
  if (!isWithinBounds(header.derivation)) return std::nullopt;
  return header;
}

KeyDerivation newDerivation(KeySource source) {
  startSodium();
  KeyDerivation derivation;
  derivation.source = source;
  if (source == KeySource::kPassphrase) {
    derivation.operations = crypto_pwhash_OPSLIMIT_INTERACTIVE;
    derivation.memoryInKibibytes = crypto_pwhash_MEMLIMIT_INTERACTIVE / 1024;
  }
  ::randombytes_buf(derivation.salt.data(), derivation.salt.size());
  return derivation;
}

SecretBytes masterKeyFromPassphrase(const KeyDerivation& derivation,
                                    std::string_view passphrase) {
  SecretBytes key(kMasterKeySize);
  if (passphrase.empty()) passphrase = "";  // with a pointer
  const int result = ::crypto_pwhash(
      unsignedBytes(key.data()), key.size(), passphrase.data(),
      passphrase.size(), unsignedBytes(derivation.salt.data()),
      derivation.operations, std::size_t{derivation.memoryInKibibytes} * 1024,
      crypto_pwhash_ALG_ARGON2ID13);
  if (result != 0) throw std::bad_alloc();
  return key;
}

SecretBytes newKeyFile() {
  SecretBytes file(kMasterKeySize);
  ::randombytes_buf(file.data(), file.size());
  file.insert(file.begin(), kKeyMagic.begin(), kKeyMagic.end());
  const auto sum = checksum(viewOf(file));
  file.insert(file.end(), sum.begin(), sum.end());
  return file;
}

std::optional<SecretBytes> masterKeyFromKeyFile(std::string_view fileBytes) {
  if (fileBytes.size() != kKeyMagic.size() + kMasterKeySize + kChecksumSize ||
      !fileBytes.starts_with(kKeyMagic) || !endsInItsChecksum(fileBytes)) {
    return std::nullopt;
  }
  return secretBytesFrom(fileBytes.substr(kKeyMagic.size(), kMasterKeySize));
}

bool fits(const SealedHeader& header, const SecretBytes& masterKey) {
  const SecretBytes check = keyCheckOf(masterKey);
  return ::sodium_memcmp(check.data(), header.keyCheck.data(), check.size()) ==
         0;
}

std::string seal(const KeyDerivation& derivation, const SecretBytes& masterKey,
                 std::string_view list) {
  SealedHeader header;
  header.derivation = derivation;
  std::ranges::copy(keyCheckOf(masterKey), header.keyCheck.begin());
  ::randombytes_buf(header.nonce.data(), header.nonce.size());
  std::string file = bytesFromHeader(header);
  const SecretBytes key = derivedKey(
      masterKey, kSealingKey, crypto_aead_xchacha20poly1305_ietf_KEYBYTES);
  file.resize(SealedHeader::kSize + list.size() + kTagSize);
  ::crypto_aead_xchacha20poly1305_ietf_encrypt(
      unsignedBytes(file.data() + SealedHeader::kSize), nullptr,
      unsignedBytes(list.data()), list.size(), unsignedBytes(file.data()),
      SealedHeader::kSize, nullptr, unsignedBytes(header.nonce.data()),
      unsignedBytes(key.data()));
  return file;
}

std::optional<SecretBytes> open(std::string_view fileBytes,
                                const SecretBytes& masterKey) {
  const auto header = headerFromBytes(fileBytes);
  if (!header) return std::nullopt;
  const std::string_view sealed = fileBytes.substr(SealedHeader::kSize);
  const SecretBytes key = derivedKey(
      masterKey, kSealingKey, crypto_aead_xchacha20poly1305_ietf_KEYBYTES);
  SecretBytes list(sealed.size() - kTagSize);
  const int result = ::crypto_aead_xchacha20poly1305_ietf_decrypt(
      unsignedBytes(list.data()), nullptr, nullptr,
      unsignedBytes(sealed.data()), sealed.size(),
      unsignedBytes(fileBytes.data()), SealedHeader::kSize,
      unsignedBytes(header->nonce.data()), unsignedBytes(key.data()));
  if (result != 0) return std::nullopt;
  return list;
}

}  // namespace quillhaven::platform::internal
