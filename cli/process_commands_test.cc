// Runs the commands that look at processes, on real ones.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "cli/eval_command.h"
#include "cli/testing/program.h"
#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/platform/process/testing/processes.h"

namespace quillhaven::cli {
namespace {

using nlohmann::json;
using platform::testing::Child;
using testing::runProgram;
using testing::RunResult;
using testing::Stream;
using Lines = std::vector<std::string>;

RunResult run(Lines arguments, Stream output = Stream::kPipe) {
  return runProgram(QUILLHAVEN_PROGRAM, std::move(arguments), {}, output);
}

std::string number(std::int32_t pid) { return std::to_string(pid); }

TEST(ProcessCommands, TellUsageFromWork) {
  const std::string absent = "PID 2147483647: no such process\n";
  const struct {
    Lines arguments;
    int status;
    std::string output, error;
  } cases[] = {
      {{"sockets", "2147483647"}, 1, "", absent},
      {{"sockets", "2147483647", "--json"}, 1, "{}\n", absent},
      {{"parent", "2147483647"}, 1, "", "quillhaven: " + absent},
      {{"parent", "--json", "2147483647"},
       1,
       "null\n",
       "quillhaven: " + absent},
      {{"arguments", "2147483647"}, 1, "", "quillhaven: " + absent},
      {{"arguments", "--json", "2147483647"},
       1,
       "null\n",
       "quillhaven: " + absent},
      {{"parent", "1"}, 0, "0\n", ""},
      {{"pids", "--name", "no such name"}, 0, "", ""},
      {{"pids", "--json", "--bundle", "none.app"}, 0, "[]\n", ""},
      {{"pids"}, 2, "", "quillhaven: name one of --path"},
      {{"pids", "--name", "a", "--path", "b"}, 2, "", "quillhaven: name one"},
      {{"sockets"}, 2, "", "quillhaven: PID is required"},
      {{"parent", "x"}, 2, "", "quillhaven: Could not convert: PID = x"},
      {{"parent", "1", "2"}, 2, "", "quillhaven: The following argument"},
      {{"arguments", "2147483648"}, 2, "", "quillhaven: Could not convert"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.front() + " " + c.arguments.back());
    const RunResult result = run(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.output, c.output);
    EXPECT_TRUE(c.status == 2 ? result.error.starts_with(c.error)
                              : result.error == c.error)
        << result.error;
  }
  for (const char* command : {"sockets", "parent", "arguments", "pids"}) {
    const RunResult help = run({command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("Exit status: 0 done"), std::string::npos);
  }
}

TEST(SocketsCommand, ShowsSocketsByState) {
  const platform::UniqueFd listening(::socket(AF_INET, SOCK_STREAM, 0));
  const platform::UniqueFd closed(::socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  ASSERT_EQ(::bind(listening.get(), any, size), 0);
  ASSERT_EQ(::listen(listening.get(), 1), 0);
  ::getsockname(listening.get(), any, &size);
  const int port = ntohs(address.sin_port);

  EXPECT_EQ(run({"sockets", number(::getpid())}).output,
            "<TCPSocketInfo: local=0.0.0.0:0, remote=0.0.0.0:0, state=CLOSED>\n"
            "<TCPSocketInfo: local=127.0.0.1:" +
                std::to_string(port) + ", remote=0.0.0.0:0, state=LISTEN>\n");
  const json expected = {{"0",
                          {{{"state", 0},
                            {"stateDescription", "CLOSED"},
                            {"localAddress", "0.0.0.0"},
                            {"localPort", 0},
                            {"remoteAddress", "0.0.0.0"},
                            {"remotePort", 0}}}},
                         {"1",
                          {{{"state", 1},
                            {"stateDescription", "LISTEN"},
                            {"localAddress", "127.0.0.1"},
                            {"localPort", port},
                            {"remoteAddress", "0.0.0.0"},
                            {"remotePort", 0}}}}};
  const RunResult shown = run({"sockets", "--json", number(::getpid())});
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(json::parse(shown.output), expected);
}

TEST(ProcessCommands, ShowAProcess) {
  const platform::testing::TemporaryFolder folder;
  const std::string path =
      folder.copy("Quill.app/Contents/MacOS/a quill", WAITING_PROGRAM);
  const Child child = Child::start(path, {path, "two\nlines", "\x1B[2J", ""});
  const std::string pid = number(child.pid());
  const std::string shown = path + "\ntwo\nlines\n\x1B[2J\n\n";
  EXPECT_EQ(run({"arguments", pid}).output, shown);
  // A terminal would obey the third argument.
  EXPECT_NE(run({"arguments", pid}, Stream::kTerminal).output.find("\uFFFD[2J"),
            std::string::npos);
  EXPECT_EQ(json::parse(run({"arguments", pid, "--json"}).output),
            json({path, "two\nlines", "\x1B[2J", ""}));
  EXPECT_EQ(run({"parent", pid}).output, number(::getpid()) + "\n");
  EXPECT_EQ(run({"parent", "--json", pid}).output, number(::getpid()) + "\n");

  const Child second = Child::start(path, {path});
  const std::string both = pid + "\n" + number(second.pid()) + "\n";
  EXPECT_EQ(run({"pids", "--path", path}).output, both);
  EXPECT_EQ(run({"pids", "--bundle", "Quill.app"}).output, both);
  EXPECT_EQ(run({"pids", "--name", "a quill"}).output, both);
  EXPECT_EQ(json::parse(run({"pids", "--json", "--name", "a quill"}).output),
            json({child.pid(), second.pid()}));
}

TEST(EvalAnswer, RunsEveryProcessOperation) {
  const struct {
    std::string line, answer;
  } cases[] = {
      // The counts 2, 0 and 1, "/p", two NULs, "a" and an invalid byte.
      {R"({"op":"parseArgumentVector","dataBase64":"AgAAAC9wAABhAOkA"})",
       R"({"result":["a","�"]})"},
      {R"({"op":"parseArgumentVector","dataBase64":"AAAAAA=="})",
       R"({"result":[]})"},
      {R"({"op":"parseArgumentVector","dataBase64":"AQAAAA=="})",
       R"({"result":null})"},
      {R"({"op":"parseArgumentVector","dataBase64":""})", R"({"result":null})"},
      {R"({"op":"stateDescription","state":1})", R"({"result":"LISTEN"})"},
      {R"({"op":"stateDescription","state":-1})", R"({"result":null})"},
      {R"({"op":"stateDescription","state":12})", R"({"result":null})"},
  };
  for (const auto& c : cases) EXPECT_EQ(evalAnswer(c.line), c.answer) << c.line;

  const RunResult fatal =
      runProgram(QUILLHAVEN_PROGRAM, {"eval"},
                 R"({"op":"parseArgumentVector","dataBase64":"/////w=="})");
  EXPECT_EQ(fatal.output,
            "{\"error\":\"an argument count must not be negative\"}\n");
}

}  // namespace
}  // namespace quillhaven::cli
