// Calls on keychain items: add, update, copy matching, delete, and the lock of
// the default keychain. They hold the rules; the store is a KeychainBackend.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_SEC_ITEM_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_SEC_ITEM_H_

#include <optional>
#include <string>
#include <vector>

#include "quillhaven/platform/keychain/keychain_backend.h"
#include "quillhaven/platform/keychain/os_status.h"
#include "quillhaven/platform/keychain/secret_bytes.h"

namespace quillhaven::platform {

enum class SecClass { kGenericPassword };
enum class SecMatchLimit { kOne, kAll };

// The attributes of a call; each call says which it reads. Texts are UTF-8
// without NUL.
struct SecItemQuery {
  SecClass itemClass = SecClass::kGenericPassword;
  std::string service;  // must not be empty
  std::optional<std::string> account;
  std::optional<SecretBytes> valueData;
  std::optional<SecMatchLimit> matchLimit;
  bool returnData = false;
  bool returnAttributes = false;
  std::optional<bool> synchronizable;
  std::optional<SecAttrAccessible> accessible;
};

// What secItemUpdate() sets; absent stays as it is.
struct SecItemChange {
  std::optional<std::string> account;
  std::optional<SecretBytes> valueData;
};

// One object that a search hands back, with the parts that were asked for.
struct SecItemResult {
  std::optional<KeychainItemAttributes> attributes;
  std::optional<SecretBytes> valueData;
};

// The outcome of a search. `items` is empty when the search failed, and also
// when it succeeded but the query asked for nothing to be returned.
struct SecItemMatches {
  OSStatus status = kErrSecSuccess;
  std::vector<SecItemResult> items;
};

// All calls: kErrSecParam for an empty service or malformed text; otherwise
// the statuses of KeychainBackend. A query selects by service, account,
// `synchronizable` and `accessible`; an absent account or `accessible` selects
// any, an absent `synchronizable` the local items only. Blocking, also while
// the user is asked; any thread.

// Adds an item of service, account (absent: empty), value (absent: empty),
// `synchronizable` (absent: local) and `accessible`. kErrSecDuplicateItem when
// one with the same service, account and kind exists.
[[nodiscard]] OSStatus secItemAdd(const SecItemQuery& query);

// Finds one item, or all with SecMatchLimit::kAll; kErrSecItemNotFound when
// none matches. Hands back an object an item if `returnData` or
// `returnAttributes` is set, and none otherwise.
[[nodiscard]] SecItemMatches secItemCopyMatching(const SecItemQuery& query);

// Changes all items selected, with SecMatchLimit::kOne one of them.
[[nodiscard]] OSStatus secItemUpdate(const SecItemQuery& query,
                                     const SecItemChange& change);

// Deletes all items selected, with SecMatchLimit::kOne one of them. With an
// explicit SecMatchLimit::kAll an absent `synchronizable` selects both kinds,
// so that a service is cleared by one call.
[[nodiscard]] OSStatus secItemDelete(const SecItemQuery& query);

// Locks and unlocks the default keychain; unlocking asks the user, and is
// kErrSecUserCanceled when the user declines.
[[nodiscard]] OSStatus secKeychainLock();
[[nodiscard]] OSStatus secKeychainUnlock();

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_SEC_ITEM_H_
