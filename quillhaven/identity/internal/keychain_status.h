// The platform's messages for the status codes of keychain calls.
#ifndef QUILLHAVEN_IDENTITY_INTERNAL_KEYCHAIN_STATUS_H_
#define QUILLHAVEN_IDENTITY_INTERNAL_KEYCHAIN_STATUS_H_

#include <cstdint>

namespace quillhaven::identity::internal {

// Status codes with texts of their own.
inline constexpr std::int32_t kUserCanceled = -128;
inline constexpr std::int32_t kInvalidOwnerEdit = -25244;
inline constexpr std::int32_t kAuthFailed = -25293;

// Returns the message for `status`, which is its localization key too, or null.
[[nodiscard]] const char* keychainStatusKey(std::int32_t status);

}  // namespace quillhaven::identity::internal

#endif  // QUILLHAVEN_IDENTITY_INTERNAL_KEYCHAIN_STATUS_H_
