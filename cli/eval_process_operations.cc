// The operations of `quillhaven eval` on what the kernel says about processes.
#include "cli/eval_operation.h"
#include "quillhaven/system/argument_vector.h"
#include "quillhaven/system/tcp_sockets.h"

namespace quillhaven::cli {
namespace {

void parseVector(const Arguments& arguments, JsonWriter& result) {
  const auto vector =
      system::parseArgumentVector(arguments.base64("dataBase64"));
  if (!vector) {
    result.null();
    return;
  }
  result.beginArray();
  for (const std::string& argument : *vector) result.value(argument);
  result.endArray();
}

void describeState(const Arguments& arguments, JsonWriter& result) {
  system::TCPSocketInfo info;
  info.state = arguments.int32("state");
  result.value(info.stateDescription());
}

constexpr EvalOperation kOperations[] = {
    {"parseArgumentVector", parseVector},
    {"stateDescription", describeState},
};

}  // namespace

std::span<const EvalOperation> processOperations() { return kOperations; }

}  // namespace quillhaven::cli
