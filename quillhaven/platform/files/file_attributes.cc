#include "quillhaven/platform/files/file_attributes.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/internal/accounts.h"
#include "quillhaven/platform/files/internal/folder_chain.h"

namespace quillhaven::platform {
namespace {

constexpr std::size_t kListingSize = std::size_t{64} * 1024;
constexpr uid_t kUnchangedOwner = static_cast<uid_t>(-1);
constexpr gid_t kUnchangedGroup = static_cast<gid_t>(-1);
// The same number on all machines; older headers have no name for it.
constexpr long kFchmodat2 = 452;

[[noreturn]] void fail(int error, const std::string& path) {
  throw std::filesystem::filesystem_error(
      "cannot set attributes", path,
      std::error_code(error, std::generic_category()));
}

// The attributes as the system calls take them.
struct Change {
  uid_t owner = kUnchangedOwner;
  gid_t group = kUnchangedGroup;
  std::optional<mode_t> mode;
  std::optional<timespec> modified;
};

timespec timespecFrom(std::chrono::sys_time<std::chrono::nanoseconds> date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  return {static_cast<time_t>(seconds.time_since_epoch().count()),
          static_cast<long>((date - seconds).count())};
}

Change changeFrom(const FileAttributes& attributes, const std::string& path) {
  // The system calls would take the text up to the NUL for the path.
  if (path.find('\0') != std::string::npos) fail(EINVAL, path);
  Change change;
  if (attributes.ownerAccountID) {
    change.owner = *attributes.ownerAccountID;
  } else if (attributes.ownerAccountName) {
    const auto user = internal::userNamed(*attributes.ownerAccountName);
    if (!user) fail(EINVAL, path);
    change.owner = *user;
  }
  if (attributes.groupOwnerAccountID) {
    change.group = *attributes.groupOwnerAccountID;
  } else if (attributes.groupOwnerAccountName) {
    const auto group = internal::groupNamed(*attributes.groupOwnerAccountName);
    if (!group) fail(EINVAL, path);
    change.group = *group;
  }
  if (attributes.posixPermissions) {
    change.mode = *attributes.posixPermissions & 07777;
  }
  if (attributes.modificationDate) {
    change.modified = timespecFrom(*attributes.modificationDate);
  }
  return change;
}

// Changes the mode of a file that is no link. Where the kernel has no such call
// or forbids all that it does not know, the C library goes around by /proc.
int changeModeUnlessLink(int folder, const char* name, mode_t mode) {
  if (::syscall(kFchmodat2, folder, name, mode, AT_SYMLINK_NOFOLLOW) == 0) {
    return 0;
  }
  if (errno != ENOSYS && errno != EPERM) return errno;
  return ::fchmodat(folder, name, mode, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

bool isLink(int folder, const char* name) {
  struct stat status {};
  return ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISLNK(status.st_mode);
}

int setMode(const Change& change, int folder, const char* name, int flags) {
  if (flags == 0) {
    return ::fchmodat(folder, name, *change.mode, 0) == 0 ? 0 : errno;
  }
  int error = 0;
  // A file that was a link is looked at again, in case it was replaced.
  constexpr int kMaximumAttempts = 100;
  for (int i = 0; i < kMaximumAttempts; ++i) {
    error = changeModeUnlessLink(folder, name, *change.mode);
    if (error != EOPNOTSUPP) break;
    if (isLink(folder, name)) return 0;
  }
  return error;
}

// Makes the change to one file; `flags` say whether links are followed. Returns
// 0 or the errno.
int make(const Change& change, int folder, const char* name, int flags) {
  bool isMade = false;
  if (change.owner != kUnchangedOwner || change.group != kUnchangedGroup) {
    isMade = true;
    if (::fchownat(folder, name, change.owner, change.group, flags) != 0) {
      return errno;
    }
  }
  if (change.mode) {
    isMade = true;
    if (const int error = setMode(change, folder, name, flags)) return error;
  }
  if (change.modified) {
    isMade = true;
    const timespec times[] = {{0, UTIME_OMIT}, *change.modified};
    if (::utimensat(folder, name, times, flags) != 0) return errno;
  }
  struct stat status {};
  if (isMade || ::fstatat(folder, name, &status, flags) == 0) return 0;
  return errno;
}

void setOnRoot(const Change& change, const std::string& path) {
  if (const int error = make(change, AT_FDCWD, path.c_str(), 0)) {
    fail(error, path);
  }
}

// The names in a tree of folders.
class Tree {
 public:
  // Lists what is inside the folder `root`.
  explicit Tree(UniqueFd root) : chain_(std::move(root)) {
    listing_ = std::make_unique_for_overwrite<char[]>(kListingSize);
    entries_.push_back({0, 0, 0, true});
    readFolder(0);
    walk([this](std::size_t entry) {
      if (!entries_[entry].isFolder ||
          chain_.enter(nameOf(entry), O_RDONLY | O_NONBLOCK) != 0) {
        return false;
      }
      readFolder(entry);
      return true;
    });
    listing_.reset();
  }

  // Makes the change to all that was listed; `path` is that of the root.
  void make(const Change& change, const std::string& path) {
    walk([&](std::size_t entry) {
      const int folder = chain_.innermost();
      int error = folder < 0 ? errno
                             : platform::make(change, folder, nameOf(entry),
                                              AT_SYMLINK_NOFOLLOW);
      const bool isEntered = error == 0 && entries_[entry].childCount > 0;
      if (isEntered) error = chain_.enter(nameOf(entry), O_PATH);
      if (error != 0) fail(error, pathOf(entry, path));
      return isEntered;
    });
  }

 private:
  struct Entry {
    std::size_t name;        // where it begins in names_
    std::size_t firstChild;  // the others follow
    std::size_t childCount;
    bool isFolder;
  };
  // A folder that is being walked through.
  struct Level {
    std::size_t entry;
    std::size_t next;  // the entry to come
    std::size_t end;
  };

  [[nodiscard]] const char* nameOf(std::size_t entry) const {
    return names_.data() + entries_[entry].name;
  }

  // Calls `visit` for all entries but the root, in order; it returns true when
  // it has entered the entry in chain_.
  template <typename Visit>
  void walk(const Visit& visit) {
    levels_.clear();
    const auto enter = [this](std::size_t entry) {
      const std::size_t first = entries_[entry].firstChild;
      levels_.push_back({entry, first, first + entries_[entry].childCount});
    };
    enter(0);
    while (true) {
      Level& level = levels_.back();
      if (level.next < level.end) {
        const std::size_t entry = level.next++;
        if (visit(entry)) enter(entry);
        continue;
      }
      levels_.pop_back();
      if (levels_.empty()) return;
      chain_.leave();
    }
  }

  // Appends what the innermost folder holds as the children of `entry`.
  void readFolder(std::size_t entry) {
    const std::size_t first = entries_.size();
    const int folder = chain_.innermost();
    while (true) {
      const ssize_t count = ::getdents64(folder, listing_.get(), kListingSize);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;  // what cannot be read ends there
      appendEntries(folder, static_cast<std::size_t>(count));
    }
    entries_[entry].firstChild = first;
    entries_[entry].childCount = entries_.size() - first;
  }

  void appendEntries(int folder, std::size_t size) {
    for (std::size_t at = 0; at < size;) {
      const auto* const entry =
          reinterpret_cast<const dirent64*>(listing_.get() + at);
      at += entry->d_reclen;
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      entries_.push_back({names_.size(), 0, 0, isFolder(folder, *entry)});
      names_.append(name).push_back('\0');
    }
  }

  static bool isFolder(int folder, const dirent64& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat status {};
    return ::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
  }

  // The path of an entry of the folder at hand.
  [[nodiscard]] std::string pathOf(std::size_t entry,
                                   const std::string& root) const {
    std::string path = root;
    const auto append = [&](std::size_t part) {
      if (!path.ends_with('/')) path.push_back('/');
      path.append(nameOf(part));
    };
    for (std::size_t i = 1; i < levels_.size(); ++i) append(levels_[i].entry);
    append(entry);
    return path;
  }

  internal::FolderChain chain_;
  std::vector<Entry> entries_;  // the root first
  std::string names_;           // each with a NUL behind it
  std::vector<Level> levels_;
  std::unique_ptr<char[]> listing_;
};

}  // namespace

void setFileAttributes(const FileAttributes& attributes,
                       const std::string& path) {
  setOnRoot(changeFrom(attributes, path), path);
}

void setFileAttributesRecursively(const FileAttributes& attributes,
                                  const std::string& path) {
  const Change change = changeFrom(attributes, path);
  UniqueFd root(
      ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_DIRECTORY | O_CLOEXEC));
  if (!root.valid()) return setOnRoot(change, path);
  Tree tree(std::move(root));
  setOnRoot(change, path);
  tree.make(change, path);
}

}  // namespace quillhaven::platform
