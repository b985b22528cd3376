// Passwords and tokens of the user, one text per account, kept in the user's
// keychain under the name of a service.
#ifndef QUILLHAVEN_IDENTITY_KEYCHAIN_H_
#define QUILLHAVEN_IDENTITY_KEYCHAIN_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/identity/keychain_error.h"

namespace quillhaven::identity {

// What those need who keep passwords; see Keychain for what each does.
class KeychainAccessing {
 public:
  virtual ~KeychainAccessing() = default;
  virtual void save(std::string_view password,
                    std::optional<std::string_view> forAccount,
                    bool isSynchronizable) = 0;
  [[nodiscard]] virtual std::optional<std::string> password(
      std::optional<std::string_view> forAccount, bool isSynchronizable) = 0;
  virtual void removePassword(std::optional<std::string_view> forAccount,
                              bool isSynchronizable) = 0;
  virtual void update(std::string_view password,
                      std::optional<std::string_view> forAccount,
                      bool isSynchronizable) = 0;
  virtual void reset() = 0;
  virtual void lockUnLock() = 0;
};

// What is left of an older interface.
class KeychainDeprecatedAPI {
 public:
  virtual ~KeychainDeprecatedAPI() = default;
  virtual void lockUnLock() = 0;
};

// Keeps one password per account and kind: an item is local to this machine or
// synchronizable, and the two know nothing of each other. An absent account is
// the one that has the service's name. Where items are kept decides
// platform::keychainBackend().
//
// Every operation throws KeychainError: `status` with what the keychain
// answered, `passwordEncoding` for a password that is not UTF-8. Nothing is
// cached, logged or tried again. All but lockUnLock() run on the main thread: a
// call from another one waits until a loop there serves it, so the main thread
// must not wait for that caller. They block while the user is asked to unlock
// the keychain. Thread-safe.
class Keychain : public KeychainAccessing, public KeychainDeprecatedAPI {
 public:
  explicit Keychain(std::string service);
  Keychain(const Keychain&) = delete;
  Keychain& operator=(const Keychain&) = delete;

  // The service of all items that this store reads and writes.
  [[nodiscard]] const std::string& service() const { return service_; }

  // True when there is a synchronizable password. Of a local one the answer is
  // always false, which save() relies on. Deliberate.
  [[nodiscard]] virtual bool existsPassword(
      std::optional<std::string_view> forAccount, bool isSynchronizable);

  // Adds a password. A synchronizable one that exists is updated; a local one
  // that exists fails with `status` -25299 (duplicate), so that it is replaced
  // only by update().
  void save(std::string_view password,
            std::optional<std::string_view> forAccount,
            bool isSynchronizable) override;

  // Replaces a password that exists; `status` -25300 (no such item) if there is
  // none.
  void update(std::string_view password,
              std::optional<std::string_view> forAccount,
              bool isSynchronizable) override;

  // Returns a password, or nothing if there is none or it is no UTF-8 text.
  [[nodiscard]] std::optional<std::string> password(
      std::optional<std::string_view> forAccount,
      bool isSynchronizable) override;

  // Deletes a password; succeeds also when there is none.
  void removePassword(std::optional<std::string_view> forAccount,
                      bool isSynchronizable) override;

  // Deletes all passwords of the service, of both kinds. Unlike
  // removePassword(), fails with `status` -25300 when there is none.
  void reset() override;

  // Locks the default keychain and unlocks it again, for which the user is
  // asked: it mends a keychain that answers -25293. `status` -128 when the user
  // declines; it stays locked then. Runs on the calling thread.
  void lockUnLock() override;

 private:
  const std::string service_;
};

}  // namespace quillhaven::identity

#endif  // QUILLHAVEN_IDENTITY_KEYCHAIN_H_
