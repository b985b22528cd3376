// Bookmarks: bytes that stand for a folder or file over the launches of a
// program, and tell when another has taken its place.
#ifndef QUILLHAVEN_PLATFORM_FILES_SECURITY_SCOPED_BOOKMARK_H_
#define QUILLHAVEN_PLATFORM_FILES_SECURITY_SCOPED_BOOKMARK_H_

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// Returns a bookmark of what is at the absolute `path` (links followed), or
// nothing when the path is relative or nothing can be reached there. It holds
// the path and, as far as the file system has them, the file handle, the time
// of birth, the inode and the file system's identifier. Thread-safe.
[[nodiscard]] std::optional<std::string> securityScopedBookmarkForPath(
    const std::string& path);

// What a bookmark stands for today.
struct ResolvedBookmark {
  std::string path;
  // Something else is at the path now: the original was deleted, moved away or
  // replaced. A move is not followed, since only root may open by handle.
  bool isStale = false;

  bool operator==(const ResolvedBookmark&) const = default;
};

// Returns what `bookmark` stands for, or nothing when its bytes are no bookmark
// or nothing can be reached at its path. Any bytes may be handed in.
// Thread-safe.
[[nodiscard]] std::optional<ResolvedBookmark> resolveSecurityScopedBookmark(
    std::string_view bookmark);

// Holds on to what is at `path` until the process ends, so that its file system
// stays mounted and its identity is not given to another. Returns false when
// nothing can be reached there. However often it is called for one folder, one
// descriptor is kept. Thread-safe.
bool startAccessingSecurityScopedResource(const std::string& path);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_SECURITY_SCOPED_BOOKMARK_H_
