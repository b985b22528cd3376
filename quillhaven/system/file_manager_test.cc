#include "quillhaven/system/file_manager.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/files/testing/environment_variable.h"
#include "quillhaven/platform/files/testing/other_user.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/testing/process_state.h"

namespace quillhaven::system {
namespace {

using platform::ErrorSlot;
using platform::fileURLFromPath;
using platform::testing::EnvironmentVariable;
using platform::testing::isTrueForUser;
using platform::testing::kUnknownUser;
using platform::testing::openDescriptorCount;
using platform::testing::TemporaryFolder;

TEST(StandardFolders, AreURLsOfTheUsersFolders) {
  const TemporaryFolder folder;
  const EnvironmentVariable home("HOME", folder.path());
  const EnvironmentVariable configuration("XDG_CONFIG_HOME", std::nullopt);
  const EnvironmentVariable data("XDG_DATA_HOME", std::nullopt);
  EXPECT_FALSE(documentDirectoryURL());
  folder.write(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/My Docs\"");
  EXPECT_EQ(documentDirectoryURL(), "file://" + folder.path() + "/My%20Docs");
  EXPECT_EQ(applicationSupportDirectoryURL(),
            "file://" + folder.path() + "/.local/share");
  EXPECT_FALSE(std::filesystem::exists(folder.path(".local")));
  EXPECT_NE(homeDirectoryOutsideSandbox(), folder.path());
}

TEST(SupportFilesDirectoryURL, CreatesTheFolderWhereNothingIs) {
  const TemporaryFolder folder;
  const EnvironmentVariable data("XDG_DATA_HOME", folder.path("a b/data"));
  const std::string url = "file://" + folder.path() + "/a%20b/data/com.x";
  EXPECT_EQ(supportFilesDirectoryURL("com.x", false), url);
  EXPECT_FALSE(std::filesystem::exists(folder.path("a b")));
  EXPECT_EQ(supportFilesDirectoryURL("com.x", true), url);
  EXPECT_TRUE(std::filesystem::is_directory(folder.path("a b/data/com.x")));
  EXPECT_EQ(supportFilesDirectoryURL("com.x", true), url);

  folder.write("a b/data/file", "kept");
  ErrorSlot error;
  EXPECT_EQ(supportFilesDirectoryURL("file", true, &error),
            url.substr(0, url.size() - 5) + "file");
  EXPECT_EQ(folder.read("a b/data/file"), "kept");
  EXPECT_FALSE(error);

  const std::string inFile = folder.path("a b/data/file/inside");
  EXPECT_FALSE(supportFilesDirectoryURL("file/inside", true, &error));
  ASSERT_NE(error.as<FileOperationError>(), nullptr);
  EXPECT_EQ(
      *error.as<FileOperationError>(),
      FileOperationError(FileOperationError::Operation::createFolder, inFile,
                         std::make_error_code(std::errc::not_a_directory)));
  EXPECT_EQ(error->errorDescription(),
            "The folder “" + inFile + "” couldn’t be created.");
  EXPECT_FALSE(supportFilesDirectoryURL("file/inside", true, nullptr));
  EXPECT_THROW(static_cast<void>(supportFilesDirectoryURL("file/inside", true)),
               FileOperationError);
}

TEST(FileManager, DoesWithoutAHomeFolder) {
  if (::geteuid() != 0) GTEST_SKIP() << "takes the superuser";
  EXPECT_TRUE(isTrueForUser(kUnknownUser, [] {
    ::unsetenv("HOME");
    ::unsetenv("XDG_DATA_HOME");
    ErrorSlot error;
    if (applicationSupportDirectoryURL() || documentDirectoryURL() ||
        supportFilesDirectoryURL("com.x", true, &error) ||
        homeDirectoryOutsideSandbox() != "/") {
      return false;
    }
    try {
      static_cast<void>(supportFilesDirectoryURL("com.x", false));
    } catch (const FileManagerError& thrown) {
      const auto* const filled = error.as<FileManagerError>();
      return filled != nullptr && *filled == thrown &&
             thrown.domain() == "QuillhavenUtilities.FileManagerError" &&
             thrown.errorCode() == 0 && thrown.userInfo().empty();
    }
    return false;
  }));
}

TEST(NextAvailablePath, NumbersBeforeTheLastExtension) {
  const struct {
    std::string_view path, first, second;  // in the folder of the test
  } cases[] = {
      {"Report.pdf", "Report-1.pdf", "Report-2.pdf"},
      {"archive.tar.gz", "archive.tar-1.gz", "archive.tar-2.gz"},
      {"Report", "Report-1.", "Report-2."},
      {".hidden", ".hidden-1.", ".hidden-2."},
      {"a.b/file", "a.b/file-1.", "a.b/file-2."},
      {"a.b//file.x", "a.b/file-1.x", "a.b/file-2.x"},
      {"end.", "end.-1.", "end.-2."},
      {"Report-1.doc", "Report-1-1.doc", "Report-1-2.doc"},
      {"\xFF .\xFE", "\xFF -1.\xFE", "\xFF -2.\xFE"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    const TemporaryFolder folder;
    const std::string path = folder.path(c.path);
    EXPECT_EQ(nextAvailablePath(path), path);
    folder.write(c.path, "");
    EXPECT_EQ(nextAvailablePath(path), folder.path(c.first));
    folder.write(c.first, "");
    EXPECT_EQ(nextAvailablePath(path), folder.path(c.second));
  }
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path("A.app"));
  EXPECT_EQ(nextAvailablePath(folder.path("A.app/")), folder.path("A-1.app"));
  const std::string dangling = folder.link("dangling", "nowhere");
  EXPECT_EQ(nextAvailablePath(dangling), dangling);
  const std::string longest = folder.write(std::string(255, 'x'), "");
  EXPECT_EQ(nextAvailablePath(longest), longest + "-1.");
  const std::string withNUL = folder.path("A.app") + std::string("\0.x", 3);
  EXPECT_EQ(nextAvailablePath(withNUL), withNUL);
  EXPECT_EQ(nextAvailablePath(""), "");
}

TEST(URLByAppendingNumberSuffixIfNeeded, NumbersBeforeTheFirstPeriod) {
  const struct {
    std::string_view name, first, second;  // as they stand in the URL
  } cases[] = {
      {"Report.pdf", "Report%202.pdf", "Report%203.pdf"},
      {"archive.tar.gz", "archive%202.tar.gz", "archive%203.tar.gz"},
      {"Report", "Report%202", "Report%203"},
      {"Report%202.pdf", "Report%202%202.pdf", "Report%202%203.pdf"},
      {".hidden", "%202.hidden", "%203.hidden"},
      {"a.b/file", "a.b/file%202", "a.b/file%203"},
      {"%41%2Eb.c", "%41%202%2Eb.c", "%41%203%2Eb.c"},
      {"%FF%25.x", "%FF%25%202.x", "%FF%25%203.x"},
      {"dir.d/", "dir%202.d/", "dir%203.d/"},
      {"a.b?q.r#f.g", "a%202.b?q.r#f.g", "a%203.b?q.r#f.g"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const TemporaryFolder folder;
    const std::string base = "file://localhost" + folder.path() + "/";
    const auto make = [&](std::string_view name) {
      std::filesystem::create_directories(
          *platform::pathFromFileURL(base + std::string(name)));
    };
    const std::string url = base + std::string(c.name);
    EXPECT_EQ(urlByAppendingNumberSuffixIfNeeded(url), url);
    make(c.name);
    EXPECT_EQ(urlByAppendingNumberSuffixIfNeeded(url),
              base + std::string(c.first));
    make(c.first);
    EXPECT_EQ(urlByAppendingNumberSuffixIfNeeded(url),
              base + std::string(c.second));
  }
  EXPECT_EQ(urlByAppendingNumberSuffixIfNeeded("file:///"), "file:///%202");
  EXPECT_EQ(urlByAppendingNumberSuffixIfNeeded("file:/"), "file:/%202");
  EXPECT_EQ(urlByAppendingNumberSuffixIfNeeded("FILE:/tmp"), "FILE:/tmp%202");
  for (const std::string_view url :
       {"", "file:", "https://x.example/tmp", "/tmp", "file://host/tmp",
        "file:///tmp%2"}) {
    EXPECT_EQ(urlByAppendingNumberSuffixIfNeeded(url), url);
  }
}

// Creates `count` files called `name`, numbered; false when one of its files
// was there before.
bool createNumbered(const std::string& path, int count) {
  for (int created = 0; created < count;) {
    const platform::UniqueFd file(
        ::open(nextAvailablePath(path).c_str(),
               O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
    if (file.valid()) {
      ++created;
    } else if (errno != EEXIST) {
      return false;
    }
  }
  return true;
}

TEST(NextAvailablePath, ServesTwoProcessesAtOnce) {
  constexpr int kCount = 100;
  const TemporaryFolder folder;
  const std::string path = folder.path("Report.pdf");
  const pid_t child = ::fork();
  if (child == 0) ::_exit(createNumbered(path, kCount) ? 0 : 1);
  EXPECT_TRUE(createNumbered(path, kCount));
  int status = 1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  for (int number = 1; number < 2 * kCount; ++number) {
    EXPECT_TRUE(std::filesystem::exists(
        folder.path("Report-" + std::to_string(number) + ".pdf")));
  }
}

TEST(SetAttributes, NamesThePathThatWasRefused) {
  const TemporaryFolder folder;
  const std::string file = folder.write("tree/file", "");
  setAttributes({.posixPermissions = 0750}, folder.path("tree"), false);
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_NE(status.st_mode & 0777, 0750U);
  setAttributes({.posixPermissions = 0750}, folder.path("tree"), true);
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0750U);

  const std::string missing = folder.path("none");
  for (const bool recursively : {false, true}) {
    try {
      setAttributes({.posixPermissions = 0}, missing, recursively);
      ADD_FAILURE();
    } catch (const FileOperationError& error) {
      EXPECT_EQ(error.path(), missing);
      EXPECT_EQ(error.errorCode(), ENOENT);
      EXPECT_EQ(error.domain(), "NSPOSIXErrorDomain");
      EXPECT_EQ(error.errorDescription(),
                "The attributes of “" + missing + "” couldn’t be changed.");
      EXPECT_EQ(error.failureReason(), "No such file or directory");
    }
  }
}

TEST(FileManager, LeavesNoDescriptorOpen) {
  const TemporaryFolder folder;
  const EnvironmentVariable data("XDG_DATA_HOME", folder.path());
  const EnvironmentVariable configuration("XDG_CONFIG_HOME", folder.path());
  folder.write("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"/d\"\n");
  const std::string file = folder.write("tree/folder/file", "");
  const std::size_t before = openDescriptorCount();
  for (int i = 0; i < 1000; ++i) {
    static_cast<void>(documentDirectoryURL());
    static_cast<void>(supportFilesDirectoryURL("com.x", true));
    static_cast<void>(homeDirectoryOutsideSandbox());
    static_cast<void>(nextAvailablePath(file));
    static_cast<void>(
        urlByAppendingNumberSuffixIfNeeded(fileURLFromPath(file)));
    setAttributes({.posixPermissions = 0700}, folder.path("tree"), true);
    EXPECT_THROW(setAttributes({}, file + "/none", true), FileOperationError);
  }
  EXPECT_EQ(openDescriptorCount(), before);
}

}  // namespace
}  // namespace quillhaven::system
