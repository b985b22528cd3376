#include "quillhaven/platform/files/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform {
namespace {

[[noreturn]] void fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

// A file that is removed again unless it gets its final name.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string path) : path_(std::move(path)) {
    fd_.reset(::mkostemp(path_.data(), O_CLOEXEC));
    if (!fd_.valid()) fail(path_);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(fd_.get(), bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail(path_);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  // Takes the rights and the owner of `original`, or just `mode`.
  void takeRights(const struct stat* original, unsigned mode) {
    if (original != nullptr) {
      mode = original->st_mode & 07777;
      struct stat own {};
      if (::fstat(fd_.get(), &own) == 0 &&
          (own.st_uid != original->st_uid || own.st_gid != original->st_gid) &&
          ::fchown(fd_.get(), original->st_uid, original->st_gid) != 0) {
        mode &= 0777;  // its special bits were meant for the other owner
      }
    }
    if (::fchmod(fd_.get(), mode) != 0) fail(path_);
  }

  void rename(const std::string& path) {
    if (::fsync(fd_.get()) != 0 || ::rename(path_.c_str(), path.c_str()) != 0) {
      fail(path);
    }
    path_.clear();
  }

  // The same unless something is at `path`; returns whether nothing was.
  bool renameWithoutReplacing(const std::string& path) {
    if (::fsync(fd_.get()) != 0) fail(path);
    if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str(),
                    RENAME_NOREPLACE) == 0) {
      path_.clear();
      return true;
    }
    // Some file systems know links only; the temporary name goes later.
    if (errno == EINVAL && ::link(path_.c_str(), path.c_str()) == 0) {
      return true;
    }
    if (errno == EEXIST) return false;
    fail(path);
  }

 private:
  std::string path_;
  UniqueFd fd_;
};

// Where the bytes at `path` lie: behind a link, where the link leads.
std::filesystem::path resolved(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_symlink(path, ignored)) {
    auto target = std::filesystem::canonical(path, ignored);
    if (!ignored) return target;
  }
  return path;
}

// The folder of a file, open so that what changes in it can be brought to the
// disk.
class FolderOfFile {
 public:
  explicit FolderOfFile(const std::filesystem::path& file)
      : path_(file.parent_path().empty() ? "." : file.parent_path()),
        fd_(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!fd_.valid()) fail(path_.string());
  }

  [[nodiscard]] std::string temporaryPathFor(
      const std::filesystem::path& file) const {
    return (path_ / ("." + file.filename().string() + ".XXXXXX")).string();
  }

  void bringToDisk() const {
    // Some file systems cannot do this to folders, and need not.
    if (::fsync(fd_.get()) != 0 && errno != EINVAL) fail(path_.string());
  }

 private:
  std::filesystem::path path_;
  UniqueFd fd_;
};

}  // namespace

void writeFileAtomically(const std::string& path, std::string_view bytes,
                         unsigned mode) {
  const std::filesystem::path target = resolved(path);
  const FolderOfFile folder(target);
  TemporaryFile file(folder.temporaryPathFor(target));
  file.write(bytes);
  struct stat original {};
  const bool exists = ::stat(target.c_str(), &original) == 0;
  file.takeRights(exists ? &original : nullptr, mode);
  file.rename(target.string());
  folder.bringToDisk();
}

bool createFileAtomically(const std::string& path, std::string_view bytes,
                          unsigned mode) {
  const FolderOfFile folder(path);
  TemporaryFile file(folder.temporaryPathFor(path));
  file.write(bytes);
  file.takeRights(nullptr, mode);
  const bool isNew = file.renameWithoutReplacing(path);
  if (isNew) folder.bringToDisk();
  return isNew;
}

}  // namespace quillhaven::platform
