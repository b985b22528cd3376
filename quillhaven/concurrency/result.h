// The outcome of work that may fail, under the name that operations know.
#ifndef QUILLHAVEN_CONCURRENCY_RESULT_H_
#define QUILLHAVEN_CONCURRENCY_RESULT_H_

#include "quillhaven/platform/base/result.h"

namespace quillhaven::concurrency {

using platform::Result;

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_RESULT_H_
