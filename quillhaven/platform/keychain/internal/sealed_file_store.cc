#include "quillhaven/platform/keychain/internal/sealed_file_store.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace quillhaven::platform::internal {
namespace {

// Files of another kind or beyond all size in our place are damage; everything
// else that goes wrong with a file says that the store cannot be had.
OSStatus statusFromErrno(int error) {
  if (error == 0) return kErrSecSuccess;
  const bool isDamage = error == EFBIG || error == EINVAL || error == EISDIR;
  return isDamage ? kErrSecInvalidKeychain : kErrSecNotAvailable;
}

KeychainItem itemFrom(const KeychainRecord& record, KeychainItemParts parts) {
  KeychainItem item;
  if (parts.attributes) {
    item.attributes = {std::string(record.service), std::string(record.account),
                       record.isSynchronizable, record.accessible};
  }
  if (parts.value) item.value = secretBytesFrom(record.value);
  return item;
}

bool hasSameKeyTwice(const std::vector<KeychainRecord>& records,
                     const KeychainRecord& changed) {
  return std::ranges::count_if(records, [&](const KeychainRecord& record) {
           return haveSameKey(record, changed);
         }) > 1;
}

// A file that keeps changing its key under our hands is no store to wait for.
constexpr int kMaximumTries = 8;

}  // namespace

SealedFileStore::SealedFileStore(SealedFileOptions options, WriteStepHook hook)
    : options_(std::move(options)), folder_(options_.folder, std::move(hook)) {}

std::string_view SealedFileStore::name() const { return kSealedFileName; }

OSStatus SealedFileStore::add(const KeychainItem& item) {
  return change(kMakesFile, [&](Records& records) {
    const auto& attributes = item.attributes;
    const KeychainRecord record{attributes.service, attributes.account,
                                attributes.isSynchronizable,
                                attributes.accessible, viewOf(item.value)};
    records.push_back(record);
    return hasSameKeyTwice(records, record) ? kErrSecDuplicateItem
                                            : kErrSecSuccess;
  });
}

OSStatus SealedFileStore::find(const KeychainItemPattern& pattern,
                               KeychainItemParts parts,
                               std::vector<KeychainItem>& found) {
  File file;
  if (const OSStatus status = readFile(file)) return status;
  if (!file.header) return kErrSecItemNotFound;
  Key key;
  if (const OSStatus status = keyFor(file, key)) return status;
  SecretBytes list;
  Records records;
  if (const OSStatus status = openRecords(file, key, list, records)) {
    return status;
  }
  const std::size_t before = found.size();
  for (const KeychainRecord& record : records) {
    if (!matches(record, pattern)) continue;
    found.push_back(itemFrom(record, parts));
    if (pattern.isFirstOnly) break;
  }
  return found.size() == before ? kErrSecItemNotFound : kErrSecSuccess;
}

OSStatus SealedFileStore::update(const KeychainItemPattern& pattern,
                                 const KeychainItemChange& itemChange) {
  return change(kNeedsFile, [&](Records& records) {
    bool isFound = false;
    for (KeychainRecord& record : records) {
      if (!matches(record, pattern)) continue;
      isFound = true;
      if (itemChange.value) record.value = viewOf(*itemChange.value);
      if (itemChange.account) {
        record.account = *itemChange.account;
        if (hasSameKeyTwice(records, record)) return kErrSecDuplicateItem;
      }
      if (pattern.isFirstOnly) break;
    }
    return isFound ? kErrSecSuccess : kErrSecItemNotFound;
  });
}

OSStatus SealedFileStore::remove(const KeychainItemPattern& pattern) {
  return change(kNeedsFile, [&](Records& records) {
    bool isFound = false;
    std::erase_if(records, [&](const KeychainRecord& record) {
      if (isFound && pattern.isFirstOnly) return false;
      const bool isMatch = matches(record, pattern);
      isFound = isFound || isMatch;
      return isMatch;
    });
    return isFound ? kErrSecSuccess : kErrSecItemNotFound;
  });
}

OSStatus SealedFileStore::lock() {
  const std::lock_guard guard(lock_);
  key_.reset();
  return kErrSecSuccess;
}

OSStatus SealedFileStore::unlock() {
  File file;
  if (const OSStatus status = readFile(file)) return status;
  // Nothing is stored yet: nothing is locked.
  if (!file.header) return kErrSecSuccess;
  Key key;
  return keyFor(file, key);
}

OSStatus SealedFileStore::readFile(File& file) const {
  const int error = folder_.read(kSealedStoreFile, file.bytes);
  if (error == ENOENT) return kErrSecSuccess;
  if (error != 0) return statusFromErrno(error);
  file.header = headerFromBytes(viewOf(file.bytes));
  return file.header ? kErrSecSuccess : kErrSecInvalidKeychain;
}

// Finds the key that opens `file`, or the one for a new file, asking for a
// passphrase where that takes one. The key of a new file with a key file stays
// empty until it is made.
OSStatus SealedFileStore::keyFor(const File& file, Key& key) {
  const bool hasPassphrase =
      file.header ? file.header->derivation.source == KeySource::kPassphrase
                  : options_.newFilesHavePassphrase;
  return hasPassphrase ? keyFromPassphrase(file, key)
                       : keyFromKeyFile(file, key);
}

