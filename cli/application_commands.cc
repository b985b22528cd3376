#include "cli/application_commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "cli/command.h"
#include "cli/output.h"
#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/run_loop/run_loop.h"
#include "quillhaven/system/applications.h"

namespace quillhaven::cli {
namespace {

using platform::RunLoop;
using system::LaunchResult;
using system::TerminationResult;
using system::Workspace;

// As long as people are used to wait for a program to save its work, and then
// for the system to take it away.
constexpr double kGracefulTimeout = 10;
constexpr double kKillTimeout = 5;

// Whoever said that the application is ready waits for us to have read it.
constexpr std::chrono::milliseconds kFarewell{50};

struct QuitOptions {
  std::string identifier;
  bool isPreservingState = false;
  std::optional<std::string> graceful;
  std::optional<std::string> kill;
};

std::optional<double> secondsFrom(const std::string& text) {
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, seconds);
  if (read.ec != std::errc() || read.ptr != end || !std::isfinite(seconds) ||
      seconds < 0) {
    return std::nullopt;
  }
  return seconds;
}

std::string faultOfSeconds(const std::string& text) {
  return secondsFrom(text) ? "" : "\"" + text + "\" is no number of seconds";
}

// A path, or the identifier of an application that is installed.
std::optional<std::string> urlOf(Workspace& workspace,
                                 const std::string& application) {
  struct stat status {};
  if (application.find('/') == std::string::npos &&
      ::stat(application.c_str(), &status) != 0) {
    return workspace.URLForApplicationWithBundleIdentifier(application);
  }
  return platform::fileURLFromPath(application);
}

int openApplication(const std::string& application) {
  Workspace& workspace = Workspace::sharedWorkspace();
  const auto url = urlOf(workspace, application);
  if (!url) {
    writeDiagnostics(diagnostic(application, "no such application"));
    return kFailed;
  }
  std::optional<LaunchResult> result;
  try {
    const auto launched = system::launchApplication(
        workspace, *url, system::WorkspaceLaunchOptions::kDefault, {},
        [&result](const LaunchResult& outcome) { result = outcome; });
    RunLoop::main().runUntil([&result] { return result.has_value(); });
    if (!result->isSuccess()) {
      writeDiagnostics(diagnostic(
          application, "it has ended before it had finished launching"));
      return kFailed;
    }
    (void)RunLoop::main().runUntil([] { return false; }, kFarewell);
    Output output(STDOUT_FILENO);
    output.append(std::to_string(launched->processIdentifier()) + "\n");
    return finish(output, kDone);
  } catch (const platform::ApplicationLaunchError& error) {
    writeDiagnostics(diagnostic(application, error.code().message()));
    return kFailed;
  }
}

int quitApplications(const QuitOptions& options) {
  std::optional<TerminationResult> result;
  system::terminateApplications(
      Workspace::sharedWorkspace(), options.identifier,
      options.isPreservingState,
      options.graceful ? *secondsFrom(*options.graceful) : kGracefulTimeout,
      options.kill ? *secondsFrom(*options.kill) : kKillTimeout,
      [&result](const TerminationResult& outcome) {
        if (!result) result = outcome;
      });
  RunLoop::main().runUntil([&result] { return result.has_value(); });
  if (result->isSuccess()) return kDone;
  writeDiagnostics(
      diagnostic(options.identifier, "it has not ended, not even by force"));
  return kFailed;
}

int waitForProcess(std::int32_t pid) {
  bool hasEnded = false;
  const auto observer = system::KEventTerminationObserver::observe(
      pid, [&hasEnded](const auto&) { hasEnded = true; });
  if (!observer) {
    writeDiagnostics(
        diagnostic("PID " + std::to_string(pid), "no such process"));
    return kFailed;
  }
  RunLoop::main().runUntil([&hasEnded] { return hasEnded; });
  return kDone;
}

}  // namespace

void addOpenCommand(CommandLine& line) {
  Command command = line.addCommand(
      "open", "Open an application and wait until it has finished launching.");
  const auto application = std::make_shared<std::string>();
  command
      .argument("APP", *application,
                "an app bundle, a desktop entry, or the identifier of one that "
                "is installed")
      .required();
  command.footer(
      "Shows the number of its process. One that runs already is brought to "
      "the "
      "front.\nAn application is ready when it says so (sd_notify), opens its "
      "first window or takes\nits name on the session bus; one that does none "
      "of this, after ten seconds, or after\nhalf a second where there is "
      "neither a display nor a bus.\n\n"
      "Examples:\n"
      "  quillhaven open /Applications/Mail.app\n"
      "  quillhaven open org.example.Mail\n"
      "  quillhaven wait \"$(quillhaven open ./Mail.app)\"\n\n"
      "Exit status: 0 done, 1 it cannot be started or has ended before it was "
      "ready,\n2 wrong usage.");
  command.takesPaths();
  command.does([application] { return openApplication(*application); });
}

void addQuitCommand(CommandLine& line) {
  Command command = line.addCommand(
      "quit",
      "Quit all applications of an identifier and wait for their ends.");
  const auto options = std::make_shared<QuitOptions>();
  command
      .argument("BUNDLE-ID", options->identifier,
                "identifier of the bundle or name of the desktop entry")
      .required();
  command.flag("--preserving-state", options->isPreservingState,
               "let them keep their windows for the next start");
  command
      .option("--graceful", "S", options->graceful,
              "seconds until they are ended by force (default 10)")
      .refuses(faultOfSeconds);
  command
      .option("--kill", "S", options->kill,
              "seconds that are waited for after that (default 5)")
      .refuses(faultOfSeconds);
  command.footer(
      "Where an application cannot be asked to keep its state, a line says "
      "why, "
      "and it is\nasked to quit all the same.\n\n"
      "Examples:\n"
      "  quillhaven quit org.example.Mail\n"
      "  quillhaven quit --preserving-state --graceful 2.5 org.example.Mail\n\n"
      "Exit status: 0 done, also without any such application, 1 not all have "
      "ended,\n2 wrong usage.");
  command.does([options] { return quitApplications(*options); });
}

void addWaitCommand(CommandLine& line) {
  Command command = line.addCommand(
      "wait", "Wait until a process has ended, whoever started it.");
  const auto pid = std::make_shared<std::int32_t>(0);
  command.argument("PID", *pid, "number of the process").required();
  command.footer(
      "Example:\n"
      "  quillhaven wait 4711 && echo it has ended\n\n"
      "Exit status: 0 it has ended, 1 there is no such process, 2 wrong "
      "usage.");
  command.does([pid] { return waitForProcess(*pid); },
               [pid] {
                 if (*pid < 1) {
                   throw UsageError("a process has a number above 0");
                 }
               });
}

}  // namespace quillhaven::cli
