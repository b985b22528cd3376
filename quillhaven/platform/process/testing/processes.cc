#include "quillhaven/platform/process/testing/processes.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <utility>

namespace quillhaven::platform::testing {
namespace {

namespace fs = std::filesystem;

void require(bool condition) {
  if (!condition) std::abort();
}

struct Pipe {
  UniqueFd reader;
  UniqueFd writer;
};

Pipe makePipe() {
  int ends[2];
  require(::pipe2(ends, O_CLOEXEC) == 0);
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

}  // namespace

bool eventually(const std::function<bool()>& condition) {
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    ::poll(nullptr, 0, 1);
  }
  return true;
}

std::size_t openDescriptorCount() {
  // The listing's own descriptor counts each time.
  return static_cast<std::size_t>(std::distance(
      fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

Child::Child(std::int32_t pid, UniqueFd input, UniqueFd output)
    : pid_(pid), input_(std::move(input)), output_(std::move(output)) {}

Child::Child(Child&& other) noexcept
    : pid_(std::exchange(other.pid_, -1)),
      input_(std::move(other.input_)),
      output_(std::move(other.output_)) {}

Child::~Child() {
  if (pid_ > 0) end();
}

Child Child::start(const std::string& path, std::vector<std::string> argv) {
  Pipe input = makePipe();
  Pipe output = makePipe();
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input.reader.get(), 0);
  ::posix_spawn_file_actions_adddup2(&actions, output.writer.get(), 1);
  std::vector<char*> pointers;
  for (std::string& argument : argv) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  pid_t pid = -1;
  require(::posix_spawn(&pid, path.c_str(), &actions, nullptr, pointers.data(),
                        environ) == 0);
  ::posix_spawn_file_actions_destroy(&actions);
  Child child(pid, std::move(input.writer), std::move(output.reader));
  char byte;
  require(::read(child.output_.get(), &byte, 1) == 1);
  return child;
}

Child Child::run(const std::function<int()>& body) {
  Pipe input = makePipe();
  Pipe output = makePipe();
  const pid_t pid = ::fork();
  require(pid >= 0);
  if (pid == 0) {
    ::dup2(input.reader.get(), 0);
    ::dup2(output.writer.get(), 1);
    // Else it would keep its own input open.
    input.writer.reset();
    ::_exit(body());
  }
  return {pid, std::move(input.writer), std::move(output.reader)};
}

std::string Child::readAll() const {
  std::string text;
  char piece[4096];
  ssize_t count;
  while ((count = ::read(output_.get(), piece, sizeof piece)) > 0) {
    text.append(piece, static_cast<std::size_t>(count));
  }
  return text;
}

std::string Child::readLine() const {
  std::string line;
  char byte;
  while (::read(output_.get(), &byte, 1) == 1 && byte != '\n') {
    line.push_back(byte);
  }
  return line;
}

void Child::kill() {
  ::kill(pid_, SIGKILL);
  siginfo_t ignored;
  require(::waitid(P_PID, static_cast<id_t>(pid_), &ignored,
                   WEXITED | WNOWAIT) == 0);
}

void Child::end() {
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

}  // namespace quillhaven::platform::testing
