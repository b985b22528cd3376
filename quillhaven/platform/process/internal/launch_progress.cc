#include "quillhaven/platform/process/internal/launch_progress.h"

#include <utility>

namespace quillhaven::platform::internal {

LaunchProgress::LaunchProgress(std::unique_ptr<ChildProcess> child,
                               NotifySocket socket,
                               std::shared_ptr<DesktopApplication> application,
                               std::shared_ptr<SessionBus> bus,
                               WorkspaceSettings settings)
    : child_(std::move(child)),
      socket_(std::move(socket)),
      bus_(std::move(bus)),
      settings_(settings),
      application_(std::move(application)) {}

void LaunchProgress::begin() {
  const RunLoop loop = RunLoop::main();
  const auto self = shared_from_this();
  // These two hold this object until the process has ended.
  childSource_ = loop.watch(*child_->exitDescriptor(), FileEvents::kReadable,
                            [self](FileEvents) { self->childDidEnd(); });
  notifySource_ =
      loop.watch(socket_.descriptor(), FileEvents::kReadable,
                 [self](FileEvents) { self->notificationDidCome(); });

  const bool hasWindows = watchWindows();
  const bool hasBus = application_ != nullptr && watchBusName();
  if (application_ == nullptr) return;
  const auto limit = hasWindows || hasBus ? settings_.silentLaunchLimit
                                          : settings_.bareLaunchLimit;
  limitTimer_ = loop.startTimer(limit, [this] { finish(); });
}

void LaunchProgress::childDidEnd() {
  const auto self = shared_from_this();
  child_->wait();
  stopWaiting();
  application_.reset();
  notifySource_.invalidate();
  childSource_.invalidate();
}

// Also after the application is ready: whoever notifies may wait for us to have
// read it.
void LaunchProgress::notificationDidCome() {
  const auto self = shared_from_this();
  const auto said = socket_.read(child_->processIdentifier());
  if (said.any) limitTimer_.invalidate();
  if (said.isReady) finish();
}

bool LaunchProgress::watchWindows() {
  windows_ = WindowSystem::connect();
  if (!windows_) return false;
  const auto isOwner = [application = application_](std::int32_t process) {
    return application->owns(process);
  };
  if (windows_->hasWindow(isOwner) || windows_->hasNewWindow(isOwner)) {
    finish();
    return true;
  }
  windowSource_ = RunLoop::main().watch(
      windows_->descriptor(), FileEvents::kReadable, [this](FileEvents) {
        const auto self = shared_from_this();
        const auto application = application_;
        if (windows_->hasNewWindow([&](std::int32_t process) {
              return application->owns(process);
            })) {
          finish();
        } else if (windows_->isBroken()) {
          windowSource_.invalidate();
        }
      });
  return true;
}

bool LaunchProgress::watchBusName() {
  const auto identifier = application_->bundleIdentifier();
  if (!identifier || !isBusName(*identifier)) return false;
  auto connection = bus_->connection();
  if (!connection) return false;
  busName_.emplace(
      std::move(connection), *identifier,
      [weak = std::weak_ptr(application_)](std::int32_t process) {
        const auto application = weak.lock();
        return application && application->owns(process);
      },
      [this] { finish(); });
  return true;
}

void LaunchProgress::finish() {
  const auto self = shared_from_this();
  stopWaiting();
  if (const auto application = std::exchange(application_, nullptr)) {
    application->setFinishedLaunching();
  }
}

void LaunchProgress::stopWaiting() {
  limitTimer_.invalidate();
  windowSource_.invalidate();
  windows_.reset();
  busName_.reset();
}

}  // namespace quillhaven::platform::internal
