// A working keychain store in memory, for tests of what stands on it.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_TESTING_IN_MEMORY_KEYCHAIN_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_TESTING_IN_MEMORY_KEYCHAIN_H_

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/keychain/keychain_backend.h"

namespace quillhaven::platform::testing {

// Keeps the contract of KeychainBackend. One thread at a time.
class InMemoryKeychain : public KeychainBackend {
 public:
  // Called with the name of each operation before it: "add", "find", "update",
  // "remove", "lock", "unlock". Anything but 0 is what it returns instead.
  using Hook = std::function<OSStatus(std::string_view operation)>;

  explicit InMemoryKeychain(Hook hook = {});

  [[nodiscard]] std::string_view name() const override { return "in-memory"; }
  OSStatus add(const KeychainItem& item) override;
  OSStatus find(const KeychainItemPattern& pattern, KeychainItemParts parts,
                std::vector<KeychainItem>& found) override;
  OSStatus update(const KeychainItemPattern& pattern,
                  const KeychainItemChange& change) override;
  OSStatus remove(const KeychainItemPattern& pattern) override;
  OSStatus lock() override { return before("lock"); }
  OSStatus unlock() override { return before("unlock"); }

 private:
  [[nodiscard]] OSStatus before(std::string_view operation) const;

  Hook hook_;
  std::vector<KeychainItem> items_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_TESTING_IN_MEMORY_KEYCHAIN_H_
