#include "benchmarks/process_fixtures.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "quillhaven/platform/base/unique_fd.h"

namespace quillhaven::benchmarks {
namespace {

using platform::UniqueFd;

struct Pipe {
  UniqueFd reader;
  UniqueFd writer;
};

Pipe makePipe() {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) return {};
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

bool raiseDescriptorLimit(std::size_t count) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur > count + 64;
}

// Opens both ends of a connection to `listening`, for the life of the process.
bool openConnection(int listening, const sockaddr_in& address) {
  const int client = ::socket(AF_INET, SOCK_STREAM, 0);
  return ::connect(client, reinterpret_cast<const sockaddr*>(&address),
                   sizeof address) == 0 &&
         ::accept(listening, nullptr, nullptr) >= 0;
}

bool openDescriptors(std::size_t count, std::size_t fileCount) {
  if (!raiseDescriptorLimit(count)) return false;
  for (std::size_t i = 0; i < fileCount; ++i) {
    if (::open("/dev/null", O_RDONLY) < 0) return false;
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  const int listening = ::socket(AF_INET, SOCK_STREAM, 0);
  if (::bind(listening, any, size) != 0 || ::listen(listening, 128) != 0 ||
      ::getsockname(listening, any, &size) != 0) {
    return false;
  }
  for (std::size_t i = fileCount; i + 1 < count; i += 2) {
    if (!openConnection(listening, address)) return false;
  }
  return true;
}

// In a new child: it is not to outlive its parent.
void dieWithParent() { ::prctl(PR_SET_PDEATHSIG, SIGKILL); }

}  // namespace

Children::~Children() {
  for (const pid_t pid : pids_) ::kill(pid, SIGKILL);
  for (const pid_t pid : pids_) ::waitpid(pid, nullptr, 0);
}

pid_t Children::addSocketHolder(std::size_t count, std::size_t fileCount) {
  Pipe ready = makePipe();
  const pid_t pid = ::fork();
  if (pid < 0) return -1;
  if (pid == 0) {
    dieWithParent();
    ready.reader.reset();
    if (!openDescriptors(count, fileCount)) ::_exit(1);
    if (::write(ready.writer.get(), "r", 1) != 1) ::_exit(1);
    while (true) ::pause();
  }
  pids_.push_back(pid);
  ready.writer.reset();
  char byte;
  return ::read(ready.reader.get(), &byte, 1) == 1 ? pid : -1;
}

bool Children::addWaiting(std::size_t count, const std::string& program) {
  Pipe executed = makePipe();  // closed in a child by executing
  for (std::size_t i = 0; i < count; ++i) {
    const pid_t pid = ::fork();
    if (pid < 0) return false;
    if (pid == 0) {
      dieWithParent();
      ::execl(program.c_str(), program.c_str(), "infinity", nullptr);
      ::_exit(1);
    }
    pids_.push_back(pid);
  }
  executed.writer.reset();
  char byte;
  return ::read(executed.reader.get(), &byte, 1) == 0;
}

ProgramRun runToEnd(const std::vector<std::string>& arguments) {
  ProgramRun run;
  Pipe output = makePipe();
  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, output.writer.get(), 1);
  ::posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  const int error =
      ::posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) return run;
  output.writer.reset();
  char piece[65536];
  ssize_t count;
  while ((count = ::read(output.reader.get(), piece, sizeof piece)) > 0) {
    run.output.append(piece, static_cast<std::size_t>(count));
  }
  int status = 0;
  run.isDone = ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
               WEXITSTATUS(status) != 127;
  return run;
}

}  // namespace quillhaven::benchmarks
