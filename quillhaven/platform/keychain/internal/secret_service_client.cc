#include "quillhaven/platform/keychain/internal/secret_service_client.h"

// The calls by object path, each one message on the bus, count as unstable
// since 2012; the others make an object with all properties for every item.
#define SECRET_API_SUBJECT_TO_CHANGE  // NOLINT(readability-identifier-naming)
#include <libsecret/secret.h>

#include <optional>
#include <utility>

#include "quillhaven/platform/keychain/internal/secret_service_status.h"

namespace quillhaven::platform::internal {
namespace {

constexpr const char kSchemaName[] = "com.quillhaven.GenericPassword";
constexpr const char kServiceAttribute[] = "service";
constexpr const char kAccountAttribute[] = "account";
constexpr const char kSynchronizableAttribute[] = "synchronizable";
constexpr const char kAccessibleAttribute[] = "accessible";
constexpr const char kSchemaAttribute[] = "xdg:schema";
// Tells our items from those of others in searches. The name of the schema
// would do, but a keyring that has not been unlocked since its service started
// keeps only hashes of attributes, and does not compare those of that name.
constexpr const char kClassAttribute[] = "class";
// There only while such a keyring is locked.
constexpr const char kHashedAccessibleAttribute[] =
    "gkr:compat:hashed:accessible";
constexpr const char kAlways[] = "always";

constexpr const char kItemInterface[] = "org.freedesktop.Secret.Item";
constexpr const char kCollectionInterface[] =
    "org.freedesktop.Secret.Collection";
constexpr const char kPropertiesInterface[] = "org.freedesktop.DBus.Properties";
// Stands for the default collection without a call that asks which it is.
constexpr const char kDefaultCollection[] =
    "/org/freedesktop/secrets/aliases/default";

// The value says which kind an item is also where it is local, so that one
// search finds just the kind that is meant.
const char* synchronizableValue(bool isSynchronizable) {
  return isSynchronizable ? "1" : "0";
}

const SecretSchema& schema() {
  static const SecretSchema kSchema = [] {
    SecretSchema made{};
    made.name = kSchemaName;
    made.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
    made.attributes[0] = {kServiceAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
    made.attributes[1] = {kAccountAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
    made.attributes[2] = {kSynchronizableAttribute,
                          SECRET_SCHEMA_ATTRIBUTE_STRING};
    made.attributes[3] = {kAccessibleAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
    made.attributes[4] = {kClassAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
    return made;
  }();
  return kSchema;
}

// The table keeps the pointers: `pattern` outlives it.
GHashTablePtr attributesOf(const KeychainItemPattern& pattern) {
  GHashTablePtr table(::g_hash_table_new(::g_str_hash, ::g_str_equal));
  const auto put = [&](const char* name, const char* value) {
    ::g_hash_table_insert(table.get(), const_cast<char*>(name),
                          const_cast<char*>(value));
  };
  put(kClassAttribute, kSchemaName);
  put(kServiceAttribute, pattern.service.c_str());
  if (pattern.account) put(kAccountAttribute, pattern.account->c_str());
  if (pattern.isSynchronizable) {
    put(kSynchronizableAttribute,
        synchronizableValue(*pattern.isSynchronizable));
  }
  if (pattern.accessible) put(kAccessibleAttribute, kAlways);
  return table;
}

// A floating reference.
GVariant* variantFrom(const KeychainItemAttributes& attributes) {
  GVariantBuilder builder;
  ::g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
  const auto add = [&](const char* name, const char* value) {
    ::g_variant_builder_add(&builder, "{ss}", name, value);
  };
  add(kSchemaAttribute, kSchemaName);
  add(kClassAttribute, kSchemaName);
  add(kServiceAttribute, attributes.service.c_str());
  add(kAccountAttribute, attributes.account.c_str());
  add(kSynchronizableAttribute,
      synchronizableValue(attributes.isSynchronizable));
  if (attributes.accessible) add(kAccessibleAttribute, kAlways);
  return ::g_variant_builder_end(&builder);
}

bool has(GVariant* attributes, const char* name) {
  const gchar* text = nullptr;
  return ::g_variant_lookup(attributes, name, "&s", &text) != FALSE;
}

KeychainItemAttributes attributesFrom(GVariant* variant) {
  const auto value = [&](const char* name) -> std::string {
    const gchar* text = nullptr;
    ::g_variant_lookup(variant, name, "&s", &text);
    return text == nullptr ? "" : text;
  };
  KeychainItemAttributes attributes;
  attributes.service = value(kServiceAttribute);
  attributes.account = value(kAccountAttribute);
  attributes.isSynchronizable =
      value(kSynchronizableAttribute) == synchronizableValue(true);
  if (value(kAccessibleAttribute) == kAlways) {
    attributes.accessible = SecAttrAccessible::kAlways;
  }
  return attributes;
}

// What is known of an item whose attributes are hashes: what found it. Nothing
// where that leaves something open.
std::optional<KeychainItemAttributes> attributesFrom(
    const KeychainItemPattern& pattern, GVariant* hashed) {
  if (!pattern.account || !pattern.isSynchronizable) return std::nullopt;
  KeychainItemAttributes attributes{
      pattern.service, *pattern.account, *pattern.isSynchronizable, {}};
  if (has(hashed, kHashedAccessibleAttribute)) {
    attributes.accessible = SecAttrAccessible::kAlways;
  }
  return attributes;
}

ObjectPaths pathsFrom(const GStringListPtr& list) {
  ObjectPaths paths;
  for (gchar** path = list.get(); path != nullptr && *path != nullptr; ++path) {
    paths.emplace_back(*path);
  }
  return paths;
}

// The pointers to `paths`, with a null at the end.
std::vector<const gchar*> pointersTo(const ObjectPaths& paths) {
  std::vector<const gchar*> pointers;
  for (const std::string& path : paths) pointers.push_back(path.c_str());
  pointers.push_back(nullptr);
  return pointers;
}

using SecretValuePtr =
    std::unique_ptr<SecretValue, FreeWith<::secret_value_unref>>;

// Copies into memory of libsecret's own that is wiped too.
SecretValuePtr secretValueFrom(const SecretBytes& bytes) {
  return SecretValuePtr(::secret_value_new(bytes.empty() ? "" : bytes.data(),
                                           static_cast<gssize>(bytes.size()),
                                           "text/plain"));
}

}  // namespace

OSStatus SecretServiceClient::connect(bool again) {
  if (again) ::secret_service_disconnect();
  hasLostService_ = false;
  GErrorPtr error;
  service_.reset(::secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr,
                                           Receive(error)));
  if (!service_) return statusOf(error, kErrSecNotAvailable);
  // The end of the bus is no reason for us to end the process.
  ::g_dbus_connection_set_exit_on_close(
      ::g_dbus_proxy_get_connection(G_DBUS_PROXY(service_.get())), FALSE);
  return kErrSecSuccess;
}

OSStatus SecretServiceClient::search(const KeychainItemPattern& pattern,
                                     FoundItems& found) {
  GErrorPtr error;
  GStringListPtr unlocked;
  GStringListPtr locked;
  const GHashTablePtr attributes = attributesOf(pattern);
  const bool isDone =
      ::secret_service_search_for_dbus_paths_sync(
          service_.get(), &schema(), attributes.get(), nullptr,
          Receive(unlocked), Receive(locked), Receive(error)) != FALSE;
  if (!isDone) return statusOf(error, kErrSecNotAvailable);
  found = {pathsFrom(unlocked), pathsFrom(locked)};
  return kErrSecSuccess;
}

OSStatus SecretServiceClient::readAttributes(
    const std::string& item, const KeychainItemPattern& pattern,
    KeychainItemAttributes& attributes) {
  GVariantPtr value;
  if (const OSStatus status = readProperty(
          {item.c_str(), kItemInterface, "Attributes", kErrSecItemNotFound},
          "a{ss}", value)) {
    return status;
  }
  if (has(value.get(), kServiceAttribute)) {
    attributes = attributesFrom(value.get());
    return kErrSecSuccess;
  }
  auto known = attributesFrom(pattern, value.get());
  if (!known) return kErrSecInteractionNotAllowed;
  attributes = std::move(*known);
  return kErrSecSuccess;
}

OSStatus SecretServiceClient::readValue(const std::string& item,
                                        SecretBytes& value) {
  GVariantPtr result;
  if (const OSStatus status = call(
          {item.c_str(), kItemInterface, "GetSecret", kErrSecItemNotFound},
          ::g_variant_new(
              "(o)", ::secret_service_get_session_dbus_path(service_.get())),
          "((oayays))", result)) {
    return status;
  }
  const GVariantPtr encoded(::g_variant_get_child_value(result.get(), 0));
  const SecretValuePtr secret(
      ::secret_service_decode_dbus_secret(service_.get(), encoded.get()));
  if (!secret) return kErrSecNotAvailable;
  gsize size = 0;
  const gchar* const bytes = ::secret_value_get(secret.get(), &size);
  value = secretBytesFrom({bytes, size});
  return kErrSecSuccess;
}

OSStatus SecretServiceClient::create(const KeychainItem& item) {
  const SecretValuePtr secret = secretValueFrom(item.value);
  GVariant* const encoded =
      ::secret_service_encode_dbus_secret(service_.get(), secret.get());
  if (encoded == nullptr) return kErrSecNotAvailable;
  GVariantBuilder properties;
  ::g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
  ::g_variant_builder_add(
      &properties, "{sv}", "org.freedesktop.Secret.Item.Label",
      ::g_variant_new_string(item.attributes.service.c_str()));
  ::g_variant_builder_add(&properties, "{sv}",
                          "org.freedesktop.Secret.Item.Attributes",
                          variantFrom(item.attributes));
  GVariantPtr result;
  if (const OSStatus status = call(
          {kDefaultCollection, kCollectionInterface, "CreateItem",
           kErrSecNoDefaultKeychain},
          ::g_variant_new("(a{sv}@(oayays)b)", &properties, encoded, FALSE),
          "(oo)", result)) {
    return status;
  }
  return afterPrompt(result, 1);
}

OSStatus SecretServiceClient::writeAttributes(
    const std::string& item, const KeychainItemAttributes& attributes) {
  GVariantPtr ignored;
  return call({item.c_str(), kPropertiesInterface, "Set", kErrSecItemNotFound},
              ::g_variant_new("(ssv)", kItemInterface, "Attributes",
                              variantFrom(attributes)),
              "()", ignored);
}

OSStatus SecretServiceClient::writeValue(const std::string& item,
                                         const SecretBytes& value) {
  const SecretValuePtr secret = secretValueFrom(value);
  GVariant* const encoded =
      ::secret_service_encode_dbus_secret(service_.get(), secret.get());
  if (encoded == nullptr) return kErrSecNotAvailable;
  GVariantPtr ignored;
  return call({item.c_str(), kItemInterface, "SetSecret", kErrSecItemNotFound},
              ::g_variant_new("(@(oayays))", encoded), "()", ignored);
}

OSStatus SecretServiceClient::remove(const std::string& item) {
  GVariantPtr result;
  if (const OSStatus status =
          call({item.c_str(), kItemInterface, "Delete", kErrSecItemNotFound},
               nullptr, "(o)", result)) {
    return status;
  }
  return afterPrompt(result, 0);
}

OSStatus SecretServiceClient::findDefaultCollection(std::string& collection) {
  GErrorPtr error;
  const GStringPtr path(::secret_service_read_alias_dbus_path_sync(
      service_.get(), SECRET_COLLECTION_DEFAULT, nullptr, Receive(error)));
  if (error) return statusOf(error, kErrSecNoDefaultKeychain);
  if (!path || std::string_view(path.get()) == "/") {
    return kErrSecNoDefaultKeychain;
  }
  collection = path.get();
  return kErrSecSuccess;
}

OSStatus SecretServiceClient::readIsLocked(const std::string& collection,
                                           bool& isLocked) {
  GVariantPtr value;
  const OSStatus status =
      readProperty({collection.c_str(), kCollectionInterface, "Locked",
                    kErrSecNoDefaultKeychain},
                   "b", value);
  if (status == kErrSecSuccess) {
    isLocked = ::g_variant_get_boolean(value.get()) != FALSE;
  }
  return status;
}

OSStatus SecretServiceClient::lock(const std::string& collection) {
  GErrorPtr error;
  GStringListPtr locked;
  const gchar* paths[] = {collection.c_str(), nullptr};
  const gint count = ::secret_service_lock_dbus_paths_sync(
      service_.get(), paths, nullptr, Receive(locked), Receive(error));
  if (count < 0 || error) return statusOf(error, kErrSecNoDefaultKeychain);
  return count == 0 ? kErrSecUserCanceled : kErrSecSuccess;
}

OSStatus SecretServiceClient::unlock(const ObjectPaths& objects) {
  if (objects.empty()) return kErrSecSuccess;
  if (!secKeychainIsUserInteractionAllowed()) {
    return kErrSecInteractionNotAllowed;
  }
  GErrorPtr error;
  GStringListPtr unlocked;
  auto paths = pointersTo(objects);
  const gint count = ::secret_service_unlock_dbus_paths_sync(
      service_.get(), paths.data(), nullptr, Receive(unlocked), Receive(error));
  if (count < 0 || error) return statusOf(error, kErrSecNoDefaultKeychain);
  // A dismissed prompt is no error to the service: nothing was unlocked.
  return static_cast<std::size_t>(count) < objects.size() ? kErrSecUserCanceled
                                                          : kErrSecSuccess;
}

OSStatus SecretServiceClient::readProperty(const Method& property,
                                           const char* type,
                                           GVariantPtr& value) {
  GVariantPtr result;
  if (const OSStatus status =
          call({property.object, kPropertiesInterface, "Get",
                property.missingObject},
               ::g_variant_new("(ss)", property.interface, property.name),
               "(v)", result)) {
    return status;
  }
  ::g_variant_get(result.get(), "(v)", static_cast<GVariant**>(Receive(value)));
  return ::g_variant_is_of_type(value.get(), G_VARIANT_TYPE(type)) != FALSE
             ? kErrSecSuccess
             : kErrSecNotAvailable;
}

OSStatus SecretServiceClient::statusOf(const GErrorPtr& error,
                                       OSStatus missingObject) {
  if (!error) return kErrSecNotAvailable;
  hasLostService_ = hasLostService_ || isServiceLost(*error);
  return keychainStatusFrom(*error, missingObject);
}

// Shows the prompt that a result names, if it names one, and waits for it.
OSStatus SecretServiceClient::afterPrompt(const GVariantPtr& result,
                                          gsize index) {
  const gchar* prompt = nullptr;
  ::g_variant_get_child(result.get(), index, "&o", &prompt);
  if (std::string_view(prompt) == "/") return kErrSecSuccess;
  if (!secKeychainIsUserInteractionAllowed()) {
    return kErrSecInteractionNotAllowed;
  }
  GErrorPtr error;
  const GVariantPtr answer(::secret_service_prompt_at_dbus_path_sync(
      service_.get(), prompt, nullptr, nullptr, Receive(error)));
  if (error) return statusOf(error, kErrSecNotAvailable);
  return answer ? kErrSecSuccess : kErrSecUserCanceled;
}

OSStatus SecretServiceClient::call(const Method& method, GVariant* arguments,
                                   const char* resultType,
                                   GVariantPtr& result) {
  GDBusProxy* const proxy = G_DBUS_PROXY(service_.get());
  GErrorPtr error;
  result.reset(::g_dbus_connection_call_sync(
      ::g_dbus_proxy_get_connection(proxy), ::g_dbus_proxy_get_name(proxy),
      method.object, method.interface, method.name, arguments,
      G_VARIANT_TYPE(resultType), G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      Receive(error)));
  return result ? kErrSecSuccess : statusOf(error, method.missingObject);
}

}  // namespace quillhaven::platform::internal
