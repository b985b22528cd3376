#include "quillhaven/platform/process/child_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/collected_run.h"
#include "quillhaven/platform/process/pipe.h"
#include "quillhaven/platform/process/testing/process_state.h"

namespace quillhaven::platform {
namespace {

using testing::hasNoChildrenSoon;
using testing::openDescriptorCount;
using testing::SignalHandling;
using testing::TemporaryFolder;
using Reason = ExitStatus::Reason;

LaunchRequest shell(const std::string& script) {
  return {.executable = "/bin/sh", .arguments = {"-c", script}};
}

TEST(ChildProcess, SaysWhyAProgramCannotBeStarted) {
  const TemporaryFolder folder;
  const std::string plain = folder.write("plain", "#!/bin/sh\n");
  const std::string script = folder.writeProgram("script", "echo hello\n");
  const std::string orphan = folder.writeProgram("orphan", "#!/nowhere/sh\n");
  const struct {
    LaunchRequest request;
    int error;
    std::string subject;
  } cases[] = {
      {{.executable = folder.path("absent")}, ENOENT, folder.path("absent")},
      {{.executable = ""}, ENOENT, ""},
      {{.executable = "sh"}, ENOENT, "sh"},  // PATH is not searched
      {{.executable = folder.path()}, EACCES, folder.path()},
      {{.executable = plain}, EACCES, plain},
      {{.executable = plain + "/x"}, ENOTDIR, plain + "/x"},
      {{.executable = script}, ENOEXEC, script},
      {{.executable = orphan}, ENOENT, orphan},
      {{.executable = "/bin/true", .currentDirectory = folder.path("absent")},
       ENOENT,
       folder.path("absent")},
      {{.executable = "/bin/true", .arguments = {std::string("a\0b", 3)}},
       EINVAL,
       std::string("a\0b", 3)},
      {{.executable = "/bin/true", .arguments = {std::string(200000, 'x')}},
       E2BIG,
       "/bin/true"},
      {{.executable = "/bin/true", .standardOutput = ChildStream::from(-1)},
       EBADF,
       "file descriptor"},
  };
  const std::size_t descriptors = openDescriptorCount();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.subject.substr(0, 100));
    try {
      ChildProcess::launch(c.request);
      ADD_FAILURE() << "was started";
    } catch (const std::system_error& error) {
      EXPECT_EQ(error.code(), std::error_code(c.error, std::system_category()));
      EXPECT_TRUE(std::string(error.what()).starts_with(c.subject.c_str()))
          << error.what();
    }
  }
  EXPECT_EQ(openDescriptorCount(), descriptors);
  EXPECT_TRUE(hasNoChildrenSoon());
}

TEST(ChildProcess, TellsHowItEnded) {
  const struct {
    std::string script;
    ExitStatus status;
  } cases[] = {
      {"exit 0", {Reason::kExited, 0}},
      {"exit 255", {Reason::kExited, 255}},
      {"kill -KILL $$", {Reason::kSignaled, SIGKILL}},
      {"kill -PIPE $$", {Reason::kSignaled, SIGPIPE}},
  };
  for (const auto& c : cases) {
    const auto child = ChildProcess::launch(shell(c.script));
    EXPECT_EQ(child->wait(), c.status) << c.script;
    EXPECT_EQ(child->poll(), c.status) << c.script;
    EXPECT_FALSE(child->signal(SIGTERM)) << c.script;
  }
  const auto sleeper = ChildProcess::launch(shell("exec sleep 1000"));
  EXPECT_FALSE(sleeper->poll());
  EXPECT_TRUE(sleeper->signal(SIGTERM));
  EXPECT_EQ(sleeper->wait(), (ExitStatus{Reason::kSignaled, SIGTERM}));
}

TEST(ChildProcess, IsUnknownAfterSomebodyElseWaited) {
  const SignalHandling ignored(SIGCHLD, SIG_IGN);
  for (const std::string script : {"exit 0", "exit 3", "sleep 0.05"}) {
    const auto child = ChildProcess::launch(shell(script));
    EXPECT_EQ(child->wait(), (ExitStatus{Reason::kUnknown})) << script;
    EXPECT_FALSE(child->wait().isSuccess());
  }
}

TEST(ChildProcess, InheritsNothingButItsStreams) {
  const UniqueFd leaky(::open("/dev/null", O_RDONLY));  // no close-on-exec
  ASSERT_EQ(::fcntl(leaky.get(), F_DUPFD, 200) > 199, true);
  const CollectedRun run = runCollecting(
      {.executable = QUILLHAVEN_PROCESS_TEST_CHILD, .arguments = {"open"}});
  ::close(200);
  EXPECT_EQ(run.standardOutput, "0 1 2 \n");
}

