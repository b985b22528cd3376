#include "quillhaven/platform/keychain/internal/secret_service_status.h"

#define SECRET_API_SUBJECT_TO_CHANGE  // NOLINT(readability-identifier-naming)
#include <libsecret/secret.h>

#include <string_view>

#include "quillhaven/platform/run_loop/internal/glib_pointers.h"

namespace quillhaven::platform::internal {
namespace {

bool isRemote(const GError& error, std::string_view name) {
  const GStringPtr remote(::g_dbus_error_get_remote_error(&error));
  return remote && remote.get() == name;
}

OSStatus statusFromSecretError(int code, OSStatus missingObject) {
  switch (code) {
    case SECRET_ERROR_IS_LOCKED:
      return kErrSecInteractionNotAllowed;
    case SECRET_ERROR_NO_SUCH_OBJECT:
      return missingObject;
    case SECRET_ERROR_ALREADY_EXISTS:
      return kErrSecDuplicateItem;
    case SECRET_ERROR_INVALID_FILE_FORMAT:
      return kErrSecInvalidKeychain;
    default:
      return kErrSecNotAvailable;
  }
}

OSStatus statusFromBusError(int code, OSStatus missingObject) {
  switch (code) {
    case G_DBUS_ERROR_UNKNOWN_OBJECT:
    case G_DBUS_ERROR_UNKNOWN_INTERFACE:
    case G_DBUS_ERROR_UNKNOWN_METHOD:  // gnome-keyring's word for the first
      return missingObject;
    case G_DBUS_ERROR_ACCESS_DENIED:
    case G_DBUS_ERROR_AUTH_FAILED:
      return kErrSecAuthFailed;
    case G_DBUS_ERROR_INVALID_ARGS:
      return kErrSecParam;
    default:
      return kErrSecNotAvailable;
  }
}

}  // namespace

OSStatus keychainStatusFrom(const GError& error, OSStatus missingObject) {
  // Calls without libsecret's own translation carry the service's names.
  if (isRemote(error, "org.freedesktop.Secret.Error.IsLocked")) {
    return kErrSecInteractionNotAllowed;
  }
  if (isRemote(error, "org.freedesktop.Secret.Error.NoSuchObject")) {
    return missingObject;
  }
  if (error.domain == SECRET_ERROR) {
    return statusFromSecretError(error.code, missingObject);
  }
  if (error.domain == G_DBUS_ERROR) {
    return statusFromBusError(error.code, missingObject);
  }
  return kErrSecNotAvailable;
}

bool isServiceLost(const GError& error) {
  if (isRemote(error, "org.freedesktop.Secret.Error.NoSession")) return true;
  return error.domain == G_DBUS_ERROR &&
         (error.code == G_DBUS_ERROR_SERVICE_UNKNOWN ||
          error.code == G_DBUS_ERROR_NAME_HAS_NO_OWNER);
}

}  // namespace quillhaven::platform::internal
