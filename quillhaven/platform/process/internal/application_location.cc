#include "quillhaven/platform/process/internal/application_location.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <system_error>
#include <utility>

#include "quillhaven/platform/files/bundle.h"
#include "quillhaven/platform/files/folders.h"
#include "quillhaven/platform/process/internal/desktop_command.h"
#include "quillhaven/platform/process/internal/proc_files.h"
#include "quillhaven/platform/process/workspace.h"

namespace quillhaven::platform::internal {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kExecutableKey = "CFBundleExecutable";
constexpr std::string_view kExecutableFolder = "/Contents/MacOS/";
constexpr std::string_view kDesktopSuffix = ".desktop";

[[noreturn]] void fail(const std::string& path, int error) {
  throw ApplicationLaunchError(path,
                               std::error_code(error, std::system_category()));
}

std::string_view withoutSuffix(std::string_view name, std::string_view suffix) {
  if (name.ends_with(suffix)) name.remove_suffix(suffix.size());
  return name;
}

std::string_view lastComponent(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

// The number of an entry is the process that was started for it; those started
// by that one have it in their environment, too.
constexpr std::string_view kEntryVariable = "GIO_LAUNCHED_DESKTOP_FILE";
constexpr std::string_view kEntryProcessVariable =
    "GIO_LAUNCHED_DESKTOP_FILE_PID";

// Only the process itself knows its number, and exec keeps that.
constexpr const char* kStartWithOwnNumber =
    "export GIO_LAUNCHED_DESKTOP_FILE_PID=$$; exec \"$@\"";

LaunchPlan planForBundle(const std::string& path) {
  const Bundle bundle(path);
  const auto information = bundle.readInfoDictionary();
  const auto text = [&](std::string_view key) -> std::optional<std::string> {
    if (!information) return std::nullopt;
    const auto found = information->find(key);
    if (found == information->end() || !found->second.string()) {
      return std::nullopt;
    }
    return std::string(*found->second.string());
  };
  const std::string executable =
      text(kExecutableKey)
          .value_or(std::string(withoutSuffix(lastComponent(path), ".app")));
  // A file of the folder, and no other.
  if (executable.empty() || executable.find('/') != std::string::npos ||
      executable == "." || executable == "..") {
    fail(path, ENOEXEC);
  }
  LaunchPlan plan;
  plan.location = {bundle.bundlePath(), text(kBundleIdentifierKey)};
  plan.executable =
      bundle.bundlePath() + std::string(kExecutableFolder) + executable;
  const bool isThere = ::access(plan.executable.c_str(), F_OK) == 0;
  if (!information && !isThere) fail(path, ENOEXEC);  // any other folder
  if (!isThere) fail(path, errno);
  return plan;
}

LaunchPlan planForDesktopEntry(const std::string& path) {
  const auto entry = readDesktopCommand(path);
  if (!entry) fail(path, ENOEXEC);
  LaunchPlan plan;
  plan.location = {
      path, std::string(withoutSuffix(lastComponent(path), kDesktopSuffix))};
  plan.executable = "/bin/sh";
  plan.arguments = {"-e", "-u", "-c", kStartWithOwnNumber, "sh"};
  plan.arguments.insert(plan.arguments.end(), entry->command.begin(),
                        entry->command.end());
  plan.currentDirectory = entry->currentDirectory;
  plan.environment.emplace(kEntryVariable, path);
  return plan;
}

// The value of a variable in a block of "NAME=VALUE" strings, each with a NUL.
std::optional<std::string_view> valueIn(std::string_view block,
                                        std::string_view name) {
  while (!block.empty()) {
    const std::size_t end = std::min(block.find('\0'), block.size());
    const std::string_view line = block.substr(0, end);
    if (line.size() > name.size() && line.starts_with(name) &&
        line[name.size()] == '=') {
      return line.substr(name.size() + 1);
    }
    block.remove_prefix(std::min(end + 1, block.size()));
  }
  return std::nullopt;
}

std::string_view takeArgument(std::string_view& arguments) {
  const std::size_t end = std::min(arguments.find('\0'), arguments.size());
  const std::string_view argument = arguments.substr(0, end);
  arguments.remove_prefix(std::min(end + 1, arguments.size()));
  return argument;
}

bool isProgramOfBundle(std::string_view path) {
  return path.starts_with('/') &&
         path.find(kExecutableFolder) != std::string_view::npos;
}

}  // namespace

std::string comparablePath(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::canonical(path, error);
  return error ? path : resolved.string();
}

LaunchPlan launchPlanFor(const std::string& path,
                         const std::vector<std::string>& arguments) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) fail(path, errno);
  const bool isEntry =
      S_ISREG(status.st_mode) && path.ends_with(kDesktopSuffix);
  if (!isEntry && !S_ISDIR(status.st_mode)) fail(path, ENOEXEC);
  LaunchPlan plan = isEntry ? planForDesktopEntry(path) : planForBundle(path);
  plan.arguments.insert(plan.arguments.end(), arguments.begin(),
                        arguments.end());
  return plan;
}

