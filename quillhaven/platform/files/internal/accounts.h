// Looks into the system's databases of users and groups.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_ACCOUNTS_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_ACCOUNTS_H_

#include <sys/types.h>

#include <optional>
#include <string>

namespace quillhaven::platform::internal {

// Each is nothing when no entry is found. Thread-safe.
std::optional<uid_t> userNamed(const std::string& name);
std::optional<gid_t> groupNamed(const std::string& name);
std::optional<std::string> homeOfUser(uid_t user);  // as the entry has it

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_ACCOUNTS_H_
