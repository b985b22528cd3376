#include "quillhaven/platform/keychain/sec_item.h"

#include <glib.h>

#include <memory>
#include <utility>

namespace quillhaven::platform {
namespace {

bool isText(const std::string& text) {
  return ::g_utf8_validate(text.data(), static_cast<gssize>(text.size()),
                           nullptr) != FALSE;
}

bool isText(const std::optional<std::string>& text) {
  return !text || isText(*text);
}

bool isWellFormed(const SecItemQuery& query) {
  return !query.service.empty() && isText(query.service) &&
         isText(query.account);
}

KeychainItemPattern patternFrom(const SecItemQuery& query) {
  return {query.service, query.account, query.synchronizable.value_or(false),
          query.accessible, query.matchLimit == SecMatchLimit::kOne};
}

}  // namespace

OSStatus secItemAdd(const SecItemQuery& query) {
  if (!isWellFormed(query)) return kErrSecParam;
  return keychainBackend()->add(
      {{query.service, query.account.value_or(""),
        query.synchronizable.value_or(false), query.accessible},
       query.valueData.value_or(SecretBytes())});
}

SecItemMatches secItemCopyMatching(const SecItemQuery& query) {
  if (!isWellFormed(query)) return {kErrSecParam, {}};
  KeychainItemPattern pattern = patternFrom(query);
  pattern.isFirstOnly = query.matchLimit != SecMatchLimit::kAll;

  std::vector<KeychainItem> found;
  SecItemMatches matches;
  matches.status = keychainBackend()->find(
      pattern, {query.returnAttributes, query.returnData}, found);
  if (!query.returnAttributes && !query.returnData) return matches;
  for (KeychainItem& item : found) {
    SecItemResult& result = matches.items.emplace_back();
    if (query.returnAttributes) result.attributes = std::move(item.attributes);
    if (query.returnData) result.valueData = std::move(item.value);
  }
  return matches;
}

OSStatus secItemUpdate(const SecItemQuery& query, const SecItemChange& change) {
  if (!isWellFormed(query) || !isText(change.account)) return kErrSecParam;
  return keychainBackend()->update(patternFrom(query),
                                   {change.account, change.valueData});
}

OSStatus secItemDelete(const SecItemQuery& query) {
  if (!isWellFormed(query)) return kErrSecParam;
  KeychainItemPattern pattern = patternFrom(query);
  if (query.matchLimit == SecMatchLimit::kAll) {
    pattern.isSynchronizable = query.synchronizable;
  }
  return keychainBackend()->remove(pattern);
}

OSStatus secKeychainLock() { return keychainBackend()->lock(); }

OSStatus secKeychainUnlock() { return keychainBackend()->unlock(); }

}  // namespace quillhaven::platform
