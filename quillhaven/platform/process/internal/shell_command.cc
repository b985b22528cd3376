#include "quillhaven/platform/process/internal/shell_command.h"

#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/internal/pipe_signal_guard.h"
#include "quillhaven/platform/process/collected_run.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::platform::internal {
namespace {

constexpr const char* kShell = "/bin/sh";

// Says in its second argument's words that the elevated shell runs, and then
// runs the third as a command of its own.
constexpr const char* kMarkedCommand =
    "printf '%s\\n' \"$1\" >&2; exec /bin/sh -c \"$2\"";

// How an elevation program says that the user declined.
constexpr int kDeclinedStatus = 126;

std::string textWithoutLastLineBreak(std::string_view bytes) {
  if (bytes.ends_with('\n')) {
    bytes.remove_suffix(bytes.ends_with("\r\n") ? 2 : 1);
  }
  return repairedUTF8(bytes);
}

ScriptOutcome failure(std::int64_t number, const std::string& message) {
  ScriptErrorDictionary error;
  error.emplace(kScriptErrorNumberKey, number);
  error.emplace(kScriptErrorMessageKey, message);
  error.emplace(kScriptErrorBriefMessageKey, message);
  return {std::nullopt, std::move(error)};
}

// The failure of a command whose own words, if any, are `message`.
ScriptOutcome failureOf(const ExitStatus& status, std::string message) {
  const auto orElse = [&message](std::string words) {
    return message.empty() ? std::move(words) : std::move(message);
  };
  switch (status.reason) {
    case ExitStatus::Reason::kExited:
      return failure(status.value,
                     orElse("The command exited with a non-zero status."));
    case ExitStatus::Reason::kSignaled:
      return failure(128 + status.value,
                     orElse("The command was ended by signal " +
                            std::to_string(status.value) + "."));
    case ExitStatus::Reason::kUnknown:
      break;
  }
  return failure(kScriptErrorGeneral,
                 orElse("How the command ended is not known."));
}

ScriptOutcome outcomeOf(const ExitStatus& status, std::string_view output,
                        std::string_view error) {
  if (!status.isSuccess()) {
    return failureOf(status, textWithoutLastLineBreak(error));
  }
  return {AppleEventDescriptor(textWithoutLastLineBreak(output)), std::nullopt};
}

// A line that no other program writes: neither by chance nor to deceive.
std::string newStartMark() {
  unsigned char random[16];
  if (::getrandom(random, sizeof random, 0) != sizeof random) {
    throw std::system_error(errno, std::system_category(), "getrandom");
  }
  std::string mark = "quillhaven-started-";
  for (const unsigned char byte : random) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    mark.push_back(kDigits[byte >> 4]);
    mark.push_back(kDigits[byte & 15]);
  }
  return mark;
}

// Writes to standard error. A reader that has gone away must not end the host.
void writeLineToStandardError(std::string_view text) {
  const PipeSignalGuard guard;
  const std::string line = std::string(text).append("\n");
  // Who reads no more misses the line.
  if (::write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

bool isSudo(std::string_view program) {
  return program == "sudo" || program.ends_with("/sudo");
}

// What sudo is told to show; it fills in what follows a percent sign.
std::string sudoPrompt(std::string_view prompt) {
  std::string text;
  for (const char c : prompt) text.append(c == '%' ? 2 : 1, c);
  return text.append(" ");
}

std::vector<std::string> elevatedArguments(
    const Elevation& elevation, const std::optional<std::string>& prompt,
    const std::string& mark, const std::string& command) {
  std::vector<std::string> arguments;
  if (isSudo(elevation.program)) {
    if (prompt) arguments = {"-p", sudoPrompt(*prompt)};
    arguments.emplace_back("--");
  }
  for (const std::string& argument :
       {std::string(kShell), std::string("-c"), std::string(kMarkedCommand),
        std::string("sh"), mark, command}) {
    arguments.push_back(argument);
  }
  return arguments;
}

void showPrompt(const Elevation& elevation,
                const std::optional<std::string>& prompt) {
  if (!prompt || isSudo(elevation.program)) return;
  if (elevation.showPrompt) {
    elevation.showPrompt(*prompt);
  } else {
    writeLineToStandardError(*prompt);
  }
}

ScriptOutcome runElevated(const std::string& command,
                          const std::optional<std::string>& prompt,
                          const Elevation& elevation) {
  const std::string mark = newStartMark();
  const CollectedRun run = runCollecting(
      {.executable = elevation.program,
       .arguments = elevatedArguments(elevation, prompt, mark, command),
       .standardInput = ChildStream::null()});

  const std::string_view error = run.standardError.bytes();
  const std::size_t start = error.find(mark + "\n");
  if (start != std::string_view::npos) {
    // What stands before it are warnings of the elevation program.
    return outcomeOf(run.status, run.standardOutput.bytes(),
                     error.substr(start + mark.size() + 1));
  }
  std::string message = textWithoutLastLineBreak(error);
  const bool hasDeclined = run.status.reason == ExitStatus::Reason::kExited &&
                           run.status.value == kDeclinedStatus;
  if (hasDeclined) return failure(kScriptUserCanceled, "User canceled.");
  if (message.empty()) message = "Administrator rights could not be obtained.";
  return failure(kScriptNotAuthorized, message);
}

}  // namespace

ScriptOutcome runShellCommand(const std::string& command) {
  try {
    const CollectedRun run =
        runCollecting({.executable = kShell,
                       .arguments = {"-c", command},
                       .standardInput = ChildStream::null()});
    return outcomeOf(run.status, run.standardOutput.bytes(),
                     run.standardError.bytes());
  } catch (const std::system_error& error) {
    return failure(kScriptErrorGeneral, error.what());
  }
}

ScriptOutcome runShellCommandElevated(const std::string& command,
                                      const std::optional<std::string>& prompt,
                                      const Elevation& elevation) {
  showPrompt(elevation, prompt);
  try {
    return runElevated(command, prompt, elevation);
  } catch (const std::system_error& error) {
    const bool isElevationMissing = error.code().value() != E2BIG;
    return failure(
        isElevationMissing ? kScriptNotAuthorized : kScriptErrorGeneral,
        error.what());
  }
}

}  // namespace quillhaven::platform::internal
