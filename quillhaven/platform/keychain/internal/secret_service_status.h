// Turns the errors of libsecret and of the bus into statuses.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SECRET_SERVICE_STATUS_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SECRET_SERVICE_STATUS_H_

#include <gio/gio.h>

#include "quillhaven/platform/keychain/os_status.h"

namespace quillhaven::platform::internal {

// Returns the status that `error` stands for; `missingObject` is the one when
// what was called is not there (an item: not found, a collection: no default
// keychain).
[[nodiscard]] OSStatus keychainStatusFrom(const GError& error,
                                          OSStatus missingObject);

// True when the call did not reach the service that we connected to, or reached
// one that does not know us: it ended, and may have been started again.
[[nodiscard]] bool isServiceLost(const GError& error);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SECRET_SERVICE_STATUS_H_
