#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <utility>

#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/files/bundle_index.h"
#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/internal/application_location.h"
#include "quillhaven/platform/process/internal/desktop_application.h"
#include "quillhaven/platform/process/internal/launch_progress.h"
#include "quillhaven/platform/process/internal/notify_socket.h"
#include "quillhaven/platform/process/internal/session_bus.h"
#include "quillhaven/platform/process/workspace.h"

namespace quillhaven::platform {
namespace {

using internal::ApplicationFinder;
using internal::ApplicationLocation;
using internal::DesktopApplication;
using internal::LaunchPlan;
using internal::LaunchProgress;
using internal::NotifySocket;
using internal::ProcessHandle;

using Environment = std::map<std::string, std::string, std::less<>>;

// What this process was told about its own start, and is none of a child's
// business.
constexpr const char* kOwnVariables[] = {"NOTIFY_SOCKET",
                                         "WATCHDOG_PID",
                                         "WATCHDOG_USEC",
                                         "LISTEN_PID",
                                         "LISTEN_FDS",
                                         "LISTEN_FDNAMES",
                                         "DESKTOP_STARTUP_ID",
                                         "XDG_ACTIVATION_TOKEN",
                                         "GIO_LAUNCHED_DESKTOP_FILE",
                                         "GIO_LAUNCHED_DESKTOP_FILE_PID"};

Environment inheritedEnvironment() {
  Environment environment;
  for (char** at = environ; *at != nullptr; ++at) {
    const std::string_view line = *at;
    const std::size_t mark = line.find('=');
    if (mark == std::string_view::npos || mark == 0) continue;
    environment.emplace(line.substr(0, mark), line.substr(mark + 1));
  }
  for (const char* const name : kOwnVariables) environment.erase(name);
  return environment;
}

[[noreturn]] void fail(const std::string& application, int error) {
  throw ApplicationLaunchError(application,
                               std::error_code(error, std::system_category()));
}

// The value under `key` or, without one, that of a new `Value`.
template <typename Value>
Value configured(const LaunchConfiguration& configuration,
                 LaunchConfigurationKey key, const std::string& application) {
  const auto found = configuration.find(key);
  if (found == configuration.end()) return {};
  const auto* const value = std::any_cast<Value>(&found->second);
  if (value == nullptr) fail(application, EINVAL);
  return *value;
}

class DesktopWorkspace : public Workspace {
 public:
  explicit DesktopWorkspace(WorkspaceSettings settings) : settings_(settings) {}

  std::shared_ptr<RunningApplication> launchApplicationAtURL(
      std::string_view url, WorkspaceLaunchOptions options,
      const LaunchConfiguration& configuration) override;
  std::vector<std::shared_ptr<RunningApplication>>
  runningApplicationsWithBundleIdentifier(std::string_view identifier) override;
  std::shared_ptr<RunningApplication> runningApplicationWithProcessIdentifier(
      std::int32_t processIdentifier) override;
  std::optional<std::string> URLForApplicationWithBundleIdentifier(
      std::string_view identifier) override;

 private:
  std::shared_ptr<DesktopApplication> start(const LaunchPlan& plan,
                                            const Environment& environment);
  std::shared_ptr<DesktopApplication> runningApplicationAt(
      const std::string& path);

  // Those of the running processes for which `isWanted` holds. `limit` ends the
  // search early.
  template <typename IsWanted>
  std::vector<std::shared_ptr<DesktopApplication>> runningApplications(
      const IsWanted& isWanted, std::size_t limit);

  std::shared_ptr<DesktopApplication> applicationFor(
      std::int32_t processIdentifier, ProcessHandle process,
      std::optional<ApplicationLocation> location);
  std::shared_ptr<DesktopApplication> launchedApplication(
      std::int32_t processIdentifier);
  void remember(const std::shared_ptr<DesktopApplication>& application);

