#include "quillhaven/identity/internal/desktop_opener.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace quillhaven::identity::internal {
namespace {

// The shell ends at once, so that nobody has to wait for the browser and it is
// no child of ours.
constexpr char kScript[] =
    "command -v xdg-open >/dev/null || exit 1\n"
    "xdg-open \"$1\" </dev/null >/dev/null 2>&1 &\n";

// A child starts with all signals as they are in a new program, in a session
// of its own, with the three standard streams only.
class SpawnSettings {
 public:
  SpawnSettings() {
    ::posix_spawnattr_init(&attributes);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK |
                                                POSIX_SPAWN_SETSIGDEF |
                                                POSIX_SPAWN_SETSID);
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, 3);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
  }

  posix_spawnattr_t attributes;
  posix_spawn_file_actions_t actions;
};

}  // namespace

bool openWithDesktop(const std::string& url) {
  std::string texts[] = {"sh", "-c", kScript, "sh", url};
  char* arguments[] = {texts[0].data(), texts[1].data(), texts[2].data(),
                       texts[3].data(), texts[4].data(), nullptr};
  const SpawnSettings settings;
  pid_t child = -1;
  if (::posix_spawn(&child, "/bin/sh", &settings.actions, &settings.attributes,
                    arguments, environ) != 0) {
    return false;
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    // A host that ignores the end of its children leaves no status to read.
    if (errno != EINTR) return true;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace quillhaven::identity::internal
