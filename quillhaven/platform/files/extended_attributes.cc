#include "quillhaven/platform/files/extended_attributes.h"

#include <sys/xattr.h>

namespace quillhaven::platform {

int removeExtendedAttribute(const std::string& path, const char* name) {
  if (::getxattr(path.c_str(), name, nullptr, 0) < 0) return 0;
  return ::removexattr(path.c_str(), name);
}

}  // namespace quillhaven::platform
