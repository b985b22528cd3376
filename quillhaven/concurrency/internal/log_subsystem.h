// Where the library's logger has its subsystem from.
#ifndef QUILLHAVEN_CONCURRENCY_INTERNAL_LOG_SUBSYSTEM_H_
#define QUILLHAVEN_CONCURRENCY_INTERNAL_LOG_SUBSYSTEM_H_

#include <optional>
#include <string>

#include "quillhaven/platform/base/log.h"

namespace quillhaven::concurrency::internal {

// Returns the logger of a component whose bundle has this identifier.
[[nodiscard]] platform::Logger logOfBundle(
    const std::optional<std::string>& identifier);

}  // namespace quillhaven::concurrency::internal

#endif  // QUILLHAVEN_CONCURRENCY_INTERNAL_LOG_SUBSYSTEM_H_
