#include "quillhaven/platform/process/internal/window_system.h"

#include <poll.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/internal/pipe_signal_guard.h"

namespace quillhaven::platform::internal {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using CPointer = std::unique_ptr<T, Free>;

// The properties of EWMH that are used, in the order of kAtomNames.
enum Atom : std::size_t {
  kClientList,
  kClientListStacking,
  kActiveWindow,
  kRestackWindow,
  kSupported,
  kWindowProcess,
  kWindowType,
  kManagerCheck,
  kTypeDesktop,
  kTypeDock,
  kAtomCount,
};
constexpr std::array<std::string_view, kAtomCount> kAtomNames = {
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_ACTIVE_WINDOW",
    "_NET_RESTACK_WINDOW",
    "_NET_SUPPORTED",
    "_NET_WM_PID",
    "_NET_WM_WINDOW_TYPE",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DOCK"};

constexpr std::uint32_t kLongestProperty = 65536;  // in 4 bytes
constexpr std::uint32_t kSourceIsPager = 2;

std::string hostName() {
  char name[HOST_NAME_MAX + 1] = {};
  return ::gethostname(name, HOST_NAME_MAX) == 0 ? name : "";
}

}  // namespace

struct WindowSystem::Connection {
  using Windows = std::vector<xcb_window_t>;

  xcb_connection_t* display = nullptr;
  xcb_window_t root = XCB_WINDOW_NONE;
  std::array<xcb_atom_t, kAtomCount> atoms{};

  ~Connection() {
    const PipeSignalGuard guard;
    ::xcb_disconnect(display);
  }

  void internAtoms() {
    std::array<xcb_intern_atom_cookie_t, kAtomCount> cookies;
    for (std::size_t i = 0; i < kAtomCount; ++i) {
      cookies[i] = ::xcb_intern_atom(
          display, 0, static_cast<std::uint16_t>(kAtomNames[i].size()),
          kAtomNames[i].data());
    }
    for (std::size_t i = 0; i < kAtomCount; ++i) {
      const CPointer<xcb_intern_atom_reply_t> reply(
          ::xcb_intern_atom_reply(display, cookies[i], nullptr));
      if (reply) atoms[i] = reply->atom;
    }
  }

  // The caller restores nothing: the mask is this connection's own.
  void select(std::uint32_t events) const {
    ::xcb_change_window_attributes(display, root, XCB_CW_EVENT_MASK, &events);
    ::xcb_flush(display);
  }

  [[nodiscard]] xcb_get_property_cookie_t askProperty(xcb_window_t window,
                                                      xcb_atom_t name) const {
    return ::xcb_get_property(display, 0, window, name,
                              XCB_GET_PROPERTY_TYPE_ANY, 0, kLongestProperty);
  }

  // The property as numbers of 32 bits; none if it is anything else.
  [[nodiscard]] std::vector<std::uint32_t> numbers(
      xcb_get_property_cookie_t cookie) const {
    const CPointer<xcb_get_property_reply_t> reply(
        ::xcb_get_property_reply(display, cookie, nullptr));
    if (!reply || reply->format != 32) return {};
    std::vector<std::uint32_t> values(reply->value_len);
    if (!values.empty()) {
      std::memcpy(values.data(), ::xcb_get_property_value(reply.get()),
                  values.size() * sizeof values.front());
    }
    return values;
  }

  [[nodiscard]] std::vector<std::uint32_t> rootNumbers(Atom name) const {
    return numbers(askProperty(root, atoms[name]));
  }

  [[nodiscard]] std::optional<std::string> text(
      xcb_get_property_cookie_t cookie) const {
    const CPointer<xcb_get_property_reply_t> reply(
        ::xcb_get_property_reply(display, cookie, nullptr));
    if (!reply || reply->format != 8) return std::nullopt;
    return std::string(
        static_cast<const char*>(::xcb_get_property_value(reply.get())),
        reply->value_len);
  }

