#include "quillhaven/platform/keychain/secret_service_keychain.h"

#include <glib.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "quillhaven/platform/keychain/internal/keychain_folder.h"
#include "quillhaven/platform/keychain/internal/secret_service_client.h"

namespace quillhaven::platform {
namespace {

using internal::FoundItems;
using internal::KeychainFolder;
using internal::ObjectPaths;
using internal::SecretServiceClient;

constexpr const char kBusName[] = "org.freedesktop.secrets";

// Nothing is cached but libsecret's connection. Thread-safe.
class SecretServiceStore : public KeychainBackend {
 public:
  // Two searches that both find nothing would make two items; the service does
  // not keep them apart, so a lock among our processes does.
  SecretServiceStore()
      : lockFolder_(std::string(::g_get_user_runtime_dir()) + "/quillhaven") {}

  [[nodiscard]] std::string_view name() const override {
    return kSecretServiceName;
  }
  OSStatus add(const KeychainItem& item) override;
  OSStatus find(const KeychainItemPattern& pattern, KeychainItemParts parts,
                std::vector<KeychainItem>& found) override;
  OSStatus update(const KeychainItemPattern& pattern,
                  const KeychainItemChange& change) override;
  OSStatus remove(const KeychainItemPattern& pattern) override;
  OSStatus lock() override;
  OSStatus unlock() override;

 private:
  OSStatus addUnlessThere(SecretServiceClient& client,
                          const KeychainItem& item) const;
  OSStatus move(SecretServiceClient& client, const KeychainItemPattern& pattern,
                const ObjectPaths& items, const std::string& account) const;

