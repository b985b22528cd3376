#include "cli/command.h"

#include <string_view>

#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::cli {

void throwFatalErrors() {
  platform::setFatalErrorHandler(
      [](std::string_view rule) { throw FatalError(std::string(rule)); });
}

}  // namespace quillhaven::cli
