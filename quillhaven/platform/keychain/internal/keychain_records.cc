#include "quillhaven/platform/keychain/internal/keychain_records.h"

#include <glib.h>

#include <cstdint>

#include "quillhaven/platform/keychain/internal/keychain_folder.h"
#include "quillhaven/platform/keychain/internal/little_endian.h"

namespace quillhaven::platform::internal {
namespace {

constexpr std::uint32_t kSynchronizableFlag = 1;
constexpr std::uint32_t kAlwaysAccessibleFlag = 2;
constexpr std::uint32_t kKnownFlags =
    kSynchronizableFlag | kAlwaysAccessibleFlag;
// Flags and three lengths.
constexpr std::size_t kLeastRecordSize = 4 * kNumberSize;

bool isText(std::string_view text) {
  return ::g_utf8_validate(text.data(), static_cast<gssize>(text.size()),
                           nullptr) != FALSE;
}

// Takes numbers and texts off the front of a list.
class RecordReader {
 public:
  explicit RecordReader(std::string_view bytes) : rest_(bytes) {}

  [[nodiscard]] std::size_t left() const { return rest_.size(); }

  bool readNumber(std::uint32_t& number) {
    if (rest_.size() < kNumberSize) return false;
    number = numberAt(rest_);
    rest_.remove_prefix(kNumberSize);
    return true;
  }

  bool readBytes(std::string_view& bytes) {
    std::uint32_t size = 0;
    if (!readNumber(size) || size > rest_.size()) return false;
    bytes = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return true;
  }

  bool readRecord(KeychainRecord& record) {
    std::uint32_t flags = 0;
    if (!readNumber(flags) || (flags & ~kKnownFlags) != 0 ||
        !readBytes(record.service) || !readBytes(record.account) ||
        !readBytes(record.value)) {
      return false;
    }
    record.isSynchronizable = (flags & kSynchronizableFlag) != 0;
    if ((flags & kAlwaysAccessibleFlag) != 0) {
      record.accessible = SecAttrAccessible::kAlways;
    }
    return !record.service.empty() && isText(record.service) &&
           isText(record.account);
  }

 private:
  std::string_view rest_;
};

void appendBytes(SecretBytes& list, std::string_view bytes) {
  appendNumber(list, static_cast<std::uint32_t>(bytes.size()));
  list.insert(list.end(), bytes.begin(), bytes.end());
}

std::size_t sizeOf(const KeychainRecord& record) {
  return kLeastRecordSize + record.service.size() + record.account.size() +
         record.value.size();
}

}  // namespace

bool matches(const KeychainRecord& record, const KeychainItemPattern& pattern) {
  return record.service == pattern.service &&
         (!pattern.account || record.account == *pattern.account) &&
         (!pattern.isSynchronizable ||
          record.isSynchronizable == *pattern.isSynchronizable) &&
         (!pattern.accessible || record.accessible == pattern.accessible);
}

bool haveSameKey(const KeychainRecord& one, const KeychainRecord& other) {
  return one.service == other.service && one.account == other.account &&
         one.isSynchronizable == other.isSynchronizable;
}

std::optional<std::vector<KeychainRecord>> recordsFromBytes(
    std::string_view bytes) {
  RecordReader reader(bytes);
  std::uint32_t count = 0;
  if (!reader.readNumber(count)) return std::nullopt;
  // A number beyond what the bytes can hold must not cost memory.
  if (count > reader.left() / kLeastRecordSize) return std::nullopt;
  std::vector<KeychainRecord> records(count);
  for (KeychainRecord& record : records) {
    if (!reader.readRecord(record)) return std::nullopt;
  }
  if (reader.left() != 0) return std::nullopt;
  return records;
}

std::optional<SecretBytes> bytesFromRecords(
    const std::vector<KeychainRecord>& records) {
  // Leaves room for the header and the tag of the seal.
  constexpr std::size_t kMaximumSize = KeychainFolder::kMaximumFileSize - 4096;
  std::size_t size = kNumberSize;
  for (const KeychainRecord& record : records) {
    size += sizeOf(record);
    if (size > kMaximumSize) return std::nullopt;
  }
  SecretBytes list;
  list.reserve(size);
  appendNumber(list, static_cast<std::uint32_t>(records.size()));
  for (const KeychainRecord& record : records) {
    appendNumber(list, (record.isSynchronizable ? kSynchronizableFlag : 0) |
                           (record.accessible ? kAlwaysAccessibleFlag : 0));
    appendBytes(list, record.service);
    appendBytes(list, record.account);
    appendBytes(list, record.value);
  }
  return list;
}

}  // namespace quillhaven::platform::internal