  const KeychainFolder lockFolder_;
};

// Runs `operation` on a connection; once more when the service was started
// again since the last use, of which nothing tells a host without a loop.
template <typename Operation>
OSStatus withService(const Operation& operation) {
  SecretServiceClient client;
  if (const OSStatus status = client.connect(false)) return status;
  const OSStatus status = operation(client);
  if (!client.hasLostService()) return status;
  const OSStatus again = client.connect(true);
  return again == 0 ? operation(client) : again;
}

// Leaves one item where the pattern asks for no more; unlocked ones first.
void limit(const KeychainItemPattern& pattern, FoundItems& found) {
  if (!pattern.isFirstOnly) return;
  const bool hasUnlocked = !found.unlocked.empty();
  if (hasUnlocked) found.unlocked.resize(1);
  if (!found.locked.empty()) found.locked.resize(hasUnlocked ? 0 : 1);
}

OSStatus search(SecretServiceClient& client, const KeychainItemPattern& pattern,
                FoundItems& found) {
  if (const OSStatus status = client.search(pattern, found)) return status;
  limit(pattern, found);
  const bool isEmpty = found.unlocked.empty() && found.locked.empty();
  return isEmpty ? kErrSecItemNotFound : kErrSecSuccess;
}

// Finds the items that match and has the locked ones unlocked.
OSStatus searchUnlocked(SecretServiceClient& client,
                        const KeychainItemPattern& pattern,
                        ObjectPaths& items) {
  FoundItems found;
  if (const OSStatus status = search(client, pattern, found)) return status;
  if (const OSStatus status = client.unlock(found.locked)) return status;
  items = std::move(found.unlocked);
  items.insert(items.end(), found.locked.begin(), found.locked.end());
  return kErrSecSuccess;
}

// Calls `work` for each item. One that has gone since it was found, by another
// thread or program, is passed over; kErrSecItemNotFound if all have.
template <typename Work>
OSStatus forEachStillThere(const ObjectPaths& items, const Work& work) {
  bool isAnyThere = false;
  for (const std::string& item : items) {
    const OSStatus status = work(item);
    if (status == kErrSecItemNotFound) continue;
    if (status != kErrSecSuccess) return status;
    isAnyThere = true;
  }
  return isAnyThere ? kErrSecSuccess : kErrSecItemNotFound;
}

OSStatus unlockDefaultCollection(SecretServiceClient& client) {
  std::string collection;
  if (const OSStatus status = client.findDefaultCollection(collection)) {
    return status;
  }
  bool isLocked = false;
  if (const OSStatus status = client.readIsLocked(collection, isLocked)) {
    return status;
  }
  return isLocked ? client.unlock({collection}) : kErrSecSuccess;
}

OSStatus readItem(SecretServiceClient& client, const std::string& path,
                  const KeychainItemPattern& pattern, KeychainItemParts parts,
                  KeychainItem& item) {
  if (parts.attributes) {
    OSStatus status = client.readAttributes(path, pattern, item.attributes);
    if (status == kErrSecInteractionNotAllowed) {
      status = client.unlock({path});
      if (status != kErrSecSuccess) return status;
      status = client.readAttributes(path, pattern, item.attributes);
    }
    if (status != kErrSecSuccess) return status;
  }
  return parts.value ? client.readValue(path, item.value) : kErrSecSuccess;
}

KeychainItemPattern keyOf(const KeychainItemAttributes& attributes) {
  return {attributes.service, attributes.account, attributes.isSynchronizable,
          std::nullopt};
}

OSStatus SecretServiceStore::add(const KeychainItem& item) {
  return withService([&](SecretServiceClient& client) {
    const OSStatus status = addUnlessThere(client, item);
    if (status != kErrSecInteractionNotAllowed) return status;
    // It is locked. The user is asked without our lock held.
    const OSStatus unlocked = unlockDefaultCollection(client);
    return unlocked == 0 ? addUnlessThere(client, item) : unlocked;
  });
}

OSStatus SecretServiceStore::addUnlessThere(SecretServiceClient& client,
                                            const KeychainItem& item) const {
  UniqueFd lock;
  // Without a folder for it there is no lock, and two items in the worst case.
  (void)lockFolder_.lock(lock);
  FoundItems found;
  const OSStatus status = search(client, keyOf(item.attributes), found);
  if (status == kErrSecSuccess) return kErrSecDuplicateItem;
  return status == kErrSecItemNotFound ? client.create(item) : status;
}

OSStatus SecretServiceStore::find(const KeychainItemPattern& pattern,
                                  KeychainItemParts parts,
                                  std::vector<KeychainItem>& found) {
  return withService([&](SecretServiceClient& client) {
    FoundItems paths;
    if (const OSStatus status = search(client, pattern, paths)) return status;
    if (parts.value) {
      if (const OSStatus status = client.unlock(paths.locked)) return status;
    }
    ObjectPaths all = std::move(paths.unlocked);
    all.insert(all.end(), paths.locked.begin(), paths.locked.end());
    std::vector<KeychainItem> items;
    const OSStatus status = forEachStillThere(all, [&](const auto& path) {
      KeychainItem item;
      const OSStatus read = readItem(client, path, pattern, parts, item);
      if (read == kErrSecSuccess) items.push_back(std::move(item));
      return read;
    });
    if (status != kErrSecSuccess) return status;
    std::move(items.begin(), items.end(), std::back_inserter(found));
    return kErrSecSuccess;
  });
}

OSStatus SecretServiceStore::update(const KeychainItemPattern& pattern,
                                    const KeychainItemChange& change) {
  return withService([&](SecretServiceClient& client) {
    ObjectPaths items;
    if (const OSStatus status = searchUnlocked(client, pattern, items)) {
      return status;
    }
    if (change.account) {
      if (const OSStatus status =
              move(client, pattern, items, *change.account)) {
        return status;
      }
    }
    if (!change.value) return kErrSecSuccess;
    return forEachStillThere(items, [&](const std::string& item) {
      return client.writeValue(item, *change.value);
    });
  });
}

// Gives items another account, none of them if one would meet another item.
OSStatus SecretServiceStore::move(SecretServiceClient& client,
                                  const KeychainItemPattern& pattern,
                                  const ObjectPaths& items,
                                  const std::string& account) const {
  UniqueFd lock;
  (void)lockFolder_.lock(lock);
  std::vector<KeychainItemAttributes> moved;
  for (const std::string& item : items) {
    KeychainItemAttributes attributes;
    if (const OSStatus status =
            client.readAttributes(item, pattern, attributes)) {
      return status;
    }
    attributes.account = account;
    for (const KeychainItemAttributes& other : moved) {
      if (other.isSynchronizable == attributes.isSynchronizable) {
        return kErrSecDuplicateItem;
      }
    }
    FoundItems there;
    if (const OSStatus status = client.search(keyOf(attributes), there)) {
      return status;
    }
    for (const ObjectPaths& list : {there.unlocked, there.locked}) {
      for (const std::string& path : list) {
        if (path != item) return kErrSecDuplicateItem;
      }
    }
    moved.push_back(std::move(attributes));
  }
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (const OSStatus status = client.writeAttributes(items[i], moved[i])) {
      return status;
    }
  }
  return kErrSecSuccess;
}

OSStatus SecretServiceStore::remove(const KeychainItemPattern& pattern) {
  return withService([&](SecretServiceClient& client) {
    ObjectPaths items;
    if (const OSStatus status = searchUnlocked(client, pattern, items)) {
      return status;
    }
    return forEachStillThere(
        items, [&](const std::string& item) { return client.remove(item); });
  });
}

OSStatus SecretServiceStore::lock() {
  return withService([](SecretServiceClient& client) {
    std::string collection;
    if (const OSStatus status = client.findDefaultCollection(collection)) {
      return status;
    }
    return client.lock(collection);
  });
}

OSStatus SecretServiceStore::unlock() {
  return withService(unlockDefaultCollection);
}

// True when there is a bus to connect to; GLib would start one otherwise.
bool hasSessionBus() {
  const gchar* const address = ::g_getenv("DBUS_SESSION_BUS_ADDRESS");
  if (address != nullptr && *address != '\0') return true;
  const std::string socket = std::string(::g_get_user_runtime_dir()) + "/bus";
  return ::g_file_test(socket.c_str(), G_FILE_TEST_EXISTS) != FALSE;
}

// True when the bus's answer to `method` lists the service.
bool isListed(GDBusConnection* bus, const char* method) {
  const internal::GVariantPtr answer(::g_dbus_connection_call_sync(
      bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
      "org.freedesktop.DBus", method, nullptr, G_VARIANT_TYPE("(as)"),
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  if (!answer) return false;
  const internal::GVariantPtr names(
      ::g_variant_get_child_value(answer.get(), 0));
  for (gsize i = 0; i < ::g_variant_n_children(names.get()); ++i) {
    const gchar* name = nullptr;
    ::g_variant_get_child(names.get(), i, "&s", &name);
    if (std::string_view(name) == kBusName) return true;
  }
  return false;
}

}  // namespace

bool hasSecretService() {
  if (!hasSessionBus()) return false;
  const internal::GObjectPtr<GDBusConnection> bus(
      ::g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (!bus) return false;
  ::g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  return isListed(bus.get(), "ListNames") ||
         isListed(bus.get(), "ListActivatableNames");
}

std::shared_ptr<KeychainBackend> makeSecretServiceKeychain() {
  return std::make_shared<SecretServiceStore>();
}

}  // namespace quillhaven::platform
