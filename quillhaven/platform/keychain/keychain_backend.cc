#include "quillhaven/platform/keychain/keychain_backend.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/keychain/sealed_file_keychain.h"
#include "quillhaven/platform/keychain/secret_service_keychain.h"

namespace quillhaven::platform {
namespace {

struct Chosen {
  std::mutex lock;
  std::shared_ptr<KeychainBackend> backend;  // guarded by lock
};

// Never destroyed: other objects may still ask while the process ends.
Chosen& chosen() {
  static Chosen& instance = *std::make_unique<Chosen>().release();
  return instance;
}

std::atomic<bool>& interactionAllowed() {
  static std::atomic<bool> isAllowed{true};
  return isAllowed;
}

std::shared_ptr<KeychainBackend> makeSealedFileInDefaultFolder() {
  SealedFileOptions options;
  options.folder = defaultSealedFileFolder();
  return makeSealedFileKeychain(std::move(options));
}

std::shared_ptr<KeychainBackend> choose() {
  const char* const variable = std::getenv(kKeychainVariable);
  const std::string_view wanted = variable == nullptr ? "" : variable;
  if (wanted == kSecretServiceName) return makeSecretServiceKeychain();
  if (wanted == kSealedFileName) return makeSealedFileInDefaultFolder();
  if (!wanted.empty()) {
    Logger("com.quillhaven.utilities", "keychain")
        .log(LogType::kError,
             std::string("*** Warning: ")
                 .append(kKeychainVariable)
                 .append(" names no keychain store; choosing one"));
  }
  if (hasSecretService()) return makeSecretServiceKeychain();
  return makeSealedFileInDefaultFolder();
}

}  // namespace

std::shared_ptr<KeychainBackend> keychainBackend() {
  const std::lock_guard guard(chosen().lock);
  if (!chosen().backend) chosen().backend = choose();
  return chosen().backend;
}

void setKeychainBackend(std::shared_ptr<KeychainBackend> backend) {
  const std::lock_guard guard(chosen().lock);
  chosen().backend = std::move(backend);
}

void secKeychainSetUserInteractionAllowed(bool isAllowed) {
  interactionAllowed() = isAllowed;
}

bool secKeychainIsUserInteractionAllowed() { return interactionAllowed(); }

}  // namespace quillhaven::platform
