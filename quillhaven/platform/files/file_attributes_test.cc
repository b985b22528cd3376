#include "quillhaven/platform/files/file_attributes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/internal/folder_chain.h"
#include "quillhaven/platform/files/testing/other_user.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/testing/process_state.h"

namespace quillhaven::platform {
namespace {

using std::chrono::nanoseconds;
using std::chrono::sys_time;
using testing::isTrueForUser;
using testing::kUnknownUser;
using testing::openDescriptorCount;
using testing::TemporaryFolder;

struct stat statusOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status;
}

mode_t modeOf(const std::string& path) {
  return statusOf(path).st_mode & 07777;
}

// The errno with which `work` fails, 0 if it does not; and the path it names.
template <typename Work>
std::pair<int, std::string> failureOf(const Work& work) {
  try {
    work();
    return {};
  } catch (const std::filesystem::filesystem_error& error) {
    return {error.code().value(), error.path1().string()};
  }
}

TEST(SetFileAttributes, SetsWhatIsGiven) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", "");
  const std::string link = folder.link("link", file);
  setFileAttributes({.posixPermissions = 0100640}, link);
  EXPECT_EQ(modeOf(file), 0640U);

  for (const std::int64_t date : {1'700'000'000'123'456'789, 0L, -1L}) {
    const timespec accessed = statusOf(file).st_atim;
    setFileAttributes(
        {.modificationDate = sys_time<nanoseconds>(nanoseconds(date))}, link);
    const struct stat status = statusOf(file);
    EXPECT_EQ(status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec,
              date);
    EXPECT_EQ(status.st_atim.tv_nsec, accessed.tv_nsec);
  }
  EXPECT_EQ(modeOf(file), 0640U);

  // A change of owner takes the special bits away; those asked for stay.
  setFileAttributes({.posixPermissions = 04755,
                     .ownerAccountID = ::getuid(),
                     .groupOwnerAccountID = ::getgid()},
                    file);
  EXPECT_EQ(modeOf(file), 04755U);
  if (::geteuid() != 0) return;
  setFileAttributes({.ownerAccountID = 12345, .ownerAccountName = "root"},
                    file);
  EXPECT_EQ(statusOf(file).st_uid, 12345U);
  setFileAttributes({.ownerAccountName = "root"}, file);
  EXPECT_EQ(statusOf(file).st_uid, 0U);
  setFileAttributes({.groupOwnerAccountName = "daemon"}, file);
  EXPECT_EQ(statusOf(file).st_gid, 1U);
}

TEST(SetFileAttributes, SaysWhyItFails) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", "");
  const struct {
    FileAttributes attributes;
    std::string path;
    int error;
  } cases[] = {
      {{.posixPermissions = 0600}, folder.path("none"), ENOENT},
      {{}, folder.path("none"), ENOENT},
      {{}, "", ENOENT},
      {{}, file, 0},
      {{.posixPermissions = 0600}, file + "/none", ENOTDIR},
      {{.posixPermissions = 0600}, folder.link("loop", "loop"), ELOOP},
      {{.posixPermissions = 0600}, file + std::string("\0x", 2), EINVAL},
      {{.ownerAccountName = "no such user"}, file, EINVAL},
      {{.groupOwnerAccountName = ""}, file, EINVAL},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    for (const auto set : {setFileAttributes, setFileAttributesRecursively}) {
      const auto [error, path] = failureOf([&] { set(c.attributes, c.path); });
      EXPECT_EQ(error, c.error);
      EXPECT_EQ(path, c.error == 0 ? "" : c.path);
    }
  }
}

