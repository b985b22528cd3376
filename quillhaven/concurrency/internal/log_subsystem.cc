#include "quillhaven/concurrency/internal/log_subsystem.h"

namespace quillhaven::concurrency::internal {

// The library has no bundles yet: no component has an identifier.
std::optional<std::string> currentBundleIdentifier() { return std::nullopt; }

}  // namespace quillhaven::concurrency::internal
