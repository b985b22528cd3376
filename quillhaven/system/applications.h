// Launches applications, asks them to quit, watches them and brings them to the
// front.
#ifndef QUILLHAVEN_SYSTEM_APPLICATIONS_H_
#define QUILLHAVEN_SYSTEM_APPLICATIONS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <variant>

#include "quillhaven/platform/base/localized_error.h"
#include "quillhaven/platform/base/result.h"
#include "quillhaven/platform/process/workspace.h"
#include "quillhaven/system/termination_observer.h"

// Nothing here waits: what comes later, comes on the main run loop.
namespace quillhaven::system {

using platform::LaunchConfiguration;
using platform::LaunchConfigurationKey;
using platform::RunningApplication;
using platform::Workspace;
using platform::WorkspaceLaunchOptions;

// A launch had an outcome other than success.
class FinishLaunchingError : public platform::LocalizedError {
 public:
  enum class Case { terminatedBeforeFinishedLaunching };

  static FinishLaunchingError terminatedBeforeFinishedLaunching() {
    return FinishLaunchingError(Case::terminatedBeforeFinishedLaunching);
  }

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

  friend bool operator==(const FinishLaunchingError& a,
                         const FinishLaunchingError& b) {
    return a.case_ == b.case_;
  }

 private:
  explicit FinishLaunchingError(Case errorCase)
      : LocalizedError("QuillhavenUtilities.FinishLaunchingError",
                       static_cast<int>(errorCase)),
        case_(errorCase) {}

  Case case_;
};

// Applications did not end, not even by force. Without any text.
class NSRunningApplicationTerminationError : public platform::LocalizedError {
 public:
  enum class Case { timedOut };

  static NSRunningApplicationTerminationError timedOut() {
    return NSRunningApplicationTerminationError(Case::timedOut);
  }

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

  friend bool operator==(const NSRunningApplicationTerminationError& a,
                         const NSRunningApplicationTerminationError& b) {
    return a.case_ == b.case_;
  }

 private:
  explicit NSRunningApplicationTerminationError(Case errorCase)
      : LocalizedError(
            "QuillhavenUtilities.NSRunningApplicationTerminationError",
            static_cast<int>(errorCase)),
        case_(errorCase) {}

  Case case_;
};

using LaunchResult =
    platform::Result<std::shared_ptr<RunningApplication>, FinishLaunchingError>;
using TerminationResult =
    platform::Result<std::monostate, NSRunningApplicationTerminationError>;

// Launches the application that a "file" URL names and returns it, or the
// instance that runs already. Calls the handler once with the application when
// it has finished launching, or with the error when it ended first: before this
// call returns, if that has happened already, else on the main run loop. Until
// then the launch keeps itself alive. Throws the workspace's
// ApplicationLaunchError, and the handler is never called then.
//
//   launchApplication(Workspace::sharedWorkspace(), url,
//                     WorkspaceLaunchOptions::kDefault, {},
//                     [](const LaunchResult& result) {
//                       if (!result.isSuccess()) report(*result.error());
//                     });
std::shared_ptr<RunningApplication> launchApplication(
    Workspace& workspace, std::string_view url, WorkspaceLaunchOptions options,
    const LaunchConfiguration& configuration,
    std::function<void(const LaunchResult&)> didFinishLaunchingHandler);

// Asks an application to quit, on request so that its next start finds the
// windows as they are. Where that request cannot be delivered, a line on
// standard output says why and the plain one is sent; when it is the
// application that refuses, as soon as it has said so. Null does nothing.
void terminate(const std::shared_ptr<RunningApplication>& application,
               bool preservingState);

// Asks all applications with this identifier to quit, as terminate() does.
// Those that have not after `gracefulTimeout` are ended by force; `killTimeout`
// later the handler is called with `timedOut`. Both are seconds, below zero as
// zero. When all have ended it is called with success, also after `timedOut`,
// so that it may be called twice: who needs one answer ignores the second. With
// no such application it is called with success within this call. May be empty.
// Calls that share applications are made on one thread.
void terminateApplications(
    Workspace& workspace, std::string_view bundleIdentifier,
    bool preservingState, double gracefulTimeout, double killTimeout,
    std::function<void(const TerminationResult&)> completionHandler = {});

// Calls the handler once, on the main run loop, when the process ends, whether
// it is an application or not. Returns the observation, which the caller keeps
// as long as it wants to know; null when the process ID is 0, the process has
// ended already, or it cannot be observed, which is printed.
[[nodiscard]] std::shared_ptr<KEventTerminationObservation> observeTermination(
    const RunningApplication& application,
    std::function<void(const std::shared_ptr<KEventTerminationObservation>&)>
        handler);

// Brings all windows of an application, or the frontmost of them, to the front.
// Returns no when it has ended, has no windows, or the display cannot do that.
bool forceActivateBringingAllWindowsFront(RunningApplication& application,
                                          bool allWindows);

// What tells a process from all others, before and after. Two zeros when it is
// gone.
struct ProcessSerialNumber {
  std::uint32_t highLongOfPSN = 0;
  std::uint32_t lowLongOfPSN = 0;

  bool operator==(const ProcessSerialNumber&) const = default;
};
[[nodiscard]] ProcessSerialNumber processSerialNumber(
    const RunningApplication& application);

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_APPLICATIONS_H_
