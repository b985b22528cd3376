#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "quillhaven/platform/process/child_process.h"

namespace quillhaven::platform {
namespace {

constexpr int kFirstOtherDescriptor = STDERR_FILENO + 1;

void throwIfFailed(int error, const std::string& subject) {
  if (error != 0) {
    throw std::system_error(error, std::system_category(), subject);
  }
}

// The calls that make the three streams of the child, in the child.
class FileActions {
 public:
  FileActions() {
    throwIfFailed(::posix_spawn_file_actions_init(&actions_), "posix_spawn");
  }
  ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  // `moved` keeps descriptors until the child has started.
  void addStream(int target, const ChildStream& stream,
                 std::vector<UniqueFd>& moved) {
    if (stream.kind == ChildStream::Kind::kDescriptor) {
      duplicate(source(stream.descriptor, target, moved), target);
    } else if (stream.kind == ChildStream::Kind::kHosts &&
               ::fcntl(target, F_GETFD) >= 0) {
      duplicate(target, target);  // clears a close-on-exec mark
    } else {
      const int mode = target == STDIN_FILENO ? O_RDONLY : O_WRONLY;
      throwIfFailed(::posix_spawn_file_actions_addopen(&actions_, target,
                                                       "/dev/null", mode, 0),
                    "/dev/null");
    }
  }

  void addChangeOfDirectory(const std::string& path) {
    throwIfFailed(
        ::posix_spawn_file_actions_addchdir_np(&actions_, path.c_str()), path);
  }

  // What the host or other libraries opened without close-on-exec, too.
  void addCloseOfAllOthers() {
    throwIfFailed(::posix_spawn_file_actions_addclosefrom_np(
                      &actions_, kFirstOtherDescriptor),
                  "posix_spawn");
  }

  [[nodiscard]] const posix_spawn_file_actions_t* get() const {
    return &actions_;
  }

 private:
  void duplicate(int descriptor, int target) {
    throwIfFailed(
        ::posix_spawn_file_actions_adddup2(&actions_, descriptor, target),
        "posix_spawn");
  }

  // One of the host's standard streams, given as another one, would be
  // overwritten before its turn comes.
  static int source(int descriptor, int target, std::vector<UniqueFd>& moved) {
    if (descriptor >= kFirstOtherDescriptor || descriptor == target) {
      return descriptor;
    }
    moved.emplace_back(
        ::fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstOtherDescriptor));
    throwIfFailed(moved.back().valid() ? 0 : errno, "file descriptor");
    return moved.back().get();
  }

  posix_spawn_file_actions_t actions_;
};

// An ignored SIGPIPE or a blocked SIGTERM of the host is none of the child's
// business: its own pipelines would end in another way.
class SpawnAttributes {
 public:
  explicit SpawnAttributes(bool hasOwnSession) {
    throwIfFailed(::posix_spawnattr_init(&attributes_), "posix_spawn");
    sigset_t all;
    sigset_t none;
    ::sigfillset(&all);
    ::sigemptyset(&none);
    ::posix_spawnattr_setsigdefault(&attributes_, &all);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    int flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    if (hasOwnSession) flags |= POSIX_SPAWN_SETSID;
    ::posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
  }
  ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

// Strings as the kernel takes them: pointers with a null one at the end.
class StringVector {
 public:
  void add(std::string text) {
    if (text.find('\0') != std::string::npos)
      throwIfFailed(EINVAL, text.c_str());
    texts_.push_back(std::move(text));
  }

