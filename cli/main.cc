// The quillhaven command: reads the command line and runs what it names.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <csignal>
#include <exception>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/digest_command.h"
#include "cli/eval_command.h"
#include "cli/html_commands.h"
#include "cli/identity_commands.h"
#include "cli/input_sources.h"
#include "cli/keychain_command.h"
#include "cli/output.h"
#include "cli/parse_command.h"
#include "cli/process_commands.h"
#include "cli/task_commands.h"
#include "cli/track_command.h"
#include "cli/verbatim_arguments.h"

namespace quillhaven::cli {
namespace {

// Adding a command takes one line here.
// clang-format off
constexpr AddCommand kCommands[] = {
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
    addEvalCommand,
};
// clang-format on

int showHelp(const std::string& text) {
  Output output(STDOUT_FILENO);
  output.append(text);
  return finish(output, kDone);
}

// The name of the command that the line got to, for a hint.
std::string commandNamed(const CLI::App& app) {
  std::string name = app.get_name();
  for (const CLI::App* command : app.get_subcommands()) {
    name.append(" ").append(command->get_name());
  }
  return name;
}

int reportWrongUsage(const CLI::App& app, const CLI::ParseError& error) {
  std::string reason = error.what();
  if (app.get_subcommands().empty() && !app.remaining().empty()) {
    reason = "unknown command or option \"" + app.remaining().front() + "\"";
  }
  writeDiagnostics(diagnostic(reason) + "Try \"" + commandNamed(app) +
                   " --help\".\n");
  return kWrongUsage;
}

// Commands whose arguments that are no options are paths; their paths survive
// CLI11, see withFolder().
// clang-format off
constexpr std::string_view kPathCommands[] = {
    "parse",
    "html-to-text",
    "text-to-html",
    "track",
    "digest",
    "bundle",
};
// clang-format on

bool takesPaths(std::string_view command) {
  return std::find(std::begin(kPathCommands), std::end(kPathCommands),
                   command) != std::end(kPathCommands);
}

// Returns `path` with its folder where CLI11 would not read it as a path: it
// takes "[a]" for a list written out, and hands what stands after "--" to the
// parent command.
std::string withFolder(const std::string& path, bool isAfterMark) {
  const bool isBracketed = path.starts_with('[') && path.ends_with(']');
  const bool isLikeOption =
      isAfterMark && path.starts_with('-') && path != kStandardInputPath;
  return isBracketed || isLikeOption ? "./" + path : path;
}

// Returns the arguments from the last to the first, as CLI11 reads them.
std::vector<std::string> argumentsFrom(int argc, char** argv) {
  std::vector<std::string> arguments;
  bool isAfterMark = false;
  const bool hasPaths = takesPaths(argv[1]);
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (hasPaths && !isAfterMark && argument == "--") {
      isAfterMark = true;
    } else {
      arguments.push_back(hasPaths ? withFolder(argument, isAfterMark)
                                   : argument);
    }
  }
  arguments = markVerbatimArguments(std::move(arguments));
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

int run(int argc, char** argv) {
  CLI::App app(
      "Reads stored e-mail messages, converts mail texts, finds and marks "
      "links, keeps\npasswords, and inspects and runs programs.",
      "quillhaven");
  app.set_version_flag("--version", "quillhaven " QUILLHAVEN_VERSION);
  app.require_subcommand(1);
  app.footer(
      std::string("Results go to standard output, diagnostics to standard "
                  "error; - as a file is standard\ninput. \"quillhaven COMMAND "
                  "--help\" explains a command.\n\n"
                  "Examples:\n"
                  "  quillhaven parse message.eml\n"
                  "  quillhaven html-to-text page.html\n\n") +
      kExitStatusHelp);
  Work work;
  for (const AddCommand add : kCommands) add(app, work);
  if (argc <= 1) {
    writeDiagnostics(app.help());
    return kWrongUsage;
  }
  try {
    app.parse(argumentsFrom(argc, argv));
  } catch (const CLI::CallForHelp&) {
    return showHelp(app.help());  // of the command named, if any
  } catch (const CLI::CallForVersion& version) {
    return showHelp(std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& error) {
    return reportWrongUsage(app, error);
  }
  return work();
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
