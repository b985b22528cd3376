// An application for tests: does one thing after the other, as its arguments
// say, and runs until it is ended.
#include <gio/gio.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include <fcntl.h>

namespace {

void write(const std::string& path, const std::string& text) {
  std::ofstream(path + ".part") << text;
  ::rename((path + ".part").c_str(), path.c_str());
}

std::string openDescriptors() {
  std::string text;
  for (int fd = 0; fd < 4096; ++fd) {
    if (::fcntl(fd, F_GETFD) >= 0) text += std::to_string(fd) + " ";
  }
  return text;
}

// Sends to $NOTIFY_SOCKET, with a descriptor if there is one to send.
void notify(std::string_view text, int descriptor = -1) {
  const std::string_view path = std::getenv("NOTIFY_SOCKET");
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  std::memcpy(name.sun_path + 1, path.data() + 1, path.size() - 1);
  iovec piece = {const_cast<char*>(text.data()), text.size()};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message{};
  message.msg_name = &name;
  message.msg_namelen =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
  message.msg_iov = &piece;
  message.msg_iovlen = 1;
  if (descriptor >= 0) {
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
  }
  const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
  if (::sendmsg(socket, &message, MSG_NOSIGNAL) < 0) std::abort();
  ::close(socket);
}

// Waits until what was sent has been read, as systemd-notify does.
void notifyBarrier() {
  int ends[2];
  if (::pipe(ends) != 0) std::abort();
  notify("BARRIER=1", ends[1]);
  ::close(ends[1]);
  pollfd reader = {ends[0], 0, 0};
  ::poll(&reader, 1, -1);
}

// Makes and maps windows, so many, and leaves them.
void openWindows(int count, bool hasProcess) {
  xcb_connection_t* const display = ::xcb_connect(nullptr, nullptr);
  if (::xcb_connection_has_error(display) != 0) std::abort();
  const xcb_screen_t* const screen =
      ::xcb_setup_roots_iterator(::xcb_get_setup(display)).data;
  const auto cookie = ::xcb_intern_atom(display, 0, 11, "_NET_WM_PID");
  xcb_intern_atom_reply_t* const atom =
      ::xcb_intern_atom_reply(display, cookie, nullptr);
  for (int i = 0; i < count; ++i) {
    const xcb_window_t window = ::xcb_generate_id(display);
    const auto at = static_cast<std::int16_t>(20 * i);
    ::xcb_create_window(display, XCB_COPY_FROM_PARENT, window, screen->root, at,
                        at, 100, 100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                        screen->root_visual, 0, nullptr);
    const auto pid = static_cast<std::uint32_t>(::getpid());
    if (hasProcess) {
      ::xcb_change_property(display, XCB_PROP_MODE_REPLACE, window, atom->atom,
                            XCB_ATOM_CARDINAL, 32, 1, &pid);
    }
    ::xcb_map_window(display, window);
  }
  std::free(atom);
  ::xcb_flush(display);
}

// Takes its name on the bus; on the request to quit and keep its state, writes
// that to `file` and ends.
[[noreturn]] void serve(const char* name, const std::string& file) {
  GApplication* const application =
      ::g_application_new(name, G_APPLICATION_DEFAULT_FLAGS);
  if (!file.empty()) {
    GSimpleAction* const action =
        ::g_simple_action_new("quit-preserving-state", nullptr);
    g_signal_connect_data(
        action, "activate",
        G_CALLBACK(+[](GSimpleAction*, GVariant*, gpointer path) {
          write(static_cast<const char*>(path), "saved");
          ::_exit(0);
        }),
        const_cast<char*>(file.c_str()), nullptr,
        static_cast<GConnectFlags>(0));
    ::g_action_map_add_action(G_ACTION_MAP(application), G_ACTION(action));
  }
  ::g_application_hold(application);
  g_signal_connect_data(application, "activate", G_CALLBACK(+[] {}), nullptr,
                        nullptr, static_cast<GConnectFlags>(0));
  ::_exit(::g_application_run(application, 0, nullptr));
}

}  // namespace

int main(int count, char** arguments) {
  const char* identifier =
      count > 0 ? std::getenv("APPLICATION_NAME") : nullptr;
  for (int i = 1; i < count; ++i) {
    const std::string_view step = arguments[i];
    const char* const value = i + 1 < count ? arguments[i + 1] : "";
    if (step == "descriptors") {
      write(value, openDescriptors());
      ++i;
    } else if (step == "write") {
      write(value, "here");
      ++i;
    } else if (step == "await") {
      while (::access(value, F_OK) != 0) ::poll(nullptr, 0, 2);
      ++i;
    } else if (step == "notify") {
      notify(value);
      ++i;
    } else if (step == "barrier") {
      notifyBarrier();
    } else if (step == "ignore-term") {
      ::signal(SIGTERM, SIG_IGN);
    } else if (step == "exit") {
      return std::atoi(value);
    } else if (step == "windows") {
      openWindows(std::atoi(value), true);
      ++i;
    } else if (step == "strange-window") {
      openWindows(1, false);
    } else if (step == "child") {  // does the rest in a process of its own
      if (::fork() != 0) break;
    } else if (step == "serve") {
      serve(identifier, value);
    } else {
      return 99;
    }
  }
  while (true) ::pause();
}
