#include "quillhaven/platform/base/fatal_error.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace quillhaven::platform {
namespace {

FatalErrorHandler& installedHandler() {
  static FatalErrorHandler handler;
  return handler;
}

}  // namespace

void setFatalErrorHandler(FatalErrorHandler handler) {
  installedHandler() = std::move(handler);
}

void fatalError(std::string_view rule) {
  if (installedHandler()) installedHandler()(rule);
  std::fprintf(stderr, "Fatal error: %.*s\n", static_cast<int>(rule.size()),
               rule.data());
  std::abort();
}

}  // namespace quillhaven::platform