OSStatus SealedFileStore::keyFromPassphrase(const File& file, Key& key) {
  key.derivation = file.header ? file.header->derivation
                               : newDerivation(KeySource::kPassphrase);
  {
    const std::lock_guard guard(lock_);
    if (file.header && key_ && key_->derivation == key.derivation) {
      key = *key_;
      return kErrSecSuccess;
    }
  }
  if (const OSStatus status =
          askForKey(key.derivation, !file.header, key.master)) {
    return status;
  }
  if (file.header && !fits(*file.header, key.master)) return kErrSecAuthFailed;
  // A new file's key is remembered once the file is there.
  if (file.header) remember(key);
  return kErrSecSuccess;
}

OSStatus SealedFileStore::keyFromKeyFile(const File& file, Key& key) const {
  key.derivation = file.header ? file.header->derivation
                               : newDerivation(KeySource::kKeyFile);
  SecretBytes bytes;
  const int error = folder_.read(kSealedKeyFile, bytes);
  if (error == ENOENT) {
    // Without its key a file stays shut; a new one would lock it for ever.
    return file.header ? kErrSecAuthFailed : kErrSecSuccess;
  }
  if (error != 0) return statusFromErrno(error);
  auto master = masterKeyFromKeyFile(viewOf(bytes));
  if (!master) return kErrSecInvalidKeychain;
  if (file.header && !fits(*file.header, *master)) return kErrSecAuthFailed;
  key.master = std::move(*master);
  return kErrSecSuccess;
}

OSStatus SealedFileStore::askForKey(const KeyDerivation& derivation, bool isNew,
                                    SecretBytes& masterKey) const {
  if (!options_.askPassphrase || !secKeychainIsUserInteractionAllowed()) {
    return kErrSecInteractionNotAllowed;
  }
  const auto passphrase = options_.askPassphrase(isNew);
  if (!passphrase) return kErrSecUserCanceled;
  masterKey = masterKeyFromPassphrase(derivation, viewOf(*passphrase));
  return kErrSecSuccess;
}

OSStatus SealedFileStore::makeKeyFile(Key& key) const {
  const SecretBytes bytes = newKeyFile();
  const int error = folder_.replace(kSealedKeyFile, viewOf(bytes));
  if (error == 0) key.master = *masterKeyFromKeyFile(viewOf(bytes));
  return statusFromErrno(error);
}

OSStatus SealedFileStore::openRecords(const File& file, const Key& key,
                                      SecretBytes& list, Records& records) {
  auto opened = open(viewOf(file.bytes), key.master);
  if (!opened) return kErrSecInvalidKeychain;
  list = std::move(*opened);
  auto read = recordsFromBytes(viewOf(list));
  if (!read) return kErrSecInvalidKeychain;
  records = std::move(*read);
  return kErrSecSuccess;
}

OSStatus SealedFileStore::writeRecords(Key& key, const Records& records) {
  const auto list = bytesFromRecords(records);
  if (!list) return kErrSecDataTooLarge;
  // What could not be read back would take all other items with it.
  if (!recordsFromBytes(viewOf(*list))) return kErrSecParam;
  if (key.master.empty()) {
    if (const OSStatus status = makeKeyFile(key)) return status;
  }
  const std::string bytes = seal(key.derivation, key.master, viewOf(*list));
  const int error = folder_.replace(kSealedStoreFile, bytes);
  // Not a failure of the disk that calls for another look at the file.
  return error == 0 ? kErrSecSuccess : kErrSecNotAvailable;
}

// Finds the key first, because the user may take long to answer, and changes
// the file with the lock held; once more if meanwhile another process made a
// file with another key.
OSStatus SealedFileStore::change(Missing missing, const Change& change) {
  for (int tries = 0; tries < kMaximumTries; ++tries) {
    File file;
    if (const OSStatus status = readFile(file)) return status;
    if (!file.header && missing == kNeedsFile) return kErrSecItemNotFound;
    Key key;
    if (const OSStatus status = keyFor(file, key)) return status;
    bool isOtherFile = false;
    const OSStatus status = changeLocked(key, change, isOtherFile);
    if (!isOtherFile) return status;
  }
  return kErrSecNotAvailable;
}

OSStatus SealedFileStore::changeLocked(Key& key, const Change& change,
                                       bool& isOtherFile) {
  UniqueFd lock;
  if (folder_.lock(lock) != 0) return kErrSecNotAvailable;
  File file;
  if (const OSStatus status = readFile(file)) return status;
  isOtherFile = file.header && !(file.header->derivation == key.derivation &&
                                 fits(*file.header, key.master));
  if (isOtherFile) return kErrSecSuccess;
  if (!file.header && key.derivation.source == KeySource::kKeyFile) {
    // A process that failed after it made the key, and before it made the file,
    // may have left another key than there was before.
    key = Key();
    if (const OSStatus status = keyFromKeyFile(file, key)) return status;
  }
  SecretBytes list;
  Records records;
  if (file.header) {
    if (const OSStatus status = openRecords(file, key, list, records)) {
      return status;
    }
  }
  if (const OSStatus status = change(records)) return status;
  if (const OSStatus status = writeRecords(key, records)) return status;
  if (key.derivation.source == KeySource::kPassphrase) remember(key);
  return kErrSecSuccess;
}

void SealedFileStore::remember(const Key& key) {
  const std::lock_guard guard(lock_);
  key_ = key;
}

}  // namespace quillhaven::platform::internal
