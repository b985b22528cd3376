// Where the product's programs keep their files, free names for new ones, and
// attributes of whole trees. All functions are thread-safe and look at the
// system anew at each call.
#ifndef QUILLHAVEN_SYSTEM_FILE_MANAGER_H_
#define QUILLHAVEN_SYSTEM_FILE_MANAGER_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/base/localized_error.h"
#include "quillhaven/platform/files/file_attributes.h"
#include "quillhaven/system/file_manager_error.h"

namespace quillhaven::system {

// Returns the "file" URL of the folder that the user keeps documents in (XDG
// user directories), or nothing when the user has named none. The folder need
// not exist.
[[nodiscard]] std::optional<std::string> documentDirectoryURL();

// Returns the "file" URL of the folder for the data of programs
// ($XDG_DATA_HOME), or nothing when not even a home folder is known. The folder
// need not exist.
[[nodiscard]] std::optional<std::string> applicationSupportDirectoryURL();

// Returns the "file" URL of the folder there that belongs to a bundle. Creates
// it, and what is missing above it, if `create` says so and nothing is there;
// an item that is there, a file even, is left as it is. Throws
// FileManagerError::applicationSupportDirectoryMissing() without the folder of
// all programs, FileOperationError when it cannot be created.
[[nodiscard]] std::string supportFilesDirectoryURL(
    std::string_view forBundleIdentifier, bool create);

// The same, but returns nothing where that throws, and fills `error` unless it
// is null.
[[nodiscard]] std::optional<std::string> supportFilesDirectoryURL(
    std::string_view forBundleIdentifier, bool create,
    platform::ErrorSlot* error);

// Returns `path` if nothing is there, else the first that is free of those with
// "-1", "-2" ... before the last extension:
//   nextAvailablePath("Report.pdf")   "Report-1.pdf"
//   nextAvailablePath("Report")       "Report-1."
// The period behind the number is always written, deliberate. A numbered path
// has no slashes in a row or at its end. What cannot be seen counts as free: a
// file behind a folder that may not be searched, a link that leads nowhere.
//
// The name is free at the time of the look. Who creates the file must not take
// what somebody else has created since (O_EXCL), and look again.
[[nodiscard]] std::string nextAvailablePath(std::string_view path);

// Returns the "file" URL `url` if nothing is at its path, else the first that
// is free of those with a blank and 2, 3 ... before the first period of the
// name:
//   "file:///tmp/Report.pdf"       "file:///tmp/Report%202.pdf"
//   "file:///tmp/archive.tar.gz"   "file:///tmp/archive%202.tar.gz"
// All else in the URL stays as it is, a slash at its end, for a folder, too. A
// URL of another scheme is returned unchanged. Free is what it is above.
[[nodiscard]] std::string urlByAppendingNumberSuffixIfNeeded(
    std::string_view url);

// Returns the home folder of the real user as the user database has it, which
// a sandbox leads away from by the environment; "/" for a user without an
// entry.
[[nodiscard]] std::string homeDirectoryOutsideSandbox();

// Sets the attributes on what the path leads to and, `recursively`, on all that
// is inside, the root first, up to the first failure; see file_attributes.h.
// Throws FileOperationError, whose path is the one that was refused. What was
// set stays set.
void setAttributes(const platform::FileAttributes& attributes,
                   const std::string& ofItemAtPath, bool recursively);

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_FILE_MANAGER_H_
