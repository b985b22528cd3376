// The session's message bus (D-Bus), as far as applications are concerned.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_SESSION_BUS_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_SESSION_BUS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "quillhaven/platform/process/workspace.h"
#include "quillhaven/platform/run_loop/internal/glib_pointers.h"

namespace quillhaven::platform::internal {

using BusConnectionPtr = GObjectPtr<GDBusConnection>;

// Whether a process may speak for the application that is meant.
using IsOwner = std::function<bool(std::int32_t processIdentifier)>;

// A connection of our own: losing that of the host would end the host.
// Thread-safe.
class SessionBus {
 public:
  // Connects on first use and anew after the bus has gone; null without a bus.
  // Never starts one.
  [[nodiscard]] BusConnectionPtr connection();

  // Sends the request to quit and keep the state to the application that has
  // this name; see RunningApplication::quitPreservingState().
  void sendQuitPreservingState(
      const std::string& name, const IsOwner& isOwner,
      std::function<void(const QuitRequestError&)> didFail);

 private:
  std::mutex lock_;
  BusConnectionPtr connection_;  // guarded by lock_
};

// Calls back once when a process that `isOwner` accepts has the name. Disarmed
// at the end of its life. Main thread only.
class BusNameWatch {
 public:
  BusNameWatch(BusConnectionPtr connection, std::string name, IsOwner isOwner,
               std::function<void()> didAppear);
  BusNameWatch(const BusNameWatch&) = delete;
  BusNameWatch& operator=(const BusNameWatch&) = delete;
  ~BusNameWatch();

 private:
  struct State;

  std::shared_ptr<State> state_;
  unsigned subscription_;
};

// True for what can be the name of an application on the bus.
[[nodiscard]] bool isBusName(const std::string& identifier);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_SESSION_BUS_H_
