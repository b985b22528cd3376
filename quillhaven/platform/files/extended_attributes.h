// Removes extended attributes from files.
#ifndef QUILLHAVEN_PLATFORM_FILES_EXTENDED_ATTRIBUTES_H_
#define QUILLHAVEN_PLATFORM_FILES_EXTENDED_ATTRIBUTES_H_

#include <string>

namespace quillhaven::platform {

// The mark that downloaded files carry. Linux keeps the attributes of users
// below "user.".
inline constexpr char kQuarantineAttribute[] = "user.com.apple.quarantine";

// Removes the attribute `name` from what `path` leads to; links are followed.
// Returns 0 once it is gone, also when it cannot be read in the first place (it
// is absent, the file is missing, its file system has no attributes), and -1
// with errno set when it is there and cannot be removed. Thread-safe.
[[nodiscard]] int removeExtendedAttribute(const std::string& path,
                                          const char* name);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_EXTENDED_ATTRIBUTES_H_
