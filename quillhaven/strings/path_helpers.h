// The platform's operations on paths, among the other helpers for strings.
#ifndef QUILLHAVEN_STRINGS_PATH_HELPERS_H_
#define QUILLHAVEN_STRINGS_PATH_HELPERS_H_

#include "quillhaven/platform/base/paths.h"

namespace quillhaven::strings {

using platform::appendingPathComponent;
using platform::deletingLastPathComponent;
using platform::deletingPathExtension;
using platform::lastPathComponent;
using platform::path;
using platform::pathComponents;
using platform::pathExtension;

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_PATH_HELPERS_H_
