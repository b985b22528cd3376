// Reads the buffer in which the kernel hands out a process's arguments.
#ifndef QUILLHAVEN_SYSTEM_ARGUMENT_VECTOR_H_
#define QUILLHAVEN_SYSTEM_ARGUMENT_VECTOR_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::system {

// Returns the arguments in `buffer`, "argv[0]" first; nothing when it holds
// fewer than it announces, or is shorter than 4 bytes. It consists of
//   - the number of arguments, 32 bits in the machine's byte order;
//   - the path of the executable, its NUL, and any number of NULs more;
//   - the arguments, each with its NUL. One without a NUL at the end of the
//     buffer does not count. What follows the last one is not read.
// An empty first argument is taken for one of the NULs before it; deliberate.
// Bytes that are no UTF-8 become U+FFFD. A negative number is a fatal error.
[[nodiscard]] std::optional<std::vector<std::string>> parseArgumentVector(
    std::string_view buffer);

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_ARGUMENT_VECTOR_H_
