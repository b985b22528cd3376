// Small files and numbered folders of the kernel's process file system.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_PROC_FILES_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_PROC_FILES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::platform::internal {

// A path below a process's folder, such as "4711/stat", made without the heap.
class NumberedPath {
 public:
  explicit NumberedPath(std::int32_t number, std::string_view rest = {});

  [[nodiscard]] const char* get() const { return bytes_.data(); }

 private:
  std::array<char, 32> bytes_;
};

// Opens `path` below `folder`, close-on-exec, for reading and with `flags`. On
// failure none, and errno says why.
[[nodiscard]] UniqueFd openBelow(int folder, const char* path, int flags = 0);

// Reads the file at `path` below `folder` into `buffer` with one read; returns
// the bytes read, none at all when that fails. A file that fills the buffer may
// go on.
[[nodiscard]] std::string_view readStart(int folder, const char* path,
                                         char* buffer, std::size_t size);

// Reads a whole file; nothing when that fails.
[[nodiscard]] std::optional<std::string> readWhole(int folder,
                                                   const char* path);

// Returns the entries of `folder` whose names are numbers above 0 or 0 itself,
// ascending; nothing when it cannot be listed, and errno says why.
[[nodiscard]] std::optional<std::vector<std::int32_t>> numbersIn(int folder);

// Returns where the link at `path` leads, at most `size` bytes of it; empty
// when it cannot be read, and errno says why.
[[nodiscard]] std::string_view readLink(int folder, const char* path,
                                        char* buffer, std::size_t size);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_PROC_FILES_H_
