#include "cli/testing/program.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>

namespace quillhaven::cli::testing {
namespace {

using Clock = std::chrono::steady_clock;

// Far above what any run takes, also under a sanitizer on a busy machine.
constexpr std::chrono::seconds kDeadline{60};

void require(bool condition) {
  if (!condition) std::abort();
}

// Our end of a stream and the child's.
struct Ends {
  platform::UniqueFd ours;
  platform::UniqueFd childs;
};

Ends makePipe(bool childReads) {
  int fds[2];
  require(::pipe2(fds, O_CLOEXEC) == 0);
  Ends ends{platform::UniqueFd(fds[0]), platform::UniqueFd(fds[1])};
  if (childReads) std::swap(ends.ours, ends.childs);
  return ends;
}

Ends makeStream(Stream stream) {
  if (stream == Stream::kPipe) return makePipe(false);
  if (stream == Stream::kFull) {
    return {platform::UniqueFd(),
            platform::UniqueFd(::open("/dev/full", O_WRONLY | O_CLOEXEC))};
  }
  int ours = -1;
  int childs = -1;
  require(::openpty(&ours, &childs, nullptr, nullptr, nullptr) == 0);
  ::fcntl(ours, F_SETFD, FD_CLOEXEC);
  ::fcntl(childs, F_SETFD, FD_CLOEXEC);
  return {platform::UniqueFd(ours), platform::UniqueFd(childs)};
}

// Reads what is there; closes `fd` at the end, which is EIO for a terminal.
void readAvailable(platform::UniqueFd& fd, std::string& text) {
  char piece[64 * 1024];
  const ssize_t count = ::read(fd.get(), piece, sizeof piece);
  if (count > 0) {
    text.append(piece, static_cast<std::size_t>(count));
  } else if (count == 0 || errno != EINTR) {
    fd.reset();
  }
}

}  // namespace

Program::Program(const std::string& path, std::vector<std::string> arguments,
                 Stream output, Stream error) {
  Ends in = makePipe(true);
  Ends out = makeStream(output);
  Ends err = makeStream(error);

  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, in.childs.get(), 0);
  ::posix_spawn_file_actions_adddup2(&actions, out.childs.get(), 1);
  ::posix_spawn_file_actions_adddup2(&actions, err.childs.get(), 2);
  std::vector<char*> argv;
  std::string name = path;
  argv.push_back(name.data());
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  // This program ignores SIGPIPE; the child is to decide for itself.
  ::signal(SIGPIPE, SIG_IGN);
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  ::posix_spawnattr_setsigdefault(&attributes, &defaults);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  require(::posix_spawn(&pid_, path.c_str(), &actions, &attributes, argv.data(),
                        environ) == 0);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);

  input_ = std::move(in.ours);
  ::fcntl(input_.get(), F_SETFL, O_NONBLOCK);
  output_ = std::move(out.ours);
  error_ = std::move(err.ours);
}

Program::~Program() {
  if (pid_ < 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

void Program::write(std::string_view bytes) {
  // Reads meanwhile, because the child may wait for that before it reads on.
  const auto writeSome = [&] {
    const ssize_t count = ::write(input_.get(), bytes.data(), bytes.size());
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    if (count < 0 && errno != EAGAIN) bytes = {};
    return bytes.empty();
  };
  readUntil(writeSome);
}

template <typename Condition>
void Program::readUntil(const Condition& isDone) {
  const Clock::time_point deadline = Clock::now() + kDeadline;
  while (!isDone() && (output_.valid() || error_.valid()) &&
         Clock::now() < deadline) {
    pollfd waiting[] = {{output_.get(), POLLIN, 0}, {error_.get(), POLLIN, 0}};
    if (::poll(waiting, 2, 10) <= 0) continue;
    if (waiting[0].revents != 0) readAvailable(output_, outputText_);
    if (waiting[1].revents != 0) readAvailable(error_, errorText_);
  }
}

const std::string& Program::readOutputUntil(std::string_view text) {
  readUntil([&] {
    return !output_.valid() || outputText_.find(text) != std::string::npos;
  });
  return outputText_;
}

const std::string& Program::readErrorUntil(std::string_view text) {
  readUntil([&] {
    return !error_.valid() || errorText_.find(text) != std::string::npos;
  });
  return errorText_;
}

bool Program::outputBecomesFull() const {
  const int capacity = ::fcntl(output_.get(), F_GETPIPE_SZ);
  const Clock::time_point deadline = Clock::now() + kDeadline;
  int unread = 0;
  while (::ioctl(output_.get(), FIONREAD, &unread) == 0 && unread < capacity &&
         Clock::now() < deadline) {
    ::poll(nullptr, 0, 1);
  }
  return unread == capacity;
}

void Program::signal(int number) const { ::kill(pid_, number); }

std::optional<int> Program::closeInputAndWait() {
  input_.reset();
  return wait();
}

std::optional<int> Program::wait() {
  readUntil([] { return false; });
  const Clock::time_point deadline = Clock::now() + kDeadline;
  int status = 0;
  pid_t ended = 0;
  while ((ended = ::waitpid(pid_, &status, WNOHANG)) == 0 &&
         Clock::now() < deadline) {
    ::poll(nullptr, 0, 1);
  }
  if (ended != pid_) return std::nullopt;
  pid_ = -1;
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

RunResult runProgram(const std::string& path,
                     std::vector<std::string> arguments, std::string_view input,
                     Stream output, Stream error) {
  Program program(path, std::move(arguments), output, error);
  program.write(input);
  const auto status = program.closeInputAndWait();
  return {status, program.output(), program.error()};
}

}  // namespace quillhaven::cli::testing
