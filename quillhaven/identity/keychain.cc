#include "quillhaven/identity/keychain.h"

#include <utility>

#include "quillhaven/platform/keychain/sec_item.h"
#include "quillhaven/platform/run_loop/main_queue.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::identity {
namespace {

using platform::OSStatus;
using platform::SecItemQuery;

void requireSuccess(OSStatus status) {
  if (status != platform::kErrSecSuccess) throw KeychainError::status(status);
}

SecItemQuery basicDictionary(const std::string& service) {
  SecItemQuery query;
  query.itemClass = platform::SecClass::kGenericPassword;
  query.service = service;
  return query;
}

SecItemQuery searchDictionary(const std::string& service,
                              std::optional<std::string_view> forAccount) {
  SecItemQuery query = basicDictionary(service);
  query.account = std::string(forAccount.value_or(service));
  return query;
}

// What new synchronizable items carry, and what an update looks for. Local
// items have neither attribute.
void addSynchronizableAttributes(SecItemQuery& query) {
  query.accessible = platform::SecAttrAccessible::kAlways;
  query.synchronizable = true;
}

platform::SecretBytes encoded(std::string_view password) {
  if (!platform::isValidUTF8(password)) {
    throw KeychainError::passwordEncoding();
  }
  return platform::secretBytesFrom(password);
}

}  // namespace

Keychain::Keychain(std::string service) : service_(std::move(service)) {}

bool Keychain::existsPassword(std::optional<std::string_view> forAccount,
                              bool isSynchronizable) {
  return platform::mainQueueSync([&] {
    SecItemQuery query = searchDictionary(service_, forAccount);
    query.matchLimit = platform::SecMatchLimit::kOne;
    if (isSynchronizable) {
      query.synchronizable = true;
      query.returnAttributes = true;
    }
    const auto matches = platform::secItemCopyMatching(query);
    if (matches.status != platform::kErrSecItemNotFound) {
      requireSuccess(matches.status);
    }
    // A query that asks for nothing gets nothing back, so a local password
    // never exists here. Deliberate.
    return !matches.items.empty();
  });
}

void Keychain::save(std::string_view password,
                    std::optional<std::string_view> forAccount,
                    bool isSynchronizable) {
  platform::mainQueueSync([&] {
    if (existsPassword(forAccount, isSynchronizable)) {
      update(password, forAccount, isSynchronizable);
      return;
    }
    auto value = encoded(password);
    SecItemQuery query = searchDictionary(service_, forAccount);
    query.valueData = std::move(value);
    if (isSynchronizable) addSynchronizableAttributes(query);
    requireSuccess(platform::secItemAdd(query));
  });
}

void Keychain::update(std::string_view password,
                      std::optional<std::string_view> forAccount,
                      bool isSynchronizable) {
  platform::mainQueueSync([&] {
    platform::SecItemChange attributes;
    attributes.valueData = encoded(password);
    SecItemQuery query = searchDictionary(service_, forAccount);
    if (isSynchronizable) addSynchronizableAttributes(query);
    requireSuccess(platform::secItemUpdate(query, attributes));
  });
}

std::optional<std::string> Keychain::password(
    std::optional<std::string_view> forAccount, bool isSynchronizable) {
  return platform::mainQueueSync([&]() -> std::optional<std::string> {
    SecItemQuery query = searchDictionary(service_, forAccount);
    query.matchLimit = platform::SecMatchLimit::kOne;
    query.returnData = true;
    if (isSynchronizable) query.synchronizable = true;
    const auto matches = platform::secItemCopyMatching(query);
    if (matches.status == platform::kErrSecItemNotFound) return std::nullopt;
    requireSuccess(matches.status);
    if (matches.items.empty() || !matches.items[0].valueData) {
      return std::nullopt;
    }
    const auto value = platform::viewOf(*matches.items[0].valueData);
    if (!platform::isValidUTF8(value)) return std::nullopt;
    return std::string(value);
  });
}

void Keychain::removePassword(std::optional<std::string_view> forAccount,
                              bool isSynchronizable) {
  platform::mainQueueSync([&] {
    SecItemQuery query = searchDictionary(service_, forAccount);
    if (isSynchronizable) query.synchronizable = true;
    const OSStatus status = platform::secItemDelete(query);
    if (status != platform::kErrSecItemNotFound) requireSuccess(status);
  });
}

void Keychain::reset() {
  platform::mainQueueSync([&] {
    SecItemQuery query = basicDictionary(service_);
    query.matchLimit = platform::SecMatchLimit::kAll;
    requireSuccess(platform::secItemDelete(query));
  });
}

void Keychain::lockUnLock() {
  requireSuccess(platform::secKeychainLock());
  requireSuccess(platform::secKeychainUnlock());
}

}  // namespace quillhaven::identity
