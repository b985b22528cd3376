// The list of items as it lies inside the seal of the sealed file.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_KEYCHAIN_RECORDS_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_KEYCHAIN_RECORDS_H_

#include <optional>
#include <string_view>
#include <vector>

#include "quillhaven/platform/keychain/keychain_backend.h"
#include "quillhaven/platform/keychain/secret_bytes.h"

namespace quillhaven::platform::internal {

// One item. The views point into the bytes it was read from, or into what a
// change puts in their place.
struct KeychainRecord {
  std::string_view service;
  std::string_view account;
  bool isSynchronizable = false;
  std::optional<SecAttrAccessible> accessible;
  std::string_view value;
};

// True when `record` has all the attributes of `pattern`.
[[nodiscard]] bool matches(const KeychainRecord& record,
                           const KeychainItemPattern& pattern);

// True when the two have the same service, account and kind.
[[nodiscard]] bool haveSameKey(const KeychainRecord& one,
                               const KeychainRecord& other);

// Reads a list: the number of records, then of each its flags and its service,
// account and value with their lengths in bytes; numbers have 32 bits, lowest
// byte first. Nothing unless every byte is as bytesFromRecords() writes it.
[[nodiscard]] std::optional<std::vector<KeychainRecord>> recordsFromBytes(
    std::string_view bytes);

// The inverse. Nothing where the list is longer than a file may be.
[[nodiscard]] std::optional<SecretBytes> bytesFromRecords(
    const std::vector<KeychainRecord>& records);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_KEYCHAIN_RECORDS_H_
