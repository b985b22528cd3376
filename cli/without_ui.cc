// What stands for the commands and operations of the user interface in a build
// without it: none.
#include "cli/eval_operation.h"
#include "cli/gallery_command.h"

namespace quillhaven::cli {

void addGalleryCommand(CommandLine& /*line*/) {}

std::span<const EvalOperation> uiOperations() { return {}; }

}  // namespace quillhaven::cli
