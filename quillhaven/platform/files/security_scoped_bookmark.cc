#include "quillhaven/platform/files/security_scoped_bookmark.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::platform {
namespace {

constexpr std::string_view kPath = "path";
constexpr std::string_view kHandleType = "handleType";
constexpr std::string_view kHandle = "handle";
constexpr std::string_view kBirthTime = "birthTime";  // ns since 1970
constexpr std::string_view kInode = "inode";
constexpr std::string_view kFileSystem = "fileSystem";

// What tells one file from another; each part is absent where the file system
// does not have it. The number of the device is not among them: it may be
// another after the next start of the machine.
struct Identity {
  std::optional<PropertyList> handleType;
  std::optional<PropertyList> handle;
  std::optional<PropertyList> birthTime;
  std::optional<PropertyList> inode;
  std::optional<PropertyList> fileSystem;
};

UniqueFd openForIdentity(const std::string& path) {
  return UniqueFd(::open(path.c_str(), O_PATH | O_CLOEXEC));
}

void readHandle(int fd, Identity& identity) {
  struct {
    file_handle head;
    std::array<unsigned char, MAX_HANDLE_SZ> bytes;
  } handle{};
  handle.head.handle_bytes = MAX_HANDLE_SZ;
  int mount = 0;
  if (::name_to_handle_at(fd, "", &handle.head, &mount, AT_EMPTY_PATH) != 0) {
    return;
  }
  identity.handleType = PropertyList(handle.head.handle_type);
  std::string bytes(handle.head.handle_bytes, '\0');
  std::memcpy(bytes.data(), handle.bytes.data(), bytes.size());
  identity.handle = PropertyList(PropertyList::Data{std::move(bytes)});
}

Identity identityOf(int fd) {
  Identity identity;
  readHandle(fd, identity);

  struct statx status {};
  if (::statx(fd, "", AT_EMPTY_PATH, STATX_INO | STATX_BTIME, &status) == 0) {
    if ((status.stx_mask & STATX_INO) != 0) {
      identity.inode = PropertyList(std::uint64_t{status.stx_ino});
    }
    if ((status.stx_mask & STATX_BTIME) != 0) {
      identity.birthTime =
          PropertyList(std::int64_t{status.stx_btime.tv_sec} * 1'000'000'000 +
                       status.stx_btime.tv_nsec);
    }
  }

  struct statfs fileSystem {};
  if (::fstatfs(fd, &fileSystem) == 0) {
    std::uint64_t number = 0;
    static_assert(sizeof(fileSystem.f_fsid) == sizeof(number));
    std::memcpy(&number, &fileSystem.f_fsid, sizeof(number));
    identity.fileSystem = PropertyList(number);
  }
  return identity;
}

// A handle is used again only on another file system, which is born at another
// time. The inode counts where there is neither: some file systems number
// anew with every mount.
bool isSame(const Identity& one, const Identity& other) {
  const bool haveHandles = one.handle && other.handle;
  const bool haveBirths = one.birthTime && other.birthTime;
  if (haveHandles &&
      (one.handle != other.handle || one.handleType != other.handleType)) {
    return false;
  }
  if (haveBirths && one.birthTime != other.birthTime) return false;
  return haveHandles || haveBirths ||
         (one.inode == other.inode && one.fileSystem == other.fileSystem);
}

void put(PropertyList::Dictionary& dictionary, std::string_view key,
         const std::optional<PropertyList>& value) {
  if (value) dictionary.insert_or_assign(std::string(key), *value);
}

std::optional<PropertyList> value(const PropertyList::Dictionary& dictionary,
                                  std::string_view key) {
  const auto found = dictionary.find(key);
  if (found == dictionary.end()) return std::nullopt;
  return found->second;
}

}  // namespace

std::optional<std::string> securityScopedBookmarkForPath(
    const std::string& path) {
  if (!path.starts_with('/')) return std::nullopt;
  const UniqueFd fd = openForIdentity(path);
  if (!fd.valid()) return std::nullopt;

  const Identity identity = identityOf(fd.get());
  PropertyList::Dictionary dictionary;
  // A path need not be text.
  dictionary.emplace(kPath, PropertyList::Data{path});
  put(dictionary, kHandleType, identity.handleType);
  put(dictionary, kHandle, identity.handle);
  put(dictionary, kBirthTime, identity.birthTime);
  put(dictionary, kInode, identity.inode);
  put(dictionary, kFileSystem, identity.fileSystem);
  return xmlFromPropertyList(std::move(dictionary));
}

std::optional<ResolvedBookmark> resolveSecurityScopedBookmark(
    std::string_view bookmark) {
  const auto propertyList = propertyListFromBytes(bookmark);
  if (!propertyList || propertyList->dictionary() == nullptr) {
    return std::nullopt;
  }
  const PropertyList::Dictionary& dictionary = *propertyList->dictionary();
  const auto path = dictionary.find(kPath);
  if (path == dictionary.end() || path->second.data() == nullptr) {
    return std::nullopt;
  }
  ResolvedBookmark resolved{path->second.data()->bytes};
  if (!resolved.path.starts_with('/')) return std::nullopt;
  const UniqueFd fd = openForIdentity(resolved.path);
  if (!fd.valid()) return std::nullopt;

  const Identity then{value(dictionary, kHandleType),
                      value(dictionary, kHandle), value(dictionary, kBirthTime),
                      value(dictionary, kInode),
                      value(dictionary, kFileSystem)};
  resolved.isStale = !isSame(then, identityOf(fd.get()));
  return resolved;
}

bool startAccessingSecurityScopedResource(const std::string& path) {
  UniqueFd fd = openForIdentity(path);
  struct stat status {};
  if (!fd.valid() || ::fstat(fd.get(), &status) != 0) return false;

  static std::mutex lock;
  static std::map<std::pair<dev_t, ino_t>, UniqueFd> held;  // guarded by lock
  const std::lock_guard guard(lock);
  held.try_emplace({status.st_dev, status.st_ino}, std::move(fd));
  return true;
}

}  // namespace quillhaven::platform