TEST(SetFileAttributesRecursively, ReachesAllInsideAndNothingElse) {
  const TemporaryFolder folder;
  const std::string outside = folder.write("outside/file", "");
  ::chmod(outside.c_str(), 0604);
  const mode_t outsideMode = modeOf(folder.path("outside"));
  const std::vector<std::string> inside = {
      folder.write("tree/a", ""), folder.write("tree/.hidden/b", ""),
      folder.write("tree/c d/e/f", ""), folder.write("tree/c d/\xFF", "")};
  std::filesystem::create_directory(folder.path("tree/empty"));
  for (int i = 0; i < 2500; ++i) {
    ::mknod((folder.path("tree/many-") + std::to_string(i)).c_str(),
            S_IFREG | 0600, 0);
  }
  ::mkfifo(folder.path("tree/pipe").c_str(), 0600);
  const std::string link = folder.link("tree/link", outside);
  folder.link("tree/links/folder", folder.path("outside"));
  folder.link("tree/links/around", folder.path("tree"));
  folder.link("tree/links/dangling", folder.path("none"));
  folder.link("tree/links/loop", "loop");

  const std::string root = folder.link("root", folder.path("tree"));
  const auto date = sys_time<nanoseconds>(std::chrono::seconds(1'000'000'000));
  const timespec outsideDate = statusOf(outside).st_mtim;
  setFileAttributesRecursively(
      {.posixPermissions = 0751, .modificationDate = date}, root);

  std::size_t count = 0;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(folder.path("tree"))) {
    const struct stat status = statusOf(entry.path());
    ASSERT_EQ(status.st_mtim.tv_sec, 1'000'000'000) << entry.path();
    if (!entry.is_symlink()) {
      ASSERT_EQ(status.st_mode & 07777, 0751U) << entry.path();
    }
    ++count;
  }
  EXPECT_EQ(count, 2515U);
  EXPECT_EQ(modeOf(folder.path("tree")), 0751U);
  EXPECT_EQ(modeOf(outside), 0604U);
  EXPECT_EQ(modeOf(folder.path("outside")), outsideMode);
  EXPECT_EQ(statusOf(outside).st_mtim.tv_nsec, outsideDate.tv_nsec);

  setFileAttributesRecursively({.posixPermissions = 0600}, inside.front());
  EXPECT_EQ(modeOf(inside.front()), 0600U);
  EXPECT_EQ(modeOf(inside.back()), 0751U);
}

// The tree is listed before anything is set, and set from the root on.
TEST(SetFileAttributesRecursively, StopsAtTheFirstFailure) {
  const TemporaryFolder folder;
  folder.write("tree/folder/file", "");
  folder.write("tree/unreadable/file", "");
  std::filesystem::permissions(folder.path("tree/unreadable"),
                               std::filesystem::perms(0300));
  if (::geteuid() == 0) {
    ::chmod(folder.path().c_str(), 0755);
    setFileAttributesRecursively({.ownerAccountID = kUnknownUser},
                                 folder.path("tree"));
  }
  const std::string tree = folder.path("tree");
  EXPECT_TRUE(isTrueForUser(kUnknownUser, [&] {
    setFileAttributesRecursively({.posixPermissions = 0755}, tree);
    return true;
  }));
  EXPECT_EQ(modeOf(tree + "/folder/file"), 0755U);
  EXPECT_EQ(modeOf(tree + "/unreadable"), 0755U);
  EXPECT_NE(modeOf(tree + "/unreadable/file"), 0755U);

  EXPECT_TRUE(isTrueForUser(kUnknownUser, [&] {
    const auto [error, path] = failureOf([&] {
      setFileAttributesRecursively({.posixPermissions = 0640}, tree);
    });
    return error == EACCES &&
           (path == tree + "/folder" || path == tree + "/unreadable");
  }));
  EXPECT_EQ(modeOf(tree), 0640U);
  EXPECT_EQ(modeOf(tree + "/folder"), 0755U);
  ::chmod(tree.c_str(), 0755);

  EXPECT_TRUE(isTrueForUser(kUnknownUser, [&] {
    const auto [error, path] = failureOf([&] {
      setFileAttributesRecursively({.ownerAccountID = 0}, tree + "/folder");
    });
    return error == EPERM && path == tree + "/folder";
  }));
}

// Lowers the number of descriptors for its life.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(rlim_t count) {
    ::getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit limit = {count, before_.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;
  ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_{};
};

UniqueFd openFolder(int around, const char* name) {
  return UniqueFd(::openat(around, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

// Makes folders called "d" inside each other, each with a file "f" beside the
// next one.
void makeDeepTree(const std::string& path, int depth) {
  ::mkdir(path.c_str(), 0700);
  UniqueFd folder = openFolder(AT_FDCWD, path.c_str());
  for (int i = 0; i < depth; ++i) {
    ::mkdirat(folder.get(), "d", 0700);
    UniqueFd(::openat(folder.get(), "f", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    folder = openFolder(folder.get(), "d");
  }
}

TEST(SetFileAttributesRecursively, GoesAsDeepAsFoldersDo) {
  constexpr int kDepth = 2500;  // its paths are longer than PATH_MAX
  const TemporaryFolder folder;
  makeDeepTree(folder.path("deep"), kDepth);
  {
    const DescriptorLimit limit(openDescriptorCount() + 40);
    setFileAttributesRecursively({.posixPermissions = 0750},
                                 folder.path("deep"));
  }
  int found = 0;
  UniqueFd at = openFolder(AT_FDCWD, folder.path("deep").c_str());
  while (at.valid()) {
    struct stat file {
    }, own{};
    if (::fstatat(at.get(), "f", &file, 0) == 0 &&
        ::fstat(at.get(), &own) == 0 && (file.st_mode & 07777) == 0750 &&
        (own.st_mode & 07777) == 0750) {
      ++found;
    }
    at = openFolder(at.get(), "d");
  }
  EXPECT_EQ(found, kDepth);
  // std::filesystem would run out of descriptors.
  EXPECT_EQ(std::system(("rm -rf '" + folder.path("deep") + "'").c_str()), 0);
}

// Somebody puts a link in the place of a folder, again and again.
TEST(SetFileAttributesRecursively, IsNotLedAstray) {
  const TemporaryFolder folder;
  const std::string outside = folder.write("outside/file", "");
  ::chmod(outside.c_str(), 0604);
  const mode_t outsideMode = modeOf(folder.path("outside"));
  folder.write("tree/folder/file", "");
  folder.write("tree/folder/vanishing/file", "");
  const std::string link = folder.link("link", folder.path("outside"));

  std::atomic<bool> isDone = false;
  std::thread other([&] {
    const std::string inside = folder.path("tree/folder");
    const std::string vanishing = inside + "/vanishing";
    while (!isDone) {
      ::renameat2(AT_FDCWD, inside.c_str(), AT_FDCWD, link.c_str(),
                  RENAME_EXCHANGE);
      ::renameat2(AT_FDCWD, inside.c_str(), AT_FDCWD, link.c_str(),
                  RENAME_EXCHANGE);
      ::unlink((vanishing + "/file").c_str());
      ::rmdir(vanishing.c_str());
      ::mkdir(vanishing.c_str(), 0700);
      ::close(::open((vanishing + "/file").c_str(),
                     O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    }
  });
  const std::size_t descriptors = openDescriptorCount();
  int failures = 0;
  for (int i = 0; i < 1000; ++i) {
    const auto [error, path] = failureOf([&] {
      setFileAttributesRecursively({.posixPermissions = 0777},
                                   folder.path("tree"));
    });
    if (error != 0) ++failures;
    EXPECT_TRUE(error == 0 || error == ENOENT || error == ENOTDIR ||
                error == ELOOP)
        << error;
  }
  isDone = true;
  other.join();
  EXPECT_LT(failures, 1000);
  EXPECT_EQ(openDescriptorCount(), descriptors);
  EXPECT_EQ(modeOf(outside), 0604U);
  EXPECT_EQ(modeOf(folder.path("outside")), outsideMode);
}

// A chain that enters `depth` folders of makeDeepTree().
internal::FolderChain chainInto(const std::string& path, int depth) {
  internal::FolderChain chain(openFolder(AT_FDCWD, path.c_str()));
  for (int i = 0; i < depth; ++i) EXPECT_EQ(chain.enter("d", O_RDONLY), 0);
  return chain;
}

ino_t inodeOf(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 ? status.st_ino : 0;
}

TEST(FolderChain, FindsFoldersAgain) {
  constexpr int kDepth = 100;
  const TemporaryFolder folder;
  const std::string root = folder.path("deep");
  makeDeepTree(root, kDepth);
  const auto nth = [&](int depth) {
    std::string path = root;
    for (int i = 0; i < depth; ++i) path += "/d";
    return path;
  };
  const std::size_t before = openDescriptorCount();
  {
    auto chain = chainInto(root, kDepth);
    EXPECT_EQ(openDescriptorCount(),
              before + internal::FolderChain::kMaximumOpen + 1);
    for (int depth = kDepth; depth > 0; --depth) {
      ASSERT_EQ(inodeOf(chain.innermost()), statusOf(nth(depth)).st_ino);
      chain.leave();
    }
    EXPECT_EQ(inodeOf(chain.innermost()), statusOf(root).st_ino);
  }
  EXPECT_EQ(openDescriptorCount(), before);

  // The folders from the fortieth on move away: what is around them now is
  // not what was, and what is not there any more is not found.
  auto chain = chainInto(root, kDepth);
  ASSERT_EQ(::rename(nth(40).c_str(), folder.path("moved").c_str()), 0);
  for (int depth = kDepth; depth > 39; --depth) chain.leave();
  EXPECT_EQ(inodeOf(chain.innermost()), statusOf(nth(39)).st_ino);

  auto other = chainInto(folder.path("moved"), kDepth - 40);
  std::filesystem::rename(folder.path("moved"), folder.path("again"));
  std::filesystem::rename(folder.path("again/d/d"), folder.path("part"));
  for (int depth = kDepth - 40; depth > 2; --depth) other.leave();
  EXPECT_EQ(inodeOf(other.innermost()), statusOf(folder.path("part")).st_ino);
  other.leave();
  EXPECT_EQ(inodeOf(other.innermost()),
            statusOf(folder.path("again/d")).st_ino);
}

}  // namespace
}  // namespace quillhaven::platform
