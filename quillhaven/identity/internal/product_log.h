// The log that this folder writes to.
#ifndef QUILLHAVEN_IDENTITY_INTERNAL_PRODUCT_LOG_H_
#define QUILLHAVEN_IDENTITY_INTERNAL_PRODUCT_LOG_H_

#include "quillhaven/platform/base/log.h"

namespace quillhaven::identity::internal {

// Its subsystem is the identifier of the current bundle, or the application's
// where that has none. Thread-safe.
const platform::Logger& productLog();

}  // namespace quillhaven::identity::internal

#endif  // QUILLHAVEN_IDENTITY_INTERNAL_PRODUCT_LOG_H_
