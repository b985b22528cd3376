// Lines that the library prints for whoever runs the host.
#ifndef QUILLHAVEN_SYSTEM_INTERNAL_STANDARD_OUTPUT_H_
#define QUILLHAVEN_SYSTEM_INTERNAL_STANDARD_OUTPUT_H_

#include <string_view>

namespace quillhaven::system::internal {

// Prints `text` and a line feed to standard output, in order with what the host
// prints there. That nobody reads there harms nobody. Thread-safe.
void printLine(std::string_view text);

}  // namespace quillhaven::system::internal

#endif  // QUILLHAVEN_SYSTEM_INTERNAL_STANDARD_OUTPUT_H_
