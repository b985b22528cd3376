// The bytes of the sealed file and of its key file: what their headers say, and
// the seal around the list of items.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SEALED_FORMAT_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SEALED_FORMAT_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/keychain/secret_bytes.h"

namespace quillhaven::platform::internal {

// Where the master key of a file comes from.
enum class KeySource : std::uint8_t { kKeyFile = 0, kPassphrase = 1 };

// How the master key is had; the same in every version of a file.
struct KeyDerivation {
  KeySource source = KeySource::kKeyFile;
  std::uint32_t operations = 0;         // passes of Argon2id; 0 for a key file
  std::uint32_t memoryInKibibytes = 0;  // of Argon2id; 0 for a key file
  std::array<char, 16> salt{};          // random, one for the life of the file

  bool operator==(const KeyDerivation&) const = default;
};

// Bounds of what a header may ask for: a damaged or hostile one must not take
// all memory or an hour.
inline constexpr std::uint32_t kMaximumOperations = 16;
inline constexpr std::uint32_t kMaximumMemoryInKibibytes = 1U << 20;

// The start of a sealed file, authenticated by the seal.
struct SealedHeader {
  static constexpr std::size_t kSize = 92;  // bytes

  KeyDerivation derivation;
  std::array<char, 16> keyCheck{};  // tells a wrong key from damage
  std::array<char, 24> nonce{};     // random, new for every version of a file
};

// Reads the header at the start of `fileBytes`. Nothing if it is cut short, of
// another version, out of bounds or does not fit its checksum.
[[nodiscard]] std::optional<SealedHeader> headerFromBytes(
    std::string_view fileBytes);

// Returns a derivation with a new salt and today's costs.
[[nodiscard]] KeyDerivation newDerivation(KeySource source);

// Returns the master key that `passphrase` gives; throws std::bad_alloc when
// there is no memory for it.
[[nodiscard]] SecretBytes masterKeyFromPassphrase(
    const KeyDerivation& derivation, std::string_view passphrase);

// Returns the bytes of a key file with a new random master key.
[[nodiscard]] SecretBytes newKeyFile();

// Returns the master key in a key file; nothing if it is damaged.
[[nodiscard]] std::optional<SecretBytes> masterKeyFromKeyFile(
    std::string_view fileBytes);

// True when `masterKey` is the key of the file with this header.
[[nodiscard]] bool fits(const SealedHeader& header,
                        const SecretBytes& masterKey);

// Returns the bytes of a whole file around `list`.
[[nodiscard]] std::string seal(const KeyDerivation& derivation,
                               const SecretBytes& masterKey,
                               std::string_view list);

// Returns the list in a file; nothing if its seal does not open with a key
// that fits.
[[nodiscard]] std::optional<SecretBytes> open(std::string_view fileBytes,
                                              const SecretBytes& masterKey);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SEALED_FORMAT_H_
