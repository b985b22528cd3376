// Sets permissions, owners and dates of files, also of whole trees of folders.
#ifndef QUILLHAVEN_PLATFORM_FILES_FILE_ATTRIBUTES_H_
#define QUILLHAVEN_PLATFORM_FILES_FILE_ATTRIBUTES_H_

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace quillhaven::platform {

// The attributes of a file that can be set, by their keys. What is absent stays
// as it is:
//   FileAttributes{.posixPermissions = 0640}
struct FileAttributes {
  // Rights and special bits, 0 to 07777; other bits are ignored.
  std::optional<mode_t> posixPermissions = {};
  // The time of access stays. Clamped to what the file system can hold.
  std::optional<std::chrono::sys_time<std::chrono::nanoseconds>>
      modificationDate = {};
  // Numbers of accounts; where there is one, the name below does not count.
  std::optional<uid_t> ownerAccountID = {};
  std::optional<gid_t> groupOwnerAccountID = {};
  // Names in the databases of users and groups.
  std::optional<std::string> ownerAccountName = {};
  std::optional<std::string> groupOwnerAccountName = {};
};

// Sets the attributes on what `path` leads to; links are followed. Owner and
// group come first, which may take special bits away, then permissions, then
// the date. Throws std::filesystem::filesystem_error with the errno: ENOENT for
// a missing file, EPERM for one that is not the user's, EINVAL for the name of
// an unknown account. Thread-safe.
void setFileAttributes(const FileAttributes& attributes,
                       const std::string& path);

// The same for `path` and, if that leads to a folder that can be read, for all
// that is inside. First the whole tree is listed: each folder before what it
// holds, in the order in which the file system names that; folders inside that
// cannot be read count as empty. Then the attributes are set in that order, up
// to the first failure, whose path the error names. What was set stays set. So
// a folder that loses the right to be searched ends the work of anyone but the
// superuser at the first file inside, and one that gains the right to be read
// needs a second call.
//
// Symbolic links inside are never followed: a link gets owner and date itself
// and has no permissions. Everything is set relative to open folders, so that
// nobody can lead the work out of the tree by putting a link in a folder's
// place. Needs 40 bytes and its name for each file, and no more than 40
// descriptors however deep the tree is. Paths may be longer than PATH_MAX.
void setFileAttributesRecursively(const FileAttributes& attributes,
                                  const std::string& path);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_FILE_ATTRIBUTES_H_
