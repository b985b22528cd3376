#include "cli/whole_input.h"

#include <unistd.h>

#include <limits>

#include "cli/command.h"
#include "cli/command_line.h"
#include "cli/output.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::cli {

void addFileArgument(Command& command, std::string& file,
                     const std::string& purpose) {
  command.argument("FILE", file, purpose + "; - or nothing is standard input");
  command.takesPaths();
}

Input inputNamed(const std::string& file) {
  const bool isStandardInput = file == kStandardInputPath;
  return {isStandardInput ? Input::Kind::kStandardInput : Input::Kind::kFile,
          file,
          {}};
}

bool readWhole(WholeReader& reader, const Input& input) {
  auto failure = reader.open(input);
  if (!failure) failure = reader.read(std::numeric_limits<std::size_t>::max());
  if (!failure) return true;
  writeDiagnostics(diagnostic(displayName(input), *failure));
  return false;
}

bool readWholeText(WholeReader& reader, const Input& input) {
  if (!readWhole(reader, input)) return false;
  if (platform::isValidUTF8(reader.bytes())) return true;
  writeDiagnostics(diagnostic(displayName(input), "not valid UTF-8"));
  return false;
}

int writeWhole(std::string result) {
  Output output(STDOUT_FILENO);
  if (output.isTerminal() && !result.ends_with('\n')) result.push_back('\n');
  output.append(result);
  return finish(output, kDone);
}

}  // namespace quillhaven::cli
