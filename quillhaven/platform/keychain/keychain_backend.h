// Where keychain items are kept: the interface of a store of generic passwords,
// and the one store that this process uses.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_KEYCHAIN_BACKEND_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_KEYCHAIN_BACKEND_H_

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/keychain/os_status.h"
#include "quillhaven/platform/keychain/secret_bytes.h"

namespace quillhaven::platform {

// When an item may be read. The product stores one kind; an item without it is
// readable while the keychain is unlocked.
enum class SecAttrAccessible { kAlways };

// What is known of an item besides its value. Service, account and
// `isSynchronizable` together are its key: no store holds two items with the
// same one. Texts are UTF-8 without NUL.
struct KeychainItemAttributes {
  std::string service;
  std::string account;  // may be empty
  bool isSynchronizable = false;
  std::optional<SecAttrAccessible> accessible;

  bool operator==(const KeychainItemAttributes&) const = default;
};

struct KeychainItem {
  KeychainItemAttributes attributes;
  SecretBytes value;  // any bytes, also none
};

// Selects the items that have all the attributes given.
struct KeychainItemPattern {
  std::string service;
  std::optional<std::string> account;
  std::optional<bool> isSynchronizable;
  std::optional<SecAttrAccessible> accessible;
  bool isFirstOnly = false;  // of several, any one
};

// What a search hands out of each item; the rest stays empty.
struct KeychainItemParts {
  bool attributes = false;
  bool value = false;
};

// What changes in every item selected; absent stays as it is.
struct KeychainItemChange {
  std::optional<std::string> account;
  std::optional<SecretBytes> value;
};

// A store of generic passwords. It translates and nothing more: what a query
// means is decided by sec_item.h.
//
// Every operation on one item is one step for other threads and processes, and
// leaves the store as it was unless it returns 0; one on several may be a step
// an item. A locked store asks the user to unlock it when an operation needs
// that, and returns kErrSecUserCanceled when the user declines,
// kErrSecInteractionNotAllowed when nobody can be asked: never
// kErrSecItemNotFound. kErrSecParam: an item without a service, or with text
// that the store cannot keep; kErrSecNotAvailable: the store cannot be reached,
// read or written; kErrSecInvalidKeychain: it is damaged and stays so;
// kErrSecAuthFailed: the passphrase or key is wrong; kErrSecNoDefaultKeychain:
// there is nowhere to add to. Nothing throws but std::bad_alloc. Thread-safe.
class KeychainBackend {
 public:
  KeychainBackend() = default;
  KeychainBackend(const KeychainBackend&) = delete;
  KeychainBackend& operator=(const KeychainBackend&) = delete;
  virtual ~KeychainBackend() = default;

  // What people and the environment variable call this kind of store.
  [[nodiscard]] virtual std::string_view name() const = 0;

  // Adds an item; kErrSecDuplicateItem if there is one with its key.
  virtual OSStatus add(const KeychainItem& item) = 0;

  // Appends the items that match to `found`, which stays as it was on failure;
  // kErrSecItemNotFound if none does. A locked store is unlocked only for
  // values, and for attributes that it hides while it is locked.
  virtual OSStatus find(const KeychainItemPattern& pattern,
                        KeychainItemParts parts,
                        std::vector<KeychainItem>& found) = 0;

  // Changes the items that match; kErrSecItemNotFound if none does,
  // kErrSecDuplicateItem if one would take the key of another item.
  virtual OSStatus update(const KeychainItemPattern& pattern,
                          const KeychainItemChange& change) = 0;

  // Deletes the items that match; kErrSecItemNotFound if none does.
  virtual OSStatus remove(const KeychainItemPattern& pattern) = 0;

  // Makes the default keychain ask before it hands out the next value. Locking
  // a locked one succeeds.
  virtual OSStatus lock() = 0;

  // Unlocks it, asking the user if it is locked.
  virtual OSStatus unlock() = 0;
};

// The environment variable that chooses the store by its name.
inline constexpr const char kKeychainVariable[] = "QUILLHAVEN_KEYCHAIN";

// Returns the store of this process. Unless a host has set one, the first call
// chooses: the one that the environment variable names, else the Secret Service
// when the session bus has one, running or to be started, else the sealed file
// in the user's data folder. The choice holds for the life of the process.
// Thread-safe.
[[nodiscard]] std::shared_ptr<KeychainBackend> keychainBackend();

// Makes `backend` the store of this process; null lets the next call of
// keychainBackend() choose again. Calls under way end on the old one.
// Thread-safe.
void setKeychainBackend(std::shared_ptr<KeychainBackend> backend);

// Says whether stores may ask the user, which they may by default. When not,
// what needs an answer returns kErrSecInteractionNotAllowed. Thread-safe.
void secKeychainSetUserInteractionAllowed(bool isAllowed);
[[nodiscard]] bool secKeychainIsUserInteractionAllowed();

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_KEYCHAIN_BACKEND_H_
