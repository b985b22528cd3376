// Follows a launch until the application is ready, and the process to its end.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_LAUNCH_PROGRESS_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_LAUNCH_PROGRESS_H_

#include <memory>
#include <optional>

#include "quillhaven/platform/process/child_process.h"
#include "quillhaven/platform/process/internal/desktop_application.h"
#include "quillhaven/platform/process/internal/notify_socket.h"
#include "quillhaven/platform/process/internal/session_bus.h"
#include "quillhaven/platform/process/internal/window_system.h"
#include "quillhaven/platform/process/workspace.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::platform::internal {

// Lives on the main run loop from begin() until the process has ended, whose
// status it takes then; until the application is ready it holds that, too.
class LaunchProgress : public std::enable_shared_from_this<LaunchProgress> {
 public:
  LaunchProgress(std::unique_ptr<ChildProcess> child, NotifySocket socket,
                 std::shared_ptr<DesktopApplication> application,
                 std::shared_ptr<SessionBus> bus, WorkspaceSettings settings);
  LaunchProgress(const LaunchProgress&) = delete;
  LaunchProgress& operator=(const LaunchProgress&) = delete;

  // Main thread only.
  void begin();

 private:
  void childDidEnd();
  void notificationDidCome();
  // Both return whether such a sign can come.
  bool watchWindows();
  bool watchBusName();
  void finish();
  void stopWaiting();

  const std::unique_ptr<ChildProcess> child_;
  const NotifySocket socket_;
  const std::shared_ptr<SessionBus> bus_;
  const WorkspaceSettings settings_;

  std::shared_ptr<DesktopApplication> application_;  // null once it is ready
  std::unique_ptr<WindowSystem> windows_;
  std::optional<BusNameWatch> busName_;
  // Each goes before what it watches.
  RunLoopSource windowSource_;
  RunLoopSource limitTimer_;
  RunLoopSource notifySource_;
  RunLoopSource childSource_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_LAUNCH_PROGRESS_H_
