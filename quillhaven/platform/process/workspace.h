// Applications of the desktop: what can be launched, what runs, and what can be
// asked of it. An interface, so that hosts can test what they build on it.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_WORKSPACE_H_
#define QUILLHAVEN_PLATFORM_PROCESS_WORKSPACE_H_

#include <any>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "quillhaven/platform/base/localized_error.h"
#include "quillhaven/platform/run_loop/key_value_observing.h"

namespace quillhaven::platform {

// The workspace could not launch an application. The code is the errno, in the
// domain "NSPOSIXErrorDomain": ENOENT nothing is there, or its program is
// missing; ENOEXEC it is no application, or its program cannot be run; EACCES
// the program may not be executed; EINVAL it is not named by a "file" URL, or
// the configuration holds a value of another type; others for exhausted
// resources. Immutable.
class ApplicationLaunchError : public LocalizedError {
 public:
  // `application` is its path, or its URL when that names no path.
  ApplicationLaunchError(std::string application, std::error_code code);

  [[nodiscard]] const std::string& application() const noexcept {
    return application_;
  }
  [[nodiscard]] const std::error_code& code() const noexcept { return code_; }

  friend bool operator==(const ApplicationLaunchError& a,
                         const ApplicationLaunchError& b) {
    return a.code_ == b.code_ && a.application_ == b.application_;
  }

 private:
  std::string application_;
  std::error_code code_;
};

// A request to quit could not be delivered. The description says why, in the
// words of the message bus where it was that which refused.
class QuitRequestError : public LocalizedError {
 public:
  enum class Case {
    notReachable,  // no message bus, or the application is not on it
    refused,       // the application knows no such request
  };

  QuitRequestError(Case errorCase, std::string description);

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

 private:
  Case case_;
};

// A process that can be watched and asked to quit: as a rule an application.
// Its two properties can be observed under the keys below; changes are told on
// the main run loop. Thread-safe.
class RunningApplication : public KeyValueObservable {
 public:
  static constexpr std::string_view kIsTerminatedKey = "isTerminated";
  static constexpr std::string_view kIsFinishedLaunchingKey =
      "isFinishedLaunching";

  // Stays what it was after the end, and is 0 for no process at all.
  [[nodiscard]] virtual std::int32_t processIdentifier() const = 0;
  // "CFBundleIdentifier" of its bundle, or the name of its desktop entry
  // without ".desktop"; absent for a process that is no application.
  [[nodiscard]] virtual std::optional<std::string> bundleIdentifier() const = 0;
  // The "file" URL of its bundle or desktop entry; absent likewise.
  [[nodiscard]] virtual std::optional<std::string> bundleURL() const = 0;

  // True from the moment the process has ended, which may be before the
  // observers are told.
  [[nodiscard]] virtual bool isTerminated() const = 0;
  // True once the application is ready; of one that this workspace did not
  // launch, always.
  [[nodiscard]] virtual bool isFinishedLaunching() const = 0;

  // Asks the application to quit, and ends it without asking. Both return
  // whether the request was sent, and do not wait for what comes of it.
  virtual bool terminate() = 0;
  virtual bool forceTerminate() = 0;

  // Asks the application to quit so that its next start finds the windows as
  // they are. `didFail` is called once when the request cannot be delivered:
  // within the call, or on the main run loop when the application itself says
  // that it knows no such request. Not called once it is on its way.
  virtual void quitPreservingState(
      std::function<void(const QuitRequestError&)> didFail) = 0;

  // Brings all its windows, or the one in front of the others, to the front and
  // returns whether the application is the active one then. No without a
  // display whose window manager can do that.
  virtual bool bringToFront(bool allWindows) = 0;

  // A number that no other process has, before or after; absent once the
  // process is gone.
  [[nodiscard]] virtual std::optional<std::uint64_t> applicationSerialNumber()
      const = 0;

  [[nodiscard]] std::any valueForKey(std::string_view key) const override;
};

enum class WorkspaceLaunchOptions : unsigned {
  kDefault = 0,
  // An application that runs already is not brought to the front.
  kWithoutActivation = 0x00000200,
  // A new process is started even if one runs already.
  kNewInstance = 0x00080000,
};

constexpr WorkspaceLaunchOptions operator|(WorkspaceLaunchOptions a,
                                           WorkspaceLaunchOptions b) {
  return static_cast<WorkspaceLaunchOptions>(static_cast<unsigned>(a) |
                                             static_cast<unsigned>(b));
}

// True when `options` has any of `wanted`.
constexpr bool hasAny(WorkspaceLaunchOptions options,
                      WorkspaceLaunchOptions wanted) {
  return (static_cast<unsigned>(options) & static_cast<unsigned>(wanted)) != 0;
}

// What an application is launched with. Without effect when it runs already.
enum class LaunchConfigurationKey {
  kArguments,    // std::vector<std::string>, after those of its own
  kEnvironment,  // std::map<std::string, std::string>, over this process's
};
using LaunchConfiguration = std::map<LaunchConfigurationKey, std::any>;

// Launches applications and knows those that run. Thread-safe.
class Workspace {
 public:
  Workspace() = default;
  virtual ~Workspace() = default;
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  // The one of the desktop session, with the settings below as they are.
  [[nodiscard]] static Workspace& sharedWorkspace();

  // Starts the application that a "file" URL names, a bundle (NAME.app) or a
  // desktop entry (NAME.desktop), and returns at once; or returns the instance
  // that runs, brought to the front. Never null. Throws ApplicationLaunchError.
  virtual std::shared_ptr<RunningApplication> launchApplicationAtURL(
      std::string_view url, WorkspaceLaunchOptions options,
      const LaunchConfiguration& configuration) = 0;

  // Returns the user's running applications with this identifier, by ascending
  // process ID.
  [[nodiscard]] virtual std::vector<std::shared_ptr<RunningApplication>>
  runningApplicationsWithBundleIdentifier(std::string_view identifier) = 0;

  // Returns the process, application or not; null when there is none.
  [[nodiscard]] virtual std::shared_ptr<RunningApplication>
  runningApplicationWithProcessIdentifier(std::int32_t processIdentifier) = 0;

  // Returns the "file" URL of the installed application with this identifier:
  // a bundle of applicationFolders(), else a desktop entry; nothing if there
  // is none.
  [[nodiscard]] virtual std::optional<std::string>
  URLForApplicationWithBundleIdentifier(std::string_view identifier) = 0;
};

// How long an application that gives no sign of being ready is waited for.
// What counts as a sign: READY=1 on its $NOTIFY_SOCKET (sd_notify(3)), its
// first window, its identifier as a name on the session bus. One that has sent
// any other notification is waited for without a limit.
struct WorkspaceSettings {
  // With a display or a session bus, where signs are to be expected.
  std::chrono::milliseconds silentLaunchLimit{10'000};
  // With neither, where nothing but a notification could come; long enough to
  // see a program that ends at its start.
  std::chrono::milliseconds bareLaunchLimit{500};
};

// Returns a workspace of the desktop with settings of its own.
[[nodiscard]] std::unique_ptr<Workspace> makeWorkspace(
    WorkspaceSettings settings);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_PROCESS_WORKSPACE_H_
