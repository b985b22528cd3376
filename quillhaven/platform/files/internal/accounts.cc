#include "quillhaven/platform/files/internal/accounts.h"

#include <grp.h>
#include <pwd.h>

#include <cerrno>
#include <cstddef>
#include <vector>

namespace quillhaven::platform::internal {
namespace {

// Calls `look`, one of getpwnam_r and its like without their key, with room
// enough for the entry, and returns what `read` makes of that.
template <typename Entry, typename Look, typename Read>
auto found(const Look& look, const Read& read)
    -> std::optional<decltype(read(Entry()))> {
  constexpr std::size_t kLeastRoom = std::size_t{4} * 1024;
  constexpr std::size_t kMostRoom = std::size_t{16} * 1024 * 1024;
  for (std::size_t room = kLeastRoom; room <= kMostRoom; room *= 4) {
    std::vector<char> texts(room);
    Entry entry{};
    Entry* result = nullptr;
    const int error = look(&entry, texts.data(), room, &result);
    if (error == EINTR) {
      room /= 4;
    } else if (error != ERANGE) {
      return result != nullptr ? std::optional(read(entry)) : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<uid_t> userNamed(const std::string& name) {
  return found<passwd>(
      [&](auto... rest) { return ::getpwnam_r(name.c_str(), rest...); },
      [](const passwd& entry) { return entry.pw_uid; });
}

std::optional<gid_t> groupNamed(const std::string& name) {
  return found<group>(
      [&](auto... rest) { return ::getgrnam_r(name.c_str(), rest...); },
      [](const group& entry) { return entry.gr_gid; });
}

std::optional<std::string> homeOfUser(uid_t user) {
  const auto home =
      found<passwd>([&](auto... rest) { return ::getpwuid_r(user, rest...); },
                    [](const passwd& entry) -> std::optional<std::string> {
                      if (entry.pw_dir == nullptr) return std::nullopt;
                      return entry.pw_dir;
                    });
  return home.value_or(std::nullopt);
}

}  // namespace quillhaven::platform::internal
