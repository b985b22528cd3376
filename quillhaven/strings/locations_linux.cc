// What locations ask of the system.
#include <pwd.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string_view>

#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/strings/internal/home_folder.h"
#include "quillhaven/strings/locations.h"

namespace quillhaven::strings {
namespace {

// Programs may only set attributes of the name space "user".
constexpr char kQuarantine[] = "user.com.apple.quarantine";

std::string homeFolderOfUserDatabase() {
  std::array<char, 16384> buffer;
  passwd entry{};
  passwd* found = nullptr;
  const int error =
      getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
  const bool hasFolder =
      error == 0 && found != nullptr && found->pw_dir != nullptr;
  return hasFolder ? found->pw_dir : "";
}

}  // namespace

std::string internal::homeFolder() {
  const char* const variable = std::getenv("HOME");
  std::string folder = variable != nullptr ? variable : "";
  if (!folder.starts_with('/')) folder = homeFolderOfUserDatabase();
  while (folder.ends_with('/')) folder.pop_back();
  return folder;
}

std::int32_t dequarantine(std::string_view url) {
  const auto path = platform::pathFromFileURL(url);
  if (!path || getxattr(path->c_str(), kQuarantine, nullptr, 0) < 0) return 0;
  return removexattr(path->c_str(), kQuarantine);
}

}  // namespace quillhaven::strings
