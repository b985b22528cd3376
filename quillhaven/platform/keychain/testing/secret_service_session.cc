#include "quillhaven/platform/keychain/testing/secret_service_session.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "quillhaven/platform/run_loop/internal/glib_pointers.h"

// libsecret drops the main context of a prompt before GLib has freed 16 bytes
// through it. LeakSanitizer sees whose they are only with whole stacks.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) const char*
__asan_default_options() {
  return "fast_unwind_on_malloc=0";
}
extern "C" __attribute__((visibility("default"))) const char*
__lsan_default_suppressions() {
  return "leak:_secret_prompt_instance\n";
}
// GLib's D-Bus threads hand over under locks that are not instrumented.
extern "C" __attribute__((visibility("default"))) const char*
__tsan_default_suppressions() {
  return "called_from_lib:libgio-2.0.so\n"
         "called_from_lib:libsecret-1.so\n"
         "race:libgobject-2.0.so\n"
         "mutex:libgobject-2.0.so\n";
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace quillhaven::platform::testing {
namespace {

using Clock = std::chrono::steady_clock;

// Far above what anything here takes, also under a sanitizer on a busy machine.
constexpr std::chrono::seconds kDeadline{60};

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "SecretServiceSession: %s\n", what);
  std::abort();
}

[[noreturn]] void runChild(std::vector<char*>& arguments, int input,
                           int output) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::dup2(input, STDIN_FILENO);
  ::dup2(output, 3);
  ::execvp(arguments[0], arguments.data());
  std::perror(arguments[0]);
  ::_exit(127);
}

bool isServiceThere() {
  const internal::GObjectPtr<GDBusConnection> bus(
      ::g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  require(bus != nullptr, "no connection to the bus");
  ::g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  const internal::GVariantPtr answer(::g_dbus_connection_call_sync(
      bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
      "org.freedesktop.DBus", "NameHasOwner",
      ::g_variant_new("(s)", "org.freedesktop.secrets"), nullptr,
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  gboolean isThere = FALSE;
  if (answer) ::g_variant_get(answer.get(), "(b)", &isThere);
  return isThere != FALSE;
}

void waitForService(bool isThere) {
  const Clock::time_point deadline = Clock::now() + kDeadline;
  while (isServiceThere() != isThere) {
    require(Clock::now() < deadline, "the keychain service does not answer");
    ::poll(nullptr, 0, 5);
  }
}

std::string busConfiguration(const std::string& folder,
                             const SessionOptions& options) {
  const std::string path = folder + "/bus.conf";
  std::ofstream(path)
      << "<busconfig><type>session</type><listen>unix:dir=" << folder
      << "</listen>"
      << (options.hasActivatableServices ? "<standard_session_servicedirs/>"
                                         : "")
      << "<policy context='default'><allow send_destination='*'/>"
         "<allow eavesdrop='false'/><allow own='*'/></policy></busconfig>";
  return path;
}

}  // namespace

void ChildProcess::start(std::vector<std::string> command,
                         const std::string& input) {
  int in[2];
  int out[2];
  require(::pipe2(in, O_CLOEXEC) == 0 && ::pipe2(out, O_CLOEXEC) == 0, "pipe");
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  pid_ = ::fork();
  require(pid_ >= 0, "fork");
  if (pid_ == 0) runChild(arguments, in[0], out[1]);
  ::close(in[0]);
  ::close(out[1]);
  output_ = out[0];
  require(::write(in[1], input.data(), input.size()) ==
              static_cast<ssize_t>(input.size()),
          "write");
  ::close(in[1]);
}

std::string ChildProcess::readLine() {
  std::string line;
  char c = '\0';
  while (::read(output_, &c, 1) == 1 && c != '\n') line.push_back(c);
  return line;
}

int ChildProcess::wait() {
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
  stop();
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ChildProcess::stop() {
  if (pid_ > 0) {
    ::kill(pid_, SIGTERM);
    ::waitpid(pid_, nullptr, 0);
  }
  if (output_ >= 0) ::close(output_);
  pid_ = output_ = -1;
}

SecretServiceSession::SecretServiceSession(SessionOptions options) {
  std::string name =
      (std::filesystem::temp_directory_path() / "quillhaven-XXXXXX").string();
  require(::mkdtemp(name.data()) != nullptr, "mkdtemp");
  folder_ = name;
  for (const char* variable :
       {"DISPLAY", "WAYLAND_DISPLAY", "XDG_DATA_HOME", "QUILLHAVEN_KEYCHAIN"}) {
    ::unsetenv(variable);
  }
  const std::string runtime = folder_ + "/run";
  std::filesystem::create_directory(runtime);
  std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
  ::setenv("HOME", folder_.c_str(), 1);
  ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);

  if (options.hasDisplay) {
    display_.start({"Xvfb", "-displayfd", "3", "-screen", "0", "640x480x24",
                    "-nolisten", "tcp"});
    const std::string display = ":" + display_.readLine();
    require(display.size() > 1, "Xvfb gives no display");
    ::setenv("DISPLAY", display.c_str(), 1);
    windowManager_.start({"openbox"});
  }
  const std::string file = busConfiguration(folder_, options);
  bus_.start({"dbus-daemon", "--config-file=" + file, "--nofork", "--nopidfile",
              "--print-address=3"});
  const std::string address = bus_.readLine();
  require(!address.empty(), "dbus-daemon gives no address");
  ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
}

SecretServiceSession::~SecretServiceSession() {
  keyring_.stop();
  bus_.stop();
  windowManager_.stop();
  display_.stop();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void SecretServiceSession::startKeyring(bool withLoginKeyring) {
  stopKeyring();
  std::vector<std::string> command = {"gnome-keyring-daemon", "--foreground",
                                      "--components=secrets"};
  if (withLoginKeyring) command.emplace_back("--unlock");
  keyring_.start(command, withLoginKeyring ? kPassword : "");
  waitForService(true);
}

void SecretServiceSession::stopKeyring() {
  keyring_.stop();
  waitForService(false);
}

}  // namespace quillhaven::platform::testing
