// The error of the keychain store.
#ifndef QUILLHAVEN_IDENTITY_KEYCHAIN_ERROR_H_
#define QUILLHAVEN_IDENTITY_KEYCHAIN_ERROR_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "quillhaven/platform/base/localized_error.h"

namespace quillhaven::identity {

// Returns the platform's message for a status code of a keychain call, in
// English, or nothing for a code that is none.
//   keychainStatusMessage(-25300)   "There is no such item in the keychain."
[[nodiscard]] std::optional<std::string> keychainStatusMessage(
    std::int32_t status);

// Why a password could not be kept, read or removed; description() is for logs.
// Hashable. Immutable.
class KeychainError : public platform::LocalizedError {
 public:
  // A keychain call answered with this status code, which is also the error's.
  struct Status {
    std::int32_t code;
    bool operator==(const Status&) const = default;
  };
  // The password cannot be written as UTF-8. Code 1.
  struct PasswordEncoding {
    bool operator==(const PasswordEncoding&) const = default;
  };
  // What was saved cannot be read back; for callers that check. Code 2.
  struct CanSaveButNotRead {
    bool operator==(const CanSaveButNotRead&) const = default;
  };
  using Case = std::variant<Status, PasswordEncoding, CanSaveButNotRead>;

  explicit KeychainError(Case errorCase);

  static KeychainError status(std::int32_t code);
  static KeychainError passwordEncoding();
  static KeychainError canSaveButNotRead();

  [[nodiscard]] const Case& errorCase() const noexcept { return case_; }

  friend bool operator==(const KeychainError& a, const KeychainError& b) {
    return a.case_ == b.case_;
  }

 private:
  Case case_;
};

}  // namespace quillhaven::identity

template <>
struct std::hash<quillhaven::identity::KeychainError> {
  std::size_t operator()(
      const quillhaven::identity::KeychainError& error) const noexcept;
};

#endif  // QUILLHAVEN_IDENTITY_KEYCHAIN_ERROR_H_
