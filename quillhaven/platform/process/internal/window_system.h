// Windows of other processes on an X11 display with a window manager (EWMH).
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_WINDOW_SYSTEM_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_WINDOW_SYSTEM_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace quillhaven::platform::internal {

// Whether a window of this process is one of the application that is meant.
using IsWindowOwner = std::function<bool(std::int32_t processIdentifier)>;

// One connection to the display that $DISPLAY names. A display that goes away
// is as one without windows. One thread at a time.
class WindowSystem {
 public:
  // Null without a display.
  [[nodiscard]] static std::unique_ptr<WindowSystem> connect();
  WindowSystem(const WindowSystem&) = delete;
  WindowSystem& operator=(const WindowSystem&) = delete;
  ~WindowSystem();

  // Readable when something has happened.
  [[nodiscard]] int descriptor() const;
  // True once the display has gone.
  [[nodiscard]] bool isBroken() const;

  // True when a window is there, mapped, that belongs to an owner; says that it
  // wants to be told when one comes.
  [[nodiscard]] bool hasWindow(const IsWindowOwner& isOwner);
  // The same about what has happened since.
  [[nodiscard]] bool hasNewWindow(const IsWindowOwner& isOwner);

  // The processes of the window manager's windows, the frontmost last.
  [[nodiscard]] std::vector<std::int32_t> ownersFromBelow() const;

  // Asks the window manager to make the frontmost window of the owner the
  // active one, with all the others right behind it if `allWindows`. Returns
  // whether one of them became active within the limit.
  [[nodiscard]] bool bringToFront(const IsWindowOwner& isOwner, bool allWindows,
                                  std::chrono::milliseconds limit);

 private:
  struct Connection;

  explicit WindowSystem(std::unique_ptr<Connection> connection);

  std::unique_ptr<Connection> connection_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_WINDOW_SYSTEM_H_
