#include "quillhaven/devtools/plan_tier_credentials.h"

#include <array>
#include <cstddef>
#include <utility>

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::devtools {
namespace {

using platform::OSStatus;
using platform::SecItemMatches;
using platform::SecItemQuery;

struct Tier {
  std::string_view name;
  std::string_view keychainWord;
};
constexpr std::array<Tier, 4> kTiers = {{{"Sprout", "sprout"},
                                         {"Grove", "grove"},
                                         {"Canopy", "canopy"},
                                         {"Forest", "forest"}}};

const Tier* tierOf(int number) {
  if (number < 0 || number >= static_cast<int>(kTiers.size())) return nullptr;
  return &kTiers.at(static_cast<std::size_t>(number));
}

std::optional<std::string> accountOf(const SecItemMatches& matches) {
  if (matches.items.empty() || !matches.items[0].attributes) {
    return std::nullopt;
  }
  return matches.items[0].attributes->account;
}

}  // namespace

std::optional<std::string_view> planTierName(int tier) {
  const Tier* known = tierOf(tier);
  return known ? std::optional(known->name) : std::nullopt;
}

std::string _keychainServiceNameForPlanTier(int tier) {
  const Tier* known = tierOf(tier);
  // What formatting makes of an absent word; deliberate.
  const std::string_view word = known ? known->keychainWord : "(null)";
  return "com.quillhaven.mailplugin.develop.account." + std::string(word);
}

SecItemQuery _keychainSearchDictionaryForPlanTier(int tier) {
  SecItemQuery query;
  query.itemClass = platform::SecClass::kGenericPassword;
  query.service = _keychainServiceNameForPlanTier(tier);
  query.matchLimit = platform::SecMatchLimit::kOne;
  query.returnData = true;
  query.returnAttributes = true;
  return query;
}

std::optional<AccountCredentials> _keychainAccountCredentialsForPlanTier(
    int tier, OSStatus& status) {
  const SecItemMatches matches =
      secItemCopyMatching(_keychainSearchDictionaryForPlanTier(tier));
  status = matches.status;
  if (status != platform::kErrSecSuccess) return std::nullopt;

  AccountCredentials credentials;
  credentials.account = accountOf(matches);
  if (!matches.items.empty() && matches.items[0].valueData) {
    const std::string_view bytes = viewOf(*matches.items[0].valueData);
    if (platform::isValidUTF8(bytes)) credentials.password = bytes;
  }
  return credentials;
}

std::optional<std::string> keychainAccountForPlanTier(int tier,
                                                      OSStatus& status) {
  SecItemQuery query = _keychainSearchDictionaryForPlanTier(tier);
  query.returnData = false;
  const SecItemMatches matches = secItemCopyMatching(query);
  status = matches.status;
  return accountOf(matches);
}

bool _saveKeychainAccountCredentials(const AccountCredentials& credentials,
                                     int tier, OSStatus& status) {
  const std::string account = credentials.account.value_or("");
  platform::SecretBytes password =
      platform::secretBytesFrom(credentials.password.value_or(""));

  const auto stored = _keychainAccountCredentialsForPlanTier(tier, status);
  if (stored && status == platform::kErrSecSuccess) {
    status = secItemUpdate(_keychainSearchDictionaryForPlanTier(tier),
                           {account, std::move(password)});
  } else {
    SecItemQuery item;
    item.itemClass = platform::SecClass::kGenericPassword;
    item.service = _keychainServiceNameForPlanTier(tier);
    item.account = account;
    item.valueData = std::move(password);
    status = secItemAdd(item);
  }
  return status == platform::kErrSecSuccess;
}

}  // namespace quillhaven::devtools
