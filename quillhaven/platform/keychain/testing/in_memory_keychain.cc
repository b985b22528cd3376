#include "quillhaven/platform/keychain/testing/in_memory_keychain.h"

#include <algorithm>
#include <utility>

namespace quillhaven::platform::testing {
namespace {

bool matches(const KeychainItemAttributes& attributes,
             const KeychainItemPattern& pattern) {
  return attributes.service == pattern.service &&
         (!pattern.account || attributes.account == *pattern.account) &&
         (!pattern.isSynchronizable ||
          attributes.isSynchronizable == *pattern.isSynchronizable) &&
         (!pattern.accessible || attributes.accessible == pattern.accessible);
}

bool haveSameKey(const KeychainItem& one, const KeychainItem& other) {
  return one.attributes.service == other.attributes.service &&
         one.attributes.account == other.attributes.account &&
         one.attributes.isSynchronizable == other.attributes.isSynchronizable;
}

bool hasSameKeyTwice(const std::vector<KeychainItem>& items,
                     const KeychainItem& item) {
  return std::ranges::count_if(items, [&](const KeychainItem& other) {
           return haveSameKey(item, other);
         }) > 1;
}

}  // namespace

InMemoryKeychain::InMemoryKeychain(Hook hook) : hook_(std::move(hook)) {}

OSStatus InMemoryKeychain::before(std::string_view operation) const {
  return hook_ ? hook_(operation) : kErrSecSuccess;
}

OSStatus InMemoryKeychain::add(const KeychainItem& item) {
  if (const OSStatus status = before("add")) return status;
  for (const KeychainItem& other : items_) {
    if (haveSameKey(item, other)) return kErrSecDuplicateItem;
  }
  items_.push_back(item);
  return kErrSecSuccess;
}

OSStatus InMemoryKeychain::find(const KeychainItemPattern& pattern,
                                KeychainItemParts parts,
                                std::vector<KeychainItem>& found) {
  if (const OSStatus status = before("find")) return status;
  OSStatus status = kErrSecItemNotFound;
  for (const KeychainItem& item : items_) {
    if (!matches(item.attributes, pattern)) continue;
    if (status == kErrSecSuccess && pattern.isFirstOnly) break;
    status = kErrSecSuccess;
    KeychainItem& copy = found.emplace_back();
    if (parts.attributes) copy.attributes = item.attributes;
    if (parts.value) copy.value = item.value;
  }
  return status;
}

OSStatus InMemoryKeychain::update(const KeychainItemPattern& pattern,
                                  const KeychainItemChange& change) {
  if (const OSStatus status = before("update")) return status;
  OSStatus status = kErrSecItemNotFound;
  std::vector<KeychainItem> items = items_;
  for (KeychainItem& item : items) {
    if (!matches(item.attributes, pattern)) continue;
    if (status == kErrSecSuccess && pattern.isFirstOnly) break;
    status = kErrSecSuccess;
    if (change.value) item.value = *change.value;
    if (!change.account) continue;
    item.attributes.account = *change.account;
    if (hasSameKeyTwice(items, item)) return kErrSecDuplicateItem;
  }
  if (status == kErrSecSuccess) items_ = std::move(items);
  return status;
}

OSStatus InMemoryKeychain::remove(const KeychainItemPattern& pattern) {
  if (const OSStatus status = before("remove")) return status;
  OSStatus status = kErrSecItemNotFound;
  std::erase_if(items_, [&](const KeychainItem& item) {
    if (status == kErrSecSuccess && pattern.isFirstOnly) return false;
    if (!matches(item.attributes, pattern)) return false;
    status = kErrSecSuccess;
    return true;
  });
  return status;
}

}  // namespace quillhaven::platform::testing
