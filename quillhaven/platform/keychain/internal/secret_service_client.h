// The calls of the Secret Service that the store is made of, each with its
// errors as statuses.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SECRET_SERVICE_CLIENT_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SECRET_SERVICE_CLIENT_H_

#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/keychain/keychain_backend.h"
#include "quillhaven/platform/run_loop/internal/glib_pointers.h"

using SecretService = struct _SecretService;

namespace quillhaven::platform::internal {

// The object paths of items or of a collection.
using ObjectPaths = std::vector<std::string>;

// The items that a search finds. Locked ones are listed too, without a prompt.
struct FoundItems {
  ObjectPaths unlocked;
  ObjectPaths locked;
};

// Talks to the service. Calls return kErrSecItemNotFound for an item and
// kErrSecNoDefaultKeychain for a collection that is not there, and
// kErrSecInteractionNotAllowed for a locked one. One thread at a time.
class SecretServiceClient {
 public:
  SecretServiceClient() = default;

  // Connects. With `again`, gives up the connection and session shared with
  // other users of libsecret in this process first.
  OSStatus connect(bool again);

  // True once a call failed because the service ended since we connected; what
  // was called has not been done.
  [[nodiscard]] bool hasLostService() const { return hasLostService_; }

  OSStatus search(const KeychainItemPattern& pattern, FoundItems& found);
  // `pattern` has found the item; kErrSecInteractionNotAllowed where a locked
  // item hides more than that.
  OSStatus readAttributes(const std::string& item,
                          const KeychainItemPattern& pattern,
                          KeychainItemAttributes& attributes);
  OSStatus readValue(const std::string& item, SecretBytes& value);

  // Makes an item in the default collection; looks for no other.
  OSStatus create(const KeychainItem& item);
  OSStatus writeAttributes(const std::string& item,
                           const KeychainItemAttributes& attributes);
  OSStatus writeValue(const std::string& item, const SecretBytes& value);
  OSStatus remove(const std::string& item);

  OSStatus findDefaultCollection(std::string& collection);
  OSStatus readIsLocked(const std::string& collection, bool& isLocked);
  OSStatus lock(const std::string& collection);

  // Asks the user to unlock what is locked of `objects`; kErrSecUserCanceled
  // unless all of them are unlocked then.
  OSStatus unlock(const ObjectPaths& objects);

 private:
  OSStatus statusOf(const GErrorPtr& error, OSStatus missingObject);
  // What is called, and the status when the object is not there.
  struct Method {
    const char* object;
    const char* interface;
    const char* name;
    OSStatus missingObject;
  };
  OSStatus call(const Method& method, GVariant* arguments,
                const char* resultType, GVariantPtr& result);
  OSStatus readProperty(const Method& property, const char* type,
                        GVariantPtr& value);
  OSStatus afterPrompt(const GVariantPtr& result, gsize index);

  GObjectPtr<SecretService> service_;
  bool hasLostService_ = false;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_SECRET_SERVICE_CLIENT_H_
