// The owner of a file descriptor, under the name that the program knows it by.
#ifndef QUILLHAVEN_CLI_UNIQUE_FD_H_
#define QUILLHAVEN_CLI_UNIQUE_FD_H_

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::cli {

using platform::UniqueFd;

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_UNIQUE_FD_H_
