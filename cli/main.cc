// The quillhaven command: reads the command line and runs what it names.
#include <clocale>
#include <csignal>
#include <exception>
#include <string>

#include "cli/application_commands.h"
#include "cli/command.h"
#include "cli/command_line.h"
#include "cli/digest_command.h"
#include "cli/eval_command.h"
#include "cli/file_commands.h"
#include "cli/gallery_command.h"
#include "cli/html_commands.h"
#include "cli/identity_commands.h"
#include "cli/keychain_command.h"
#include "cli/output.h"
#include "cli/parse_command.h"
#include "cli/process_commands.h"
#include "cli/task_commands.h"
#include "cli/track_command.h"

namespace quillhaven::cli {
namespace {

// Adding a command takes one line here.
// clang-format off
constexpr void (*kCommands[])(CommandLine&) = {
    addParseCommand,
    addHTMLToTextCommand,
    addTextToHTMLCommand,
    addTrackCommand,
    addDigestCommand,
    addKeychainCommand,
    addBundleCommand,
    addPageCommand,
    addDefaultsCommand,
    addSocketsCommand,
    addParentCommand,
    addArgumentsCommand,
    addPIDsCommand,
    addRunCommand,
    addShellCommand,
    addNextPathCommand,
    addLoginItemCommand,
    addOpenCommand,
    addQuitCommand,
    addWaitCommand,
    addGalleryCommand,
    addEvalCommand,
};
// clang-format on

int run(int argc, char** argv) {
  CommandLine line(
      "quillhaven", QUILLHAVEN_VERSION,
      "Reads stored e-mail messages, converts mail texts, finds and marks "
      "links, keeps\npasswords, and inspects and runs programs.",
      std::string("Results go to standard output, diagnostics to standard "
                  "error; - as a file is standard\ninput. \"quillhaven COMMAND "
                  "--help\" explains a command.\n\n"
                  "Examples:\n"
                  "  quillhaven parse message.eml\n"
                  "  quillhaven html-to-text page.html\n\n") +
          kExitStatusHelp);
  for (const auto& add : kCommands) add(line);
  return line.run(argc, argv);
}

}  // namespace
}  // namespace quillhaven::cli

int main(int argc, char** argv) {
  // A reader that goes away is a failed write, not a signal.
  std::signal(SIGPIPE, SIG_IGN);
  // The library's texts in the user's language; diagnostics stay in English.
  std::setlocale(LC_MESSAGES, "");
  try {
    return quillhaven::cli::run(argc, argv);
  } catch (const std::exception& error) {
    quillhaven::cli::writeDiagnostics(
        quillhaven::cli::diagnostic(error.what()));
    return quillhaven::cli::kFailed;
  }
}
