// Keychain items in one encrypted file, for machines without a keychain
// service.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_SEALED_FILE_KEYCHAIN_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_SEALED_FILE_KEYCHAIN_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quillhaven/platform/keychain/keychain_backend.h"
#include "quillhaven/platform/keychain/secret_bytes.h"

namespace quillhaven::platform {

inline constexpr const char kSealedFileName[] = "sealed-file";

// Asks the user for the passphrase of a sealed file; `isNew` says that it is
// going to protect a file that does not exist yet. Nothing when the user
// declines. Called on the thread of the operation, with no lock held; must not
// throw.
using AskPassphrase = std::function<std::optional<SecretBytes>(bool isNew)>;

struct SealedFileOptions {
  // Absolute path of a folder that holds nothing else; made when it is needed.
  std::string folder;
  // Without it a file with a passphrase cannot be opened
  // (kErrSecInteractionNotAllowed).
  AskPassphrase askPassphrase;
  // What protects a file that does not exist yet: a passphrase, or a random key
  // in a file beside it. A file that exists stays as it was made.
  bool newFilesHavePassphrase = false;
};

// Returns $XDG_DATA_HOME/quillhaven/keychain, or the same below ~/.local/share
// where that variable is no absolute path.
[[nodiscard]] std::string defaultSealedFileFolder();

// Returns a store in `options.folder`. Everything but the sizes of the files is
// hidden and authenticated. Each change replaces the whole file and is on the
// disk when it returns; no crash loses what was there before. Locking forgets
// the key in this process. Several stores, threads and processes may share a
// folder. See docs/keychain.md for the format and for what it protects from.
[[nodiscard]] std::shared_ptr<KeychainBackend> makeSealedFileKeychain(
    SealedFileOptions options);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_SEALED_FILE_KEYCHAIN_H_
