#include "quillhaven/platform/keychain/sealed_file_keychain.h"

#include <glib.h>

#include <utility>

#include "quillhaven/platform/keychain/internal/sealed_file_store.h"

namespace quillhaven::platform {

std::string defaultSealedFileFolder() {
  // GLib's own function takes relative values.
  const gchar* const variable = ::g_getenv("XDG_DATA_HOME");
  const bool isAbsolute = variable != nullptr && *variable == '/';
  const std::string data =
      isAbsolute ? variable
                 : std::string(::g_get_home_dir()).append("/.local/share");
  return data + "/quillhaven/keychain";
}

std::shared_ptr<KeychainBackend> makeSealedFileKeychain(
    SealedFileOptions options) {
  return std::make_shared<internal::SealedFileStore>(std::move(options));
}

}  // namespace quillhaven::platform
