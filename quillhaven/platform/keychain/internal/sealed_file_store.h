// The store behind makeSealedFileKeychain().
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SEALED_FILE_STORE_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SEALED_FILE_STORE_H_

#include <functional>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "quillhaven/platform/keychain/internal/keychain_folder.h"
#include "quillhaven/platform/keychain/internal/keychain_records.h"
#include "quillhaven/platform/keychain/internal/sealed_format.h"
#include "quillhaven/platform/keychain/sealed_file_keychain.h"

namespace quillhaven::platform::internal {

inline constexpr const char kSealedStoreFile[] = "keychain.sealed";
inline constexpr const char kSealedKeyFile[] = "keychain.key";

// See sealed_file_keychain.h. Thread-safe.
class SealedFileStore : public KeychainBackend {
 public:
  explicit SealedFileStore(SealedFileOptions options, WriteStepHook hook = {});

  [[nodiscard]] std::string_view name() const override;
  OSStatus add(const KeychainItem& item) override;
  OSStatus find(const KeychainItemPattern& pattern, KeychainItemParts parts,
                std::vector<KeychainItem>& found) override;
  OSStatus update(const KeychainItemPattern& pattern,
                  const KeychainItemChange& change) override;
  OSStatus remove(const KeychainItemPattern& pattern) override;
  OSStatus lock() override;
  OSStatus unlock() override;

 private:
  using Records = std::vector<KeychainRecord>;
  using Change = std::function<OSStatus(Records&)>;
  // What a change does where there is no file.
  enum Missing { kMakesFile, kNeedsFile };

  // A master key and the derivation it belongs to.
  struct Key {
    KeyDerivation derivation;
    SecretBytes master;
  };
  // A file as it was read; without a header when there is none.
  struct File {
    SecretBytes bytes;
    std::optional<SealedHeader> header;
  };

  OSStatus readFile(File& file) const;
  OSStatus keyFor(const File& file, Key& key);
  OSStatus keyFromPassphrase(const File& file, Key& key);
  OSStatus keyFromKeyFile(const File& file, Key& key) const;
  OSStatus askForKey(const KeyDerivation& derivation, bool isNew,
                     SecretBytes& masterKey) const;
  OSStatus makeKeyFile(Key& key) const;
  static OSStatus openRecords(const File& file, const Key& key,
                              SecretBytes& list, Records& records);
  OSStatus writeRecords(Key& key, const Records& records);
  OSStatus change(Missing missing, const Change& change);
  OSStatus changeLocked(Key& key, const Change& change, bool& isOtherFile);
  void remember(const Key& key);

  const SealedFileOptions options_;
  const KeychainFolder folder_;
  std::mutex lock_;
  std::optional<Key> key_;  // from a passphrase; guarded by lock_
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SEALED_FILE_STORE_H_
