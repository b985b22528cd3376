// Reads small files whole.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_FILE_READING_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_FILE_READING_H_

#include <cstddef>
#include <string>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform::internal {

// Opens the regular file at `path` for reading; never waits, as opening a pipe
// would. Returns 0, or the errno that says why not (EISDIR for a folder, EINVAL
// for anything else that is no regular file).
int openRegularFile(const std::string& path, UniqueFd& fd);

// Reads `fd` from its start to its end into `bytes`. Returns 0 or the errno;
// EFBIG when there are more than `maximum` bytes.
int readWhole(int fd, std::size_t maximum, std::string& bytes);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_FILE_READING_H_
