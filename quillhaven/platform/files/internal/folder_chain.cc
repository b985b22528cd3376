#include "quillhaven/platform/files/internal/folder_chain.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace quillhaven::platform::internal {
namespace {

constexpr int kAlways = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

}  // namespace

FolderChain::FolderChain(UniqueFd root) {
  folders_.push_back({"", std::move(root)});
}

int FolderChain::enter(const char* name, int flags) {
  const int around = innermost();
  if (around < 0) return errno;
  UniqueFd fd(::openat(around, name, flags | kAlways));
  if (!fd.valid()) return errno;
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) return errno;
  folders_.push_back({name, std::move(fd), status.st_dev, status.st_ino});
  if (folders_.size() > kMaximumOpen + 1) {
    folders_[folders_.size() - kMaximumOpen - 1].fd.reset();
  }
  return 0;
}

void FolderChain::leave() {
  const Folder left = std::move(folders_.back());
  folders_.pop_back();
  // What fails here is tried again from the root once the folder is asked for.
  if (!folders_.back().fd.valid()) static_cast<void>(reopen(left));
}

int FolderChain::innermost() {
  if (!folders_.back().fd.valid() && !reopenFromRoot()) return -1;
  return folders_.back().fd.get();
}

// Opens the innermost folder as the one around `inside`, unless that was moved.
bool FolderChain::reopen(const Folder& inside) {
  Folder& folder = folders_.back();
  if (!inside.fd.valid()) return false;
  UniqueFd fd(::openat(inside.fd.get(), "..", O_PATH | kAlways));
  struct stat status {};
  if (!fd.valid() || ::fstat(fd.get(), &status) != 0 ||
      status.st_dev != folder.device || status.st_ino != folder.inode) {
    return false;
  }
  folder.fd = std::move(fd);
  return true;
}

// Opens the innermost folder by the names on the way to it.
bool FolderChain::reopenFromRoot() {
  int around = folders_.front().fd.get();
  UniqueFd fd;
  for (std::size_t i = 1; i < folders_.size(); ++i) {
    fd = UniqueFd(::openat(around, folders_[i].name.c_str(), O_PATH | kAlways));
    if (!fd.valid()) return false;
    around = fd.get();
  }
  folders_.back().fd = std::move(fd);
  return true;
}

}  // namespace quillhaven::platform::internal