std::optional<ApplicationLocation> ApplicationFinder::bundleAround(
    const std::string& executable) {
  if (const auto known = bundles_.find(executable); known != bundles_.end()) {
    return known->second;
  }
  // The program may be a link that leads out of its bundle.
  const std::size_t folder = executable.rfind(kExecutableFolder);
  const bool isDirectlyInside =
      executable.find('/', folder + kExecutableFolder.size()) ==
      std::string::npos;
  const auto bundle = isDirectlyInside
                          ? Bundle::bundleWithPath(executable.substr(0, folder))
                          : Bundle::bundleContaining(executable);
  if (!bundle) return std::nullopt;
  ApplicationLocation location{bundle->bundlePath(), std::nullopt};
  if (const auto identifier = bundle->bundleIdentifier()) {
    location.identifier = *identifier;
  }
  bundles_.emplace(executable, location);
  return location;
}

std::optional<ApplicationLocation> ApplicationFinder::bundleOf(
    std::int32_t processIdentifier) {
  const auto commandLine = readWhole(
      table_.root(), NumberedPath(processIdentifier, "cmdline").get());
  if (!commandLine || commandLine->empty()) return std::nullopt;
  std::string_view arguments = *commandLine;
  const std::string_view program = takeArgument(arguments);
  if (isProgramOfBundle(program)) return bundleAround(std::string(program));

  // Of a script the kernel passes the interpreter first, then its options in
  // one argument, then the script; the process is named after the script. An
  // editor that shows a program of a bundle is not.
  for (int i = 0; i < 2 && !arguments.empty(); ++i) {
    const std::string_view script = takeArgument(arguments);
    if (!isProgramOfBundle(script)) continue;
    constexpr std::size_t kLongestName = 15;
    const auto record = table_.record(processIdentifier);
    if (record &&
        record->commandName == lastComponent(script).substr(0, kLongestName)) {
      return bundleAround(std::string(script));
    }
  }

  // Started by a relative path, or moved.
  char link[PATH_MAX];
  const std::string_view executable =
      readLink(table_.root(), NumberedPath(processIdentifier, "exe").get(),
               link, sizeof link);
  if (!isProgramOfBundle(executable)) return std::nullopt;
  return bundleAround(std::string(executable));
}

std::optional<ApplicationLocation> ApplicationFinder::desktopEntryOf(
    std::int32_t processIdentifier) const {
  const auto block = readWhole(
      table_.root(), NumberedPath(processIdentifier, "environ").get());
  if (!block) return std::nullopt;
  const auto entry = valueIn(*block, kEntryVariable);
  const auto number = valueIn(*block, kEntryProcessVariable);
  if (!entry || entry->empty() || number != std::to_string(processIdentifier)) {
    return std::nullopt;
  }
  return ApplicationLocation{
      std::string(*entry),
      std::string(withoutSuffix(lastComponent(*entry), kDesktopSuffix))};
}

std::optional<ApplicationLocation> ApplicationFinder::locationOf(
    std::int32_t processIdentifier) {
  struct stat status {};
  if (::fstatat(table_.root(), NumberedPath(processIdentifier).get(), &status,
                0) != 0 ||
      status.st_uid != ::geteuid()) {
    return std::nullopt;
  }
  if (auto bundle = bundleOf(processIdentifier)) return bundle;
  return desktopEntryOf(processIdentifier);
}

std::optional<std::string> desktopEntryWithIdentifier(
    std::string_view identifier) {
  if (identifier.empty() || identifier.find('/') != std::string_view::npos) {
    return std::nullopt;
  }
  for (const std::string& folder : dataFolders()) {
    std::string path = folder + "/applications/" + std::string(identifier) +
                       std::string(kDesktopSuffix);
    std::error_code error;
    if (fs::is_regular_file(path, error)) return path;
  }
  return std::nullopt;
}

}  // namespace quillhaven::platform::internal
