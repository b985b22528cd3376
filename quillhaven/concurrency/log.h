// The library's own logger.
#ifndef QUILLHAVEN_CONCURRENCY_LOG_H_
#define QUILLHAVEN_CONCURRENCY_LOG_H_

#include "quillhaven/platform/base/log.h"

namespace quillhaven::concurrency {

// Returns the logger of the running component: its subsystem is the identifier
// of the current bundle, or "com.quillhaven.app" when that has none, its
// category the product's emblem and "General". Made on first use, the same from
// then on. Thread-safe.
[[nodiscard]] const platform::Logger& Log();

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_LOG_H_
