#include "quillhaven/platform/process/internal/desktop_application.h"

#include <chrono>
#include <csignal>
#include <utility>

#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/process/internal/window_system.h"

namespace quillhaven::platform::internal {
namespace {

// Window managers take some milliseconds.
constexpr std::chrono::milliseconds kActivationLimit{500};

// A serial number is the start in its upper half and the process in its lower.
// At a hundred ticks a second the half lasts for more than a year.
constexpr int kHalfBits = 32;

std::string pathOf(const std::optional<ApplicationLocation>& location) {
  return location ? location->path : std::string();
}

std::optional<std::string> identifierOf(
    const std::optional<ApplicationLocation>& location) {
  return location ? location->identifier : std::nullopt;
}

}  // namespace

std::shared_ptr<DesktopApplication> DesktopApplication::make(
    std::int32_t processIdentifier, ProcessHandle process,
    std::optional<ApplicationLocation> location,
    std::shared_ptr<SessionBus> bus, bool isFinishedLaunching) {
  std::shared_ptr<DesktopApplication> application(new DesktopApplication(
      processIdentifier, std::move(process), std::move(location),
      std::move(bus), isFinishedLaunching));
  application->watchForEnd();
  return application;
}

DesktopApplication::DesktopApplication(
    std::int32_t processIdentifier, ProcessHandle process,
    std::optional<ApplicationLocation> location,
    std::shared_ptr<SessionBus> bus, bool isFinishedLaunching)
    : pid_(processIdentifier),
      path_(pathOf(location)),
      identifier_(identifierOf(location)),
      bus_(std::move(bus)),
      startTime_(ProcessTable().startTime(processIdentifier)),
      process_(std::move(process)),
      isFinishedLaunching_(isFinishedLaunching) {}

void DesktopApplication::watchForEnd() {
  if (!process_.isOpen()) return;
  // The main loop may call back before the source has arrived in its place.
  const std::lock_guard guard(lock_);
  endSource_ =
      RunLoop::main().watch(process_.descriptor(), FileEvents::kReadable,
                            [weak = weak_from_this()](FileEvents) {
                              if (const auto application = weak.lock())
                                application->didEnd();
                            });
}

void DesktopApplication::didEnd() {
  {
    const std::lock_guard guard(lock_);
    endSource_.invalidate();
  }
  didChangeValueForKey(kIsTerminatedKey);
}

std::optional<std::string> DesktopApplication::bundleIdentifier() const {
  return identifier_;
}

std::optional<std::string> DesktopApplication::bundleURL() const {
  if (path_.empty()) return std::nullopt;
  return fileURLFromPath(path_);
}

bool DesktopApplication::isTerminated() const { return process_.hasEnded(); }

bool DesktopApplication::isFinishedLaunching() const {
  return isFinishedLaunching_;
}

bool DesktopApplication::terminate() { return process_.signal(SIGTERM); }

bool DesktopApplication::forceTerminate() { return process_.signal(SIGKILL); }

void DesktopApplication::quitPreservingState(
    std::function<void(const QuitRequestError&)> didFail) {
  bus_->sendQuitPreservingState(
      identifier_.value_or(""),
      [this](std::int32_t process) { return owns(process); },
      std::move(didFail));
}

bool DesktopApplication::bringToFront(bool allWindows) {
  if (isTerminated()) return false;
  const auto windows = WindowSystem::connect();
  return windows && windows->bringToFront(
                        [this](std::int32_t process) { return owns(process); },
                        allWindows, kActivationLimit);
}

std::optional<std::uint64_t> DesktopApplication::applicationSerialNumber()
    const {
  if (!startTime_ || isTerminated()) return std::nullopt;
  return *startTime_ << kHalfBits | static_cast<std::uint32_t>(pid_);
}

bool DesktopApplication::owns(std::int32_t processIdentifier) const {
  return isSelfOrDescendant(ProcessTable(), processIdentifier, pid_) &&
         !isTerminated();
}

void DesktopApplication::setFinishedLaunching() {
  if (!isFinishedLaunching_.exchange(true)) {
    didChangeValueForKey(kIsFinishedLaunchingKey);
  }
}

}  // namespace quillhaven::platform::internal