  const WorkspaceSettings settings_;
  const std::shared_ptr<internal::SessionBus> bus_ =
      std::make_shared<internal::SessionBus>();
  BundleIndex bundles_;
  std::mutex lock_;
  // What was launched here and is known elsewhere, by process; guarded by
  // lock_. They alone know whether they are ready.
  std::map<std::int32_t, std::weak_ptr<DesktopApplication>> launched_;
};

std::shared_ptr<RunningApplication> DesktopWorkspace::launchApplicationAtURL(
    std::string_view url, WorkspaceLaunchOptions options,
    const LaunchConfiguration& configuration) {
  const auto named = pathFromFileURL(url);
  if (!named) fail(std::string(url), EINVAL);
  std::string path = *named;
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();

  using Key = LaunchConfigurationKey;
  const auto arguments = configured<std::vector<std::string>>(
      configuration, Key::kArguments, path);
  const auto environment = configured<std::map<std::string, std::string>>(
      configuration, Key::kEnvironment, path);
  const LaunchPlan plan = internal::launchPlanFor(path, arguments);

  if (!hasAny(options, WorkspaceLaunchOptions::kNewInstance)) {
    if (const auto running = runningApplicationAt(plan.location.path)) {
      if (!hasAny(options, WorkspaceLaunchOptions::kWithoutActivation)) {
        running->bringToFront(true);
      }
      return running;
    }
  }
  return start(plan, Environment(environment.begin(), environment.end()));
}

std::shared_ptr<DesktopApplication> DesktopWorkspace::start(
    const LaunchPlan& plan, const Environment& environment) {
  try {
    NotifySocket socket;
    Environment all = inheritedEnvironment();
    for (const auto& [name, value] : environment) all[name] = value;
    for (const auto& [name, value] : plan.environment) all[name] = value;
    all[internal::kNotifyVariable] = socket.address();
    auto child = ChildProcess::launch(
        {.executable = plan.executable,
         .arguments = plan.arguments,
         .environment = std::move(all),
         .currentDirectory =
             plan.currentDirectory.empty() ? "/" : plan.currentDirectory,
         .standardInput = ChildStream::null(),
         .standardOutput = ChildStream::null(),
         .standardError = ChildStream::null(),
         .hasOwnSession = true});
    const std::int32_t pid = child->processIdentifier();
    ProcessHandle process(pid);
    const bool hasEndedAlready = !process.isOpen() && errno == ESRCH;
    if (!child->exitDescriptor() || (!process.isOpen() && !hasEndedAlready)) {
      // Nobody could tell its end.
      child->signal(SIGKILL);
      child->wait();
      throw std::system_error(EMFILE, std::system_category());
    }
    auto application = DesktopApplication::make(pid, std::move(process),
                                                plan.location, bus_, false);
    remember(application);
    const auto progress = std::make_shared<LaunchProgress>(
        std::move(child), std::move(socket), application, bus_, settings_);
    RunLoop::main().perform([progress] { progress->begin(); });
    return application;
  } catch (const std::system_error& error) {
    throw ApplicationLaunchError(plan.location.path, error.code());
  }
}

void DesktopWorkspace::remember(
    const std::shared_ptr<DesktopApplication>& application) {
  const std::lock_guard guard(lock_);
  std::erase_if(launched_,
                [](const auto& entry) { return entry.second.expired(); });
  launched_[application->processIdentifier()] = application;
}

std::shared_ptr<DesktopApplication> DesktopWorkspace::launchedApplication(
    std::int32_t processIdentifier) {
  std::shared_ptr<DesktopApplication> application;  // may go without the lock
  const std::lock_guard guard(lock_);
  const auto found = launched_.find(processIdentifier);
  if (found == launched_.end()) return nullptr;
  application = found->second.lock();
  return application && !application->isTerminated() ? application : nullptr;
}

std::shared_ptr<DesktopApplication> DesktopWorkspace::applicationFor(
    std::int32_t processIdentifier, ProcessHandle process,
    std::optional<ApplicationLocation> location) {
  if (auto launched = launchedApplication(processIdentifier)) return launched;
  return DesktopApplication::make(processIdentifier, std::move(process),
                                  std::move(location), bus_, true);
}

template <typename IsWanted>
std::vector<std::shared_ptr<DesktopApplication>>
DesktopWorkspace::runningApplications(const IsWanted& isWanted,
                                      std::size_t limit) {
  std::vector<std::shared_ptr<DesktopApplication>> applications;
  ApplicationFinder finder;
  const auto records = finder.table().records();
  if (!records) return applications;
  for (const ProcessRecord& record : *records) {
    if (applications.size() == limit) break;
    const std::int32_t pid = record.processIdentifier;
    if (auto launched = launchedApplication(pid)) {
      if (isWanted({launched->path(), launched->bundleIdentifier()})) {
        applications.push_back(std::move(launched));
      }
      continue;
    }
    const auto seen = finder.locationOf(pid);
    if (!seen || !isWanted(*seen)) continue;
    // Held first, then looked at again: the number may have gone to another.
    ProcessHandle process(pid);
    auto location = finder.locationOf(pid);
    if (!location || !isWanted(*location) || process.hasEnded()) continue;
    applications.push_back(
        applicationFor(pid, std::move(process), std::move(location)));
  }
  return applications;
}

std::shared_ptr<DesktopApplication> DesktopWorkspace::runningApplicationAt(
    const std::string& path) {
  const std::string wanted = internal::comparablePath(path);
  const auto found = runningApplications(
      [&](const ApplicationLocation& location) {
        return internal::comparablePath(location.path) == wanted;
      },
      1);
  return found.empty() ? nullptr : found.front();
}

std::vector<std::shared_ptr<RunningApplication>>
DesktopWorkspace::runningApplicationsWithBundleIdentifier(
    std::string_view identifier) {
  const auto found = runningApplications(
      [&](const ApplicationLocation& location) {
        return location.identifier == identifier;
      },
      static_cast<std::size_t>(-1));
  return {found.begin(), found.end()};
}

std::shared_ptr<RunningApplication>
DesktopWorkspace::runningApplicationWithProcessIdentifier(
    std::int32_t processIdentifier) {
  ProcessHandle process(processIdentifier);
  if (process.hasEnded()) return nullptr;
  return applicationFor(processIdentifier, std::move(process),
                        ApplicationFinder().locationOf(processIdentifier));
}

std::optional<std::string>
DesktopWorkspace::URLForApplicationWithBundleIdentifier(
    std::string_view identifier) {
  if (const auto bundle = bundles_.bundleWithIdentifier(identifier)) {
    return fileURLFromPath(bundle->bundlePath());
  }
  const auto entry = internal::desktopEntryWithIdentifier(identifier);
  return entry ? std::optional(fileURLFromPath(*entry)) : std::nullopt;
}

}  // namespace

Workspace& Workspace::sharedWorkspace() {
  // Used by other threads while the process ends.
  static Workspace& shared = *makeWorkspace({}).release();
  return shared;
}

std::unique_ptr<Workspace> makeWorkspace(WorkspaceSettings settings) {
  return std::make_unique<DesktopWorkspace>(settings);
}

}  // namespace quillhaven::platform
