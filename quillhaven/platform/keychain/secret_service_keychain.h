// Keychain items in the desktop's keychain service (the Secret Service
// interface on the session bus).
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_SECRET_SERVICE_KEYCHAIN_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_SECRET_SERVICE_KEYCHAIN_H_

#include <memory>

#include "quillhaven/platform/keychain/keychain_backend.h"

namespace quillhaven::platform {

inline constexpr const char kSecretServiceName[] = "secret-service";

// True when there is a session bus and on it a keychain service that runs or
// would be started by a call. Starts neither.
[[nodiscard]] bool hasSecretService();

// Returns a store in the service. New items go to its default collection; items
// are found in all collections. They carry the attributes "service", "account",
// "synchronizable" ("0" or "1"), where it is set "accessible" ("always"), and
// "class", which is "com.quillhaven.GenericPassword" like their schema; items
// without that class are left alone. Locking locks the default collection for
// all programs. Two processes of ours that add the same item at once make one;
// other programs may still make a second.
[[nodiscard]] std::shared_ptr<KeychainBackend> makeSecretServiceKeychain();

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_SECRET_SERVICE_KEYCHAIN_H_