  // Those of `windows` that belong to an owner, in the same order. The numbers
  // of processes mean something only for those of this machine.
  [[nodiscard]] Windows owned(const Windows& windows,
                              const IsWindowOwner& isOwner) const {
    struct Question {
      xcb_get_property_cookie_t process, machine, type;
    };
    std::vector<Question> questions;
    for (const xcb_window_t window : windows) {
      questions.push_back({askProperty(window, atoms[kWindowProcess]),
                           askProperty(window, XCB_ATOM_WM_CLIENT_MACHINE),
                           askProperty(window, atoms[kWindowType])});
    }
    Windows found;
    const std::string host = hostName();
    for (std::size_t i = 0; i < windows.size(); ++i) {
      const auto process = numbers(questions[i].process);
      const auto machine = text(questions[i].machine);
      const auto types = numbers(questions[i].type);
      const bool isBackground =
          std::any_of(types.begin(), types.end(), [this](std::uint32_t type) {
            return type == atoms[kTypeDesktop] || type == atoms[kTypeDock];
          });
      if (process.size() == 1 && !isBackground &&
          (!machine || *machine == host) &&
          isOwner(static_cast<std::int32_t>(process.front()))) {
        found.push_back(windows[i]);
      }
    }
    return found;
  }

  // The children of the root that are mapped: all windows, where no window
  // manager has put frames around them.
  [[nodiscard]] Windows mappedWindows() const {
    const CPointer<xcb_query_tree_reply_t> tree(::xcb_query_tree_reply(
        display, ::xcb_query_tree(display, root), nullptr));
    if (!tree) return {};
    const xcb_window_t* const children = ::xcb_query_tree_children(tree.get());
    std::vector<xcb_get_window_attributes_cookie_t> questions;
    for (std::uint16_t i = 0; i < tree->children_len; ++i) {
      questions.push_back(::xcb_get_window_attributes(display, children[i]));
    }
    Windows mapped;
    for (std::size_t i = 0; i < questions.size(); ++i) {
      const CPointer<xcb_get_window_attributes_reply_t> attributes(
          ::xcb_get_window_attributes_reply(display, questions[i], nullptr));
      if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE) {
        mapped.push_back(children[i]);
      }
    }
    return mapped;
  }

  // What the window manager has, the frontmost last.
  [[nodiscard]] Windows clientWindows() const {
    Windows windows = rootNumbers(kClientListStacking);
    return windows.empty() ? rootNumbers(kClientList) : windows;
  }

  void sendToRoot(xcb_window_t window, Atom type,
                  const std::array<std::uint32_t, 5>& data) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atoms[type];
    std::copy(data.begin(), data.end(), event.data.data32);
    ::xcb_send_event(display, 0, root,
                     XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY |
                         XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                     reinterpret_cast<const char*>(&event));
  }

  // Puts a window above all others without making it active.
  void raise(xcb_window_t window, bool hasRestacking) const {
    if (hasRestacking) {
      sendToRoot(window, kRestackWindow,
                 {kSourceIsPager, XCB_WINDOW_NONE, XCB_STACK_MODE_ABOVE, 0, 0});
      return;
    }
    const std::uint32_t mode = XCB_STACK_MODE_ABOVE;
    ::xcb_configure_window(display, window, XCB_CONFIG_WINDOW_STACK_MODE,
                           &mode);
  }

  [[nodiscard]] bool isActive(const Windows& windows) const {
    const auto active = rootNumbers(kActiveWindow);
    return !active.empty() && std::find(windows.begin(), windows.end(),
                                        active.front()) != windows.end();
  }

  // Sleeps until something has happened; false after the deadline and when the
  // display has gone.
  [[nodiscard]] bool waitUntil(
      std::chrono::steady_clock::time_point deadline) const {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (rest.count() <= 0 || ::xcb_connection_has_error(display) != 0) {
      return false;
    }
    pollfd events = {::xcb_get_file_descriptor(display), POLLIN, 0};
    ::poll(&events, 1, static_cast<int>(rest.count()));
    return true;
  }

  // True if there was any.
  bool dropEvents() const {
    bool wasAny = false;
    while (CPointer<xcb_generic_event_t>(::xcb_poll_for_event(display))) {
      wasAny = true;
    }
    return wasAny;
  }

  // The windows that were mapped, and whether the window manager's list of them
  // has changed.
  [[nodiscard]] std::pair<Windows, bool> takeEvents() const {
    std::pair<Windows, bool> seen;
    while (const auto event =
               CPointer<xcb_generic_event_t>(::xcb_poll_for_event(display))) {
      const int type = event->response_type & ~0x80;
      if (type == XCB_MAP_NOTIFY) {
        seen.first.push_back(
            reinterpret_cast<const xcb_map_notify_event_t*>(event.get())
                ->window);
      } else if (type == XCB_PROPERTY_NOTIFY) {
        const xcb_atom_t name =
            reinterpret_cast<const xcb_property_notify_event_t*>(event.get())
                ->atom;
        seen.second = seen.second || name == atoms[kClientList] ||
                      name == atoms[kClientListStacking];
      }
    }
    return seen;
  }

  // A window manager that has gone leaves its properties behind, but not the
  // window that they name.
  [[nodiscard]] bool hasWindowManager() const {
    const auto check = rootNumbers(kManagerCheck);
    return check.size() == 1 &&
           numbers(askProperty(check.front(), atoms[kManagerCheck])) == check;
  }
};

