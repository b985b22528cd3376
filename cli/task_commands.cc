#include "cli/task_commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/output.h"
#include "cli/verbatim_arguments.h"
#include "quillhaven/system/apple_script.h"
#include "quillhaven/system/task.h"

namespace quillhaven::cli {
namespace {

using system::AppleScript;
using system::AppleScriptError;
using system::BlockingMode;
using system::Pipe;
using system::Task;
using system::TaskOutput;
using system::TerminationReason;

// What a shell adds to the number of the signal that ended a program.
constexpr int kSignalStatus = 128;

struct RunOptions {
  std::string blockingMode = "run-loop";
  std::vector<std::string> command;  // marked
};

struct ShellOptions {
  bool isAdministrator = false;
  std::optional<std::string> prompt;
  std::optional<std::string> elevationProgram;
  std::vector<std::string> command;  // marked
};

bool isExecutableFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

// Returns the path of a program: `name` if it has a folder, else where PATH
// has it, and `name` again if it is nowhere.
std::string pathOfProgram(const std::string& name) {
  const char* const variable = std::getenv("PATH");
  if (name.empty() || name.find('/') != std::string::npos || !variable) {
    return name;
  }
  std::string_view rest = variable;
  while (true) {
    const std::size_t size = rest.find(':');
    std::string path(rest.substr(0, size));
    if (path.empty()) path = ".";
    path.append("/").append(name);
    if (isExecutableFile(path)) return path;
    if (size == std::string_view::npos) return name;
    rest.remove_prefix(size + 1);
  }
}

// Passes what a task wrote on to our stream of the same kind.
int passOn(const std::optional<system::Data>& data, int fd, int status) {
  if (!data) return status;
  Output output(fd);
  output.append(data->bytes());
  return finish(output, status);
}

int exitStatusOf(const Task& task) {
  switch (task.terminationReason().value_or(TerminationReason::unknown)) {
    case TerminationReason::exit:
      return *task.terminationStatus();
    case TerminationReason::uncaughtSignal:
      return kSignalStatus + *task.terminationStatus();
    case TerminationReason::unknown:
      break;
  }
  writeDiagnostics(diagnostic("how the command ended is not known"));
  return kFailed;
}

int runCommand(const RunOptions& options) {
  std::vector<std::string> words = unmarkedArguments(options.command);
  if (words.empty()) {
    writeDiagnostics(diagnostic("name a COMMAND to run") +
                     "Try \"quillhaven run --help\".\n");
    return kWrongUsage;
  }
  Task task({.executable = pathOfProgram(words.front()),
             .arguments = {words.begin() + 1, words.end()},
             .standardOutput = Pipe::pipe(),
             .standardError = Pipe::pipe()});
  TaskOutput output;
  try {
    output = task.runAndWait(options.blockingMode == "run-loop"
                                 ? BlockingMode::runLoop
                                 : BlockingMode::dispatchGroup);
  } catch (const system::TaskLaunchError& error) {
    writeDiagnostics(diagnostic(words.front(), error.code().message()));
    return kFailed;
  }
  const int status = exitStatusOf(task);
  return passOn(output.standardError, STDERR_FILENO,
                passOn(output.standardOutput, STDOUT_FILENO, status));
}

AppleScript::Privileges privilegesFrom(const ShellOptions& options) {
  return options.isAdministrator
             ? AppleScript::Privileges::administrator(options.prompt)
             : AppleScript::Privileges::user();
}

int reportScriptError(const AppleScriptError& error) {
  std::string reason = error.recoverySuggestion().value_or("");
  const auto* const execution =
      std::get_if<AppleScriptError::ExecutionError>(&error.errorCase());
  if (execution != nullptr) {
    const auto number =
        execution->errorDictionary.find(platform::kScriptErrorNumberKey);
    if (number != execution->errorDictionary.end()) {
      reason +=
          " (" + std::to_string(std::get<std::int64_t>(number->second)) + ")";
    }
  }
  writeDiagnostics(reason.empty()
                       ? diagnostic(error.localizedDescription())
                       : diagnostic(error.localizedDescription(), reason));
  return kFailed;
}

int runShell(const ShellOptions& options) {
  const std::vector<std::string> words = unmarkedArguments(options.command);
  if (words.size() != 1) {
    writeDiagnostics(diagnostic(words.empty()
                                    ? "name a COMMAND to run"
                                    : "COMMAND is one argument; quote it") +
                     "Try \"quillhaven shell --help\".\n");
    return kWrongUsage;
  }
  if (options.prompt && !options.isAdministrator) {
    writeDiagnostics(diagnostic("--prompt needs --administrator") +
                     "Try \"quillhaven shell --help\".\n");
    return kWrongUsage;
  }
  system::Elevation elevation;
  if (options.elevationProgram) elevation.program = *options.elevationProgram;
  std::string result;
  try {
    result = AppleScript::executeShellScript(words.front(),
                                             privilegesFrom(options), elevation)
                 .stringValue();
  } catch (const AppleScriptError& error) {
    return reportScriptError(error);
  }
  if (!result.empty()) result.push_back('\n');
  Output output(STDOUT_FILENO);
  output.append(result);
  return finish(output, kDone);
}

}  // namespace

void addRunCommand(CommandLine& line) {
  Command command = line.addCommand(
      "run",
      "Run a program, collect what it writes and pass it on when it has "
      "ended.");
  const auto options = std::make_shared<RunOptions>();
  command
      .option("--blocking-mode", "MODE", options->blockingMode,
              "how to wait: run-loop (the default) turns the main loop, "
              "dispatch-group\nsleeps while another thread does")
      .oneOf({"run-loop", "dispatch-group"});
  command.argument("COMMAND", options->command,
                   "the program, looked up in PATH, and its arguments");
  command.footer(
      "Both output streams reach ours whole and each in one piece, first "
      "standard output,\nthen standard error. A program that leaves a "
      "child with its streams is waited for\nuntil that closes them.\n\n"
      "Examples:\n"
      "  quillhaven run -- df -h\n"
      "  quillhaven run --blocking-mode dispatch-group -- sh -c 'exit 3'\n\n"
      "Exit status: that of the program, 128 more than the number of the "
      "signal that\nended it, 1 it cannot be started, 2 wrong usage.");
  command.does([options] { return runCommand(*options); });
}

void addShellCommand(CommandLine& line) {
  Command command = line.addCommand(
      "shell",
      "Run a shell command as a script, with administrator rights if asked.");
  const auto options = std::make_shared<ShellOptions>();
  command.flag("--administrator", options->isAdministrator,
               "run it as an administrator; the system asks the user");
  command.option("--prompt", "TEXT", options->prompt,
                 "what to tell the user first; needs --administrator");
  command.option("--elevation-program", "PATH", options->elevationProgram,
                 "what asks and runs with those rights; default: "
                 "/usr/bin/pkexec");
  command.argument("COMMAND", options->command, "the command, in one argument");
  command.footer(
      "Prints what the command wrote to standard output. The shell splits "
      "the command into\nwords before it evaluates them, so line breaks and "
      "runs of blanks in it are single\nblanks: separate commands with "
      "semicolons.\n\n"
      "Examples:\n"
      "  quillhaven shell 'cd /var/log && du -sh .'\n"
      "  quillhaven shell --administrator --prompt 'Restart the relay' \\\n"
      "      'systemctl restart mail-relay'\n\n"
      "Exit status: 0 done, 1 the command failed (the number behind its "
      "message is its own\nstatus) or the user declined, 2 wrong usage.");
  command.does([options] { return runShell(*options); });
}

}  // namespace quillhaven::cli
