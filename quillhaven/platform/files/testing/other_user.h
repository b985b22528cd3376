// Runs part of a test without the rights of the superuser.
#ifndef QUILLHAVEN_PLATFORM_FILES_TESTING_OTHER_USER_H_
#define QUILLHAVEN_PLATFORM_FILES_TESTING_OTHER_USER_H_

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillhaven::platform::testing {

// A user that no database has an entry for.
inline constexpr uid_t kUnknownUser = 3'900'000'001U;

// Runs `work`, which returns whether all was well, in a child process and
// returns what that does. The child is the user `user` when the tests run as
// the superuser, else whoever runs them. Expectations do not leave the child.
template <typename Work>
bool isTrueForUser(uid_t user, const Work& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    const bool isReady =
        ::geteuid() != 0 || (::setresgid(user, user, user) == 0 &&
                             ::setresuid(user, user, user) == 0);
    ::_exit(isReady && work() ? 0 : 1);
  }
  int status = 1;
  return ::waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_FILES_TESTING_OTHER_USER_H_