WindowSystem::WindowSystem(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {}
WindowSystem::~WindowSystem() = default;

std::unique_ptr<WindowSystem> WindowSystem::connect() {
  const char* const name = std::getenv("DISPLAY");
  if (name == nullptr || *name == '\0') return nullptr;
  const PipeSignalGuard guard;
  auto connection = std::make_unique<Connection>();
  int screenNumber = 0;
  connection->display = ::xcb_connect(nullptr, &screenNumber);
  if (::xcb_connection_has_error(connection->display) != 0) return nullptr;
  auto screens =
      ::xcb_setup_roots_iterator(::xcb_get_setup(connection->display));
  for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
    ::xcb_screen_next(&screens);
  }
  if (screens.rem == 0) return nullptr;
  connection->root = screens.data->root;
  connection->internAtoms();
  return std::unique_ptr<WindowSystem>(new WindowSystem(std::move(connection)));
}

int WindowSystem::descriptor() const {
  return ::xcb_get_file_descriptor(connection_->display);
}

bool WindowSystem::isBroken() const {
  return ::xcb_connection_has_error(connection_->display) != 0;
}

bool WindowSystem::hasWindow(const IsWindowOwner& isOwner) {
  const PipeSignalGuard guard;
  connection_->select(XCB_EVENT_MASK_PROPERTY_CHANGE |
                      XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
  return !connection_->owned(connection_->clientWindows(), isOwner).empty() ||
         !connection_->owned(connection_->mappedWindows(), isOwner).empty();
}

bool WindowSystem::hasNewWindow(const IsWindowOwner& isOwner) {
  const PipeSignalGuard guard;
  // Events that come along with the answers below wake nobody, so they are
  // looked at now.
  while (true) {
    const auto [windows, didListChange] = connection_->takeEvents();
    if (windows.empty() && !didListChange) return false;
    if (!connection_->owned(windows, isOwner).empty() ||
        (didListChange &&
         !connection_->owned(connection_->clientWindows(), isOwner).empty())) {
      return true;
    }
  }
}

std::vector<std::int32_t> WindowSystem::ownersFromBelow() const {
  const PipeSignalGuard guard;
  std::vector<std::int32_t> owners;
  (void)connection_->owned(connection_->clientWindows(),
                           [&owners](std::int32_t process) {
                             owners.push_back(process);
                             return true;
                           });
  return owners;
}

bool WindowSystem::bringToFront(const IsWindowOwner& isOwner, bool allWindows,
                                std::chrono::milliseconds limit) {
  const PipeSignalGuard guard;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  connection_->select(XCB_EVENT_MASK_PROPERTY_CHANGE);
  if (!connection_->hasWindowManager()) return false;
  const auto windows =
      connection_->owned(connection_->clientWindows(), isOwner);
  if (windows.empty()) return false;

  if (allWindows) {
    const auto supported = connection_->rootNumbers(kSupported);
    const bool hasRestacking =
        std::find(supported.begin(), supported.end(),
                  connection_->atoms[kRestackWindow]) != supported.end();
    for (const xcb_window_t window : windows) {
      connection_->raise(window, hasRestacking);
    }
  }
  connection_->sendToRoot(windows.back(), kActiveWindow,
                          {kSourceIsPager, XCB_CURRENT_TIME, 0, 0, 0});
  ::xcb_flush(connection_->display);
  // Asking delivers what was sent, also when there is nothing to wait for.
  while (!connection_->isActive(windows)) {
    if (connection_->dropEvents()) continue;  // they came with the answer
    if (!connection_->waitUntil(deadline)) return false;
  }
  return true;
}

}  // namespace quillhaven::platform::internal
