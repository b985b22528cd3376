// Starts libsodium.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SODIUM_START_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SODIUM_START_H_

namespace quillhaven::platform::internal {

// To be called before anything else of libsodium; cheap when repeated. A fatal
// error where the kernel has no random numbers. Thread-safe.
void startSodium();

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SODIUM_START_H_