TEST(ChildProcess, HasSignalsAtTheirDefaults) {
  const SignalHandling ignoredPipe(SIGPIPE, SIG_IGN);
  const SignalHandling ignoredHangUp(SIGHUP, SIG_IGN);
  sigset_t blocked;
  sigset_t previous;
  ::sigfillset(&blocked);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &previous);
  const CollectedRun run =
      runCollecting({.executable = "/bin/sed",
                     .arguments = {"-n", "s/^Sig\\(Blk\\|Ign\\):\t//p",
                                   "/proc/self/status"}});
  ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  // The C library ignores two signals of its own, 32 and 33, in its children.
  EXPECT_EQ(run.standardOutput, "0000000000000000\n0000000180000000\n");
}

TEST(ChildProcess, HasTheStreamsItWasGiven) {
  const TemporaryFolder folder;
  const UniqueFd file(
      ::open(folder.path("file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  // The error stream is our standard output, and the output a file: the latter
  // takes the place of our standard output in the child.
  LaunchRequest request = shell("readlink /proc/$$/fd/0 /proc/$$/fd/2");
  request.standardInput = ChildStream::null();
  request.standardOutput = ChildStream::from(file.get());
  request.standardError = ChildStream::from(STDOUT_FILENO);
  char ours[4096] = {};
  ASSERT_GT(::readlink("/proc/self/fd/1", ours, sizeof ours - 1), 0);
  EXPECT_TRUE(ChildProcess::launch(request)->wait().isSuccess());
  char text[8192] = {};
  ASSERT_GT(::pread(file.get(), text, sizeof text - 1, 0), 0);
  EXPECT_EQ(std::string(text), std::string("/dev/null\n") + ours + "\n");
}

TEST(ChildProcess, HasItsEnvironmentAndFolder) {
  const TemporaryFolder folder;
  folder.writeProgram("program", "#!/bin/sh\npwd\n/usr/bin/env\n");
  const std::string relative = "./" + folder.path().substr(5) + "/program";
  ASSERT_EQ(folder.path().substr(0, 5), "/tmp/");
  const std::string before = std::filesystem::current_path();
  ASSERT_EQ(::chdir("/tmp"), 0);
  const CollectedRun run = runCollecting(
      {.executable = relative,
       .environment = {{{"NAME", "a value"}, {"EMPTY", ""}}},
       .currentDirectory = "/usr"});  // not where the program is looked for
  ASSERT_EQ(::chdir(before.c_str()), 0);
  EXPECT_TRUE(run.status.isSuccess());
  const std::string output = run.standardOutput.string();
  EXPECT_TRUE(output.starts_with("/usr\n")) << output;
  EXPECT_NE(output.find("NAME=a value\n"), std::string::npos) << output;
  EXPECT_NE(output.find("EMPTY=\n"), std::string::npos) << output;
  EXPECT_EQ(output.find("HOME="), std::string::npos) << output;
}

TEST(ChildProcess, HasASessionOfItsOwnOnlyWhenAsked) {
  for (const bool hasOwnSession : {false, true}) {
    const auto child = ChildProcess::launch(
        {.executable = "/bin/cat", .hasOwnSession = hasOwnSession});
    const pid_t session = ::getsid(child->processIdentifier());
    EXPECT_EQ(session == child->processIdentifier(), hasOwnSession);
    EXPECT_EQ(session == ::getsid(0), !hasOwnSession);
    child->signal(SIGKILL);
    child->wait();
  }
}

TEST(ChildProcess, LeavesNoZombieWhenItsObjectGoesFirst) {
  const std::size_t descriptors = openDescriptorCount();
  for (int i = 0; i < 10; ++i) ChildProcess::launch(shell("sleep 0.02"));
  EXPECT_TRUE(hasNoChildrenSoon());
  while (openDescriptorCount() > descriptors) {  // threads about to end
  }
}

TEST(RunCollecting, ReadsBothStreamsWhileTheProgramRuns) {
  const CollectedRun run =
      runCollecting(shell("head -c 3000000 /dev/zero >&2; echo done; exit 4"));
  EXPECT_EQ(run.status, (ExitStatus{Reason::kExited, 4}));
  EXPECT_EQ(run.standardOutput, "done\n");
  EXPECT_EQ(run.standardError.size(), 3000000u);
}

TEST(Pipe, KeepsAwayFromTheStandardStreams) {
  const UniqueFd kept(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100));
  ::close(STDIN_FILENO);
  const auto pipe = Pipe::pipe();
  const CollectedRun run = runCollecting(shell("readlink /proc/$$/fd/0"));
  if (kept.valid()) ::dup2(kept.get(), STDIN_FILENO);
  EXPECT_GT(*pipe->fileHandleForReading(), STDERR_FILENO);
  EXPECT_GT(*pipe->fileHandleForWriting(), STDERR_FILENO);
  EXPECT_EQ(run.standardOutput, "/dev/null\n");
}

}  // namespace
}  // namespace quillhaven::platform
