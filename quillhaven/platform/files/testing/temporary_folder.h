// A folder for the files of one test.
#ifndef QUILLHAVEN_PLATFORM_FILES_TESTING_TEMPORARY_FOLDER_H_
#define QUILLHAVEN_PLATFORM_FILES_TESTING_TEMPORARY_FOLDER_H_

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace quillhaven::platform::testing {

// Vanishes with what it holds at the end of its life.
class TemporaryFolder {
 public:
  TemporaryFolder()
      : path_(std::filesystem::temp_directory_path() / "quillhaven-XXXXXX") {
    if (::mkdtemp(path_.data()) == nullptr) std::abort();
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  // The path of `name` inside.
  [[nodiscard]] std::string path(std::string_view name = {}) const {
    return name.empty() ? path_ : path_ + "/" + std::string(name);
  }

  // These make a file, a symbolic link or a copy, and the folders on the way;
  // each returns the path.
  std::string write(std::string_view name, std::string_view bytes) const {
    std::string file = pathWithFolders(name);
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }
  // One that may be executed.
  std::string writeProgram(std::string_view name,
                           std::string_view bytes) const {
    std::string file = write(name, bytes);
    std::filesystem::permissions(file, std::filesystem::perms(0755));
    return file;
  }
  std::string link(std::string_view name, const std::string& target) const {
    std::string link = pathWithFolders(name);
    std::filesystem::create_symlink(target, link);
    return link;
  }
  std::string copy(std::string_view name, const std::string& file) const {
    std::string copy = pathWithFolders(name);
    std::filesystem::copy_file(file, copy);
    return copy;
  }

  // The bytes of the file `name`; empty if there is none.
  [[nodiscard]] std::string read(std::string_view name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  [[nodiscard]] std::string pathWithFolders(std::string_view name) const {
    std::string inside = path(name);
    std::filesystem::create_directories(
        std::filesystem::path(inside).parent_path());
    return inside;
  }

  std::string path_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_FILES_TESTING_TEMPORARY_FOLDER_H_
