// The one way in which the library stops the process: a broken rule of use.
#ifndef QUILLHAVEN_PLATFORM_BASE_FATAL_ERROR_H_
#define QUILLHAVEN_PLATFORM_BASE_FATAL_ERROR_H_

#include <functional>
#include <string_view>

namespace quillhaven::platform {

// Called with the broken rule before the process would stop. It may throw, and
// the exception then leaves fatalError() instead.
using FatalErrorHandler = std::function<void(std::string_view rule)>;

// Installs `handler` for all threads; an empty one brings back the default. To
// be called before other threads use the library.
void setFatalErrorHandler(FatalErrorHandler handler);

// Says on standard error which rule was broken and aborts, unless the installed
// handler throws.
[[noreturn]] void fatalError(std::string_view rule);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_FATAL_ERROR_H_
