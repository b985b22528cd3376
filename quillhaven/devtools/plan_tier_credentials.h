// The test account of each plan tier, kept in the keychain for quick login.
#ifndef QUILLHAVEN_DEVTOOLS_PLAN_TIER_CREDENTIALS_H_
#define QUILLHAVEN_DEVTOOLS_PLAN_TIER_CREDENTIALS_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/keychain/os_status.h"
#include "quillhaven/platform/keychain/sec_item.h"

namespace quillhaven::devtools {

// A plan tier is the tag of its menu item: 0 Sprout, 1 Grove, 2 Canopy,
// 3 Forest. Any other number has no name and no word of its own.

// Returns the name that the menu shows, such as "Sprout"; absent for others.
[[nodiscard]] std::optional<std::string_view> planTierName(int tier);

// An e-mail address and its password. A part that the keychain lacks, or a
// password there that is not UTF-8, is absent.
struct AccountCredentials {
  std::optional<std::string> account;
  std::optional<std::string> password;

  bool operator==(const AccountCredentials&) const = default;
};

// The keychain calls below go to the store of the process (keychain_backend.h).
// They may ask the user to unlock it and block meanwhile; any thread.

// Returns "com.quillhaven.mailplugin.develop.account." and the tier's word;
// the word is "(null)" for others.
[[nodiscard]] std::string _keychainServiceNameForPlanTier(int tier);

// Returns the query for the one item of a tier, with its value and attributes.
[[nodiscard]] platform::SecItemQuery _keychainSearchDictionaryForPlanTier(
    int tier);

// Returns what is stored for a tier, or nothing unless `status`, the outcome of
// the search, is 0.
[[nodiscard]] std::optional<AccountCredentials>
_keychainAccountCredentialsForPlanTier(int tier, platform::OSStatus& status);

// Returns the account stored for a tier, as above but without its password: a
// store that shows what it holds while it is locked is not unlocked for this.
[[nodiscard]] std::optional<std::string> keychainAccountForPlanTier(
    int tier, platform::OSStatus& status);

// Stores credentials for a tier in place of those that can be read, else as a
// new item. Absent parts are stored empty. Returns whether `status`, the
// outcome of the last call, is 0.
[[nodiscard]] bool _saveKeychainAccountCredentials(
    const AccountCredentials& credentials, int tier,
    platform::OSStatus& status);

}  // namespace quillhaven::devtools

#endif  // QUILLHAVEN_DEVTOOLS_PLAN_TIER_CREDENTIALS_H_
