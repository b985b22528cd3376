// A process of this machine as an application, and its launch until it is
// ready.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_DESKTOP_APPLICATION_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_DESKTOP_APPLICATION_H_

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "quillhaven/platform/process/internal/application_location.h"
#include "quillhaven/platform/process/internal/process_handle.h"
#include "quillhaven/platform/process/internal/session_bus.h"
#include "quillhaven/platform/process/workspace.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::platform::internal {

// Thread-safe.
class DesktopApplication
    : public RunningApplication,
      public std::enable_shared_from_this<DesktopApplication> {
 public:
  // Takes the process with this number, which `process` holds.
  [[nodiscard]] static std::shared_ptr<DesktopApplication> make(
      std::int32_t processIdentifier, ProcessHandle process,
      std::optional<ApplicationLocation> location,
      std::shared_ptr<SessionBus> bus, bool isFinishedLaunching);

  [[nodiscard]] std::int32_t processIdentifier() const override { return pid_; }
  [[nodiscard]] std::optional<std::string> bundleIdentifier() const override;
  [[nodiscard]] std::optional<std::string> bundleURL() const override;
  [[nodiscard]] bool isTerminated() const override;
  [[nodiscard]] bool isFinishedLaunching() const override;
  bool terminate() override;
  bool forceTerminate() override;
  void quitPreservingState(
      std::function<void(const QuitRequestError&)> didFail) override;
  bool bringToFront(bool allWindows) override;
  [[nodiscard]] std::optional<std::uint64_t> applicationSerialNumber()
      const override;

  // The absolute path of its bundle or desktop entry; empty for none.
  [[nodiscard]] const std::string& path() const { return path_; }

  // True for the process itself and for what it started: a script may leave the
  // windows and the name on the bus to others.
  [[nodiscard]] bool owns(std::int32_t processIdentifier) const;

  void setFinishedLaunching();

 private:
  DesktopApplication(std::int32_t processIdentifier, ProcessHandle process,
                     std::optional<ApplicationLocation> location,
                     std::shared_ptr<SessionBus> bus, bool isFinishedLaunching);
  void watchForEnd();
  void didEnd();

  const std::int32_t pid_;
  const std::string path_;
  const std::optional<std::string> identifier_;
  const std::shared_ptr<SessionBus> bus_;
  const std::optional<std::uint64_t> startTime_;
  const ProcessHandle process_;
  std::atomic<bool> isFinishedLaunching_;
  std::mutex lock_;
  RunLoopSource endSource_;  // guarded by lock_; goes before process_
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_DESKTOP_APPLICATION_H_