  char* const* pointers() {
    pointers_.clear();
    for (std::string& text : texts_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
    return pointers_.data();
  }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> pointers_;
};

// The child changes its folder before it looks for the program.
std::string pathOfProgram(const LaunchRequest& request) {
  const bool isRelative =
      !request.executable.empty() && !request.executable.starts_with('/');
  if (!isRelative || request.currentDirectory.empty()) {
    return request.executable;
  }
  return std::filesystem::absolute(request.executable).string();
}

// What a launch failed for: the folder, if it is one that cannot be entered.
const std::string& culprit(const LaunchRequest& request) {
  const std::string& folder = request.currentDirectory;
  const bool isFolderBad =
      !folder.empty() && ::access((folder + "/.").c_str(), X_OK) != 0;
  return isFolderBad ? folder : request.executable;
}

pid_t spawn(const LaunchRequest& request) {
  StringVector arguments;
  arguments.add(request.executable);
  for (const std::string& argument : request.arguments) arguments.add(argument);
  StringVector environment;
  if (request.environment) {
    for (const auto& [name, value] : *request.environment) {
      environment.add(std::string(name).append("=").append(value));
    }
  }

  std::vector<UniqueFd> moved;
  FileActions actions;
  actions.addStream(STDIN_FILENO, request.standardInput, moved);
  actions.addStream(STDOUT_FILENO, request.standardOutput, moved);
  actions.addStream(STDERR_FILENO, request.standardError, moved);
  if (!request.currentDirectory.empty()) {
    actions.addChangeOfDirectory(request.currentDirectory);
  }
  actions.addCloseOfAllOthers();

  const SpawnAttributes attributes(request.hasOwnSession);
  pid_t pid = -1;
  const int error =
      ::posix_spawn(&pid, pathOfProgram(request).c_str(), actions.get(),
                    attributes.get(), arguments.pointers(),
                    request.environment ? environment.pointers() : environ);
  throwIfFailed(error, culprit(request));
  return pid;
}

// The C library's own declarations of these two lack C linkage in 2.36.
int openProcess(pid_t pid) {
  return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
}

bool sendSignal(const UniqueFd& processFd, int number) {
  return ::syscall(SYS_pidfd_send_signal, processFd.get(), number, nullptr,
                   0) == 0;
}

// Asks for the status of a child; leaves `info.si_pid` 0 while it runs. False
// when there is no such child any more.
bool askForStatus(pid_t pid, const UniqueFd& processFd, int options,
                  siginfo_t& info) {
  const idtype_t type = processFd.valid() ? P_PIDFD : P_PID;
  const int child = processFd.valid() ? processFd.get() : pid;
  info.si_pid = 0;
  int result;
  do {
    result = ::waitid(type, static_cast<id_t>(child), &info, options);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

std::unique_ptr<ChildProcess> ChildProcess::launch(
    const LaunchRequest& request) {
  const pid_t pid = spawn(request);
  // Nobody else can have the number before the child was waited for.
  UniqueFd processFd(openProcess(pid));
  return std::unique_ptr<ChildProcess>(
      new ChildProcess(pid, std::move(processFd)));
}

ChildProcess::~ChildProcess() {
  if (poll()) return;
  try {
    std::thread([pid = pid_, fd = std::move(processFd_)] {
      siginfo_t info;
      askForStatus(pid, fd, WEXITED, info);
    }).detach();
  } catch (const std::system_error&) {
    // Without a thread the zombie stays until this process ends.
  }
}

std::optional<int> ChildProcess::exitDescriptor() const {
  if (!processFd_.valid()) return std::nullopt;
  return processFd_.get();
}

std::optional<ExitStatus> ChildProcess::poll() {
  const std::lock_guard guard(lock_);
  if (status_) return status_;
  siginfo_t info;
  if (!askForStatus(pid_, processFd_, WEXITED | WNOHANG, info)) {
    status_ = ExitStatus{ExitStatus::Reason::kUnknown};
  } else if (info.si_pid != 0) {
    const bool hasExited = info.si_code == CLD_EXITED;
    status_ = ExitStatus{
        hasExited ? ExitStatus::Reason::kExited : ExitStatus::Reason::kSignaled,
        info.si_status};
  }
  return status_;
}

ExitStatus ChildProcess::wait() {
  while (true) {
    if (const auto status = poll()) return *status;
    // Left for poll() to take, so that the lock is not held meanwhile.
    siginfo_t info;
    askForStatus(pid_, processFd_, WEXITED | WNOWAIT, info);
  }
}

bool ChildProcess::signal(int number) {
  const std::lock_guard guard(lock_);
  if (status_) return false;
  if (processFd_.valid()) {
    return sendSignal(processFd_, number);
  }
  return ::kill(pid_, number) == 0;
}

}  // namespace quillhaven::platform
