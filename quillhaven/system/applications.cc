#include "quillhaven/system/applications.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillhaven/system/internal/deferred_work.h"
#include "quillhaven/system/internal/standard_output.h"

namespace quillhaven::system {
namespace {

using internal::DeferredWork;
using platform::KeyValueChange;
using platform::KeyValueObservation;
using platform::KeyValueObservingOptions;

constexpr std::string_view kFallbackMessage =
    "Terminate preserving state failed, falling back to regular termination: ";

// Keeps one launch alive until its outcome is known.
struct LaunchSession {
  Workspace& workspace;
  const WorkspaceLaunchOptions options;
  const LaunchConfiguration configuration;
  std::optional<KeyValueObservation> appTerminatedObservation;
  std::optional<KeyValueObservation> appFinishedLaunchingObservation;
  std::shared_ptr<RunningApplication> runningApplication;
};

// Where the session lives; emptied by whoever learns the outcome first.
class LaunchSessionBox {
 public:
  explicit LaunchSessionBox(std::shared_ptr<LaunchSession> session)
      : session_(std::move(session)) {}

  std::shared_ptr<LaunchSession> take() {
    const std::lock_guard guard(lock_);
    return std::exchange(session_, nullptr);
  }

 private:
  std::mutex lock_;
  std::shared_ptr<LaunchSession> session_;  // guarded by lock_
};

void requestQuit(const std::shared_ptr<RunningApplication>& application,
                 bool preservingState) {
  if (!preservingState) {
    application->terminate();
    return;
  }
  application->quitPreservingState(
      [application](const platform::QuitRequestError& error) {
        internal::printLine(
            std::string(kFallbackMessage).append(error.localizedDescription()));
        application->terminate();
      });
}

// One call of terminateApplications(): the handlers under way share it, and so
// it lasts until the last application has ended, however late.
struct BundleTermination {
  std::vector<std::shared_ptr<RunningApplication>> applications;
  std::function<void(const TerminationResult&)> completionHandler;
  std::shared_ptr<DeferredWork> killItem;
  std::shared_ptr<DeferredWork> timeLimitItem;
  std::mutex lock;
  // By process ID; guarded by lock.
  std::map<std::int32_t, KeyValueObservation> observations;

  void complete(const TerminationResult& result) const {
    if (completionHandler) completionHandler(result);
  }

  void didChange(const RunningApplication& application) {
    KeyValueObservation over;  // goes unlocked
    {
      const std::lock_guard guard(lock);
      if (application.isTerminated()) {
        const auto found = observations.find(application.processIdentifier());
        if (found != observations.end()) {
          over = std::move(found->second);
          observations.erase(found);
        }
      }
      if (!observations.empty()) return;
    }
    killItem->cancel();
    timeLimitItem->cancel();
    complete(TerminationResult::success({}));
  }
};

void observeAll(const std::shared_ptr<BundleTermination>& termination) {
  const std::lock_guard guard(termination->lock);
  for (const auto& application : termination->applications) {
    termination->observations.insert_or_assign(
        application->processIdentifier(),
        application->observe(RunningApplication::kIsTerminatedKey,
                             KeyValueObservingOptions::kNone,
                             [termination, application = application.get()](
                                 const KeyValueChange&) {
                               termination->didChange(*application);
                             }));
  }
}

}  // namespace

std::shared_ptr<RunningApplication> launchApplication(
    Workspace& workspace, std::string_view url, WorkspaceLaunchOptions options,
    const LaunchConfiguration& configuration,
    std::function<void(const LaunchResult&)> didFinishLaunchingHandler) {
  const auto session = std::make_shared<LaunchSession>(
      LaunchSession{workspace, options, configuration, {}, {}, {}});
  const auto box = std::make_shared<LaunchSessionBox>(session);
  const auto wrapper = [box, handler = std::move(didFinishLaunchingHandler)](
                           const LaunchResult& result) {
    // Whoever comes second, on another thread, finds it empty.
    auto taken = box->take();
    if (!taken) return;
    taken.reset();
    if (handler) handler(result);
  };

  const auto application = session->workspace.launchApplicationAtURL(
      url, session->options, session->configuration);
  session->runningApplication = application;
  // The handlers hold the application, and the session holds the handlers: they
  // go together, with the first outcome.
  constexpr auto kOptions =
      KeyValueObservingOptions::kInitial | KeyValueObservingOptions::kNew;
  session->appTerminatedObservation = application->observe(
      RunningApplication::kIsTerminatedKey, kOptions,
      [wrapper, application](const KeyValueChange&) {
        if (!application->isTerminated()) return;
        wrapper(LaunchResult::failure(
            FinishLaunchingError::terminatedBeforeFinishedLaunching()));
      });
  session->appFinishedLaunchingObservation = application->observe(
      RunningApplication::kIsFinishedLaunchingKey, kOptions,
      [wrapper, application](const KeyValueChange&) {
        if (application->isTerminated() ||
            !application->isFinishedLaunching()) {
          return;
        }
        wrapper(LaunchResult::success(application));
      });
  return application;
}

void terminate(const std::shared_ptr<RunningApplication>& application,
               bool preservingState) {
  if (application) requestQuit(application, preservingState);
}

void terminateApplications(
    Workspace& workspace, std::string_view bundleIdentifier,
    bool preservingState, double gracefulTimeout, double killTimeout,
    std::function<void(const TerminationResult&)> completionHandler) {
  const auto termination = std::make_shared<BundleTermination>();
  termination->applications =
      workspace.runningApplicationsWithBundleIdentifier(bundleIdentifier);
  termination->completionHandler = std::move(completionHandler);
  if (termination->applications.empty()) {
    termination->complete(TerminationResult::success({}));
    return;
  }

  termination->timeLimitItem = DeferredWork::make([termination] {
    termination->complete(TerminationResult::failure(
        NSRunningApplicationTerminationError::timedOut()));
  });
  // Also those that have ended meanwhile, which costs nothing.
  termination->killItem = DeferredWork::make([termination, killTimeout] {
    for (const auto& application : termination->applications) {
      application->forceTerminate();
    }
    termination->timeLimitItem->scheduleAfter(killTimeout);
  });
  observeAll(termination);
  for (const auto& application : termination->applications) {
    requestQuit(application, preservingState);
  }
  termination->killItem->scheduleAfter(gracefulTimeout);
}

std::shared_ptr<KEventTerminationObservation> observeTermination(
    const RunningApplication& application,
    std::function<void(const std::shared_ptr<KEventTerminationObservation>&)>
        handler) {
  if (application.processIdentifier() == 0 || application.isTerminated()) {
    return nullptr;
  }
  return KEventTerminationObserver::observe(
      application.processIdentifier(),
      [handler = std::move(handler)](
          const std::shared_ptr<KEventTerminationObserver>& observer) {
        if (handler) handler(observer);
      });
}

bool forceActivateBringingAllWindowsFront(RunningApplication& application,
                                          bool allWindows) {
  return application.bringToFront(allWindows);
}

ProcessSerialNumber processSerialNumber(const RunningApplication& application) {
  const auto number = application.applicationSerialNumber();
  if (!number) return {};
  return {static_cast<std::uint32_t>(*number >> 32),
          static_cast<std::uint32_t>(*number & 0xffffffffU)};
}

}  // namespace quillhaven::system
