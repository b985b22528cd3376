// The status codes of keychain calls.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_OS_STATUS_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_OS_STATUS_H_

#include <cstdint>

namespace quillhaven::platform {

// 0 is done; everything else says why not. The numbers are those that stored
// reports, translations and callers know.
using OSStatus = std::int32_t;

inline constexpr OSStatus kErrSecSuccess = 0;
// A query without a service, or with text that is no UTF-8 or holds a NUL.
inline constexpr OSStatus kErrSecParam = -50;
// The user was asked and declined.
inline constexpr OSStatus kErrSecUserCanceled = -128;
// The keychain cannot be reached, read or written.
inline constexpr OSStatus kErrSecNotAvailable = -25291;
// The passphrase or key does not fit.
inline constexpr OSStatus kErrSecAuthFailed = -25293;
// The keychain is damaged.
inline constexpr OSStatus kErrSecInvalidKeychain = -25295;
// An item with this service, account and kind exists.
inline constexpr OSStatus kErrSecDuplicateItem = -25299;
inline constexpr OSStatus kErrSecItemNotFound = -25300;
// More than the keychain can hold.
inline constexpr OSStatus kErrSecDataTooLarge = -25302;
inline constexpr OSStatus kErrSecNoDefaultKeychain = -25307;
// The user would have to be asked, which nobody can or may do.
inline constexpr OSStatus kErrSecInteractionNotAllowed = -25308;

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_OS_STATUS_H_
