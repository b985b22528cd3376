#include "quillhaven/platform/process/script.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/pipe.h"
#include "quillhaven/platform/process/testing/process_state.h"

namespace quillhaven::platform {
namespace {

using testing::SignalHandling;
using testing::TemporaryFolder;

TEST(Script, ReadsTheStatementAndItsClauses) {
  const struct {
    std::string source, command;
    bool isPrivileged = false;
    std::optional<std::string> prompt = {};
  } cases[] = {
      {R"(do shell script "date")", "date"},
      {R"(    do shell script "date" )", "date"},
      {"\n\t DO  Shell\tscript\"\"\r\n", ""},
      {R"(do shell script "a\"b\\c\nd\re\tf")", "a\"b\\c\nd\re\tf"},
      {"do shell script \"two\nlines\"", "two\nlines"},
      {R"(do shell script "x" with administrator privileges )", "x", true},
      {R"(do shell script "x" with administrator privileges with prompt "p")",
       "x", true, "p"},
      {R"(do shell script "x" with prompt "" with Administrator privileges)",
       "x", true, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    const auto script = Script::fromSource(c.source);
    ASSERT_TRUE(script);
    EXPECT_EQ(script->command(), c.command);
    EXPECT_EQ(script->hasAdministratorPrivileges(), c.isPrivileged);
    EXPECT_EQ(script->prompt(), c.prompt);
  }
}

TEST(Script, RefusesEverythingElse) {
  const std::string whole =
      R"(do shell script "a\"b" with administrator privileges with prompt "p")";
  const std::size_t first = whole.find(" with administrator");
  const std::size_t second = whole.find(" with prompt");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const bool isStatement = size == first || size == first + 1 ||
                             size == second || size == second + 1;
    EXPECT_EQ(Script::fromSource(whole.substr(0, size)).has_value(),
              isStatement)
        << whole.substr(0, size);
  }
  for (const std::string source :
       {R"(do shell script "a\q")", R"(do shell script 'a')",
        R"(do shell script "a" "b")", R"(do shell script "a" & "b")",
        R"(do shell script "a" with prompt)", R"(doshell script "a")",
        R"(do shell script "a" with prompt "a"b")",
        R"(do shell script "a" with prompt "a" with prompt "b")",
        R"(do shell script "a" without altering line endings)",
        "do\nshell script \"a\"", "display dialog \"a\""}) {
    EXPECT_FALSE(Script::fromSource(source)) << source;
  }
}

// A source for `command`, whose quotes and backslashes are escaped.
Script scriptFor(const std::string& command, const std::string& clauses = {}) {
  std::string source = "do shell script \"";
  for (const char c : command) {
    if (c == '"' || c == '\\') source += '\\';
    source += c;
  }
  return Script::fromSource(source + "\" " + clauses).value();
}

struct Expected {
  std::optional<std::string> result;
  std::int64_t number = 0;
  std::string message = {};
};

void expectOutcome(const ScriptOutcome& outcome, const Expected& expected) {
  ASSERT_EQ(outcome.result.has_value(), expected.result.has_value());
  ASSERT_NE(outcome.error.has_value(), expected.result.has_value());
  if (outcome.result) {
    EXPECT_EQ(outcome.result->stringValue(), *expected.result);
    return;
  }
  const ScriptErrorDictionary dictionary = {
      {"NSAppleScriptErrorNumber", expected.number},
      {"NSAppleScriptErrorMessage", expected.message},
      {"NSAppleScriptErrorBriefMessage", expected.message}};
  EXPECT_EQ(*outcome.error, dictionary)
      << std::get<std::string>(outcome.error->at("NSAppleScriptErrorMessage"));
}

TEST(Script, AnswersWithOutputOrFailure) {
  const struct {
    std::string command;
    Expected expected;
  } cases[] = {
      {"true", {""}},
      {"echo one; echo two", {"one\ntwo"}},
      {"printf 'a\\n\\n'", {"a\n"}},
      {"printf 'a\\r\\n'", {"a"}},
      {"printf '\\303\\251 \\377\\303'", {"é \uFFFD\uFFFD"}},
      {"echo said >&2; echo result", {"result"}},
      {"cat", {""}},  // there is nothing on standard input
      {"exit 3", {{}, 3, "The command exited with a non-zero status."}},
      {"echo why >&2; echo lost; exit 126", {{}, 126, "why"}},
      {"exec kill -9 $$", {{}, 137, "The command was ended by signal 9."}},
      {"no-such-command-here 2>/dev/null",
       {{}, 127, "The command exited with a non-zero status."}},
      {"(sleep 0.1; echo late) & echo early", {"early\nlate"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    expectOutcome(scriptFor(c.command).execute(), c.expected);
  }
  const auto tooLong = scriptFor(std::string(200000, ':')).execute();
  ASSERT_TRUE(tooLong.error);
  EXPECT_EQ(tooLong.error->at("NSAppleScriptErrorNumber"),
            ScriptValue(kScriptErrorGeneral));
}

TEST(Script, DoesNotCallAnUnknownEndSuccess) {
  const SignalHandling ignored(SIGCHLD, SIG_IGN);
  expectOutcome(
      scriptFor("echo x").execute(),
      {{}, kScriptErrorGeneral, "How the command ended is not known."});
}

// What the elevation program of a system says and does, in scripts.
TEST(Script, TellsTheEndsOfAnElevationApart) {
  const TemporaryFolder folder;
  const struct {
    std::string program;  // of the elevation, after "#!/bin/sh"
    std::string command;
    Expected expected;
  } cases[] = {
      {"exec \"$@\"", "echo \"root's\"", {"root's"}},
      {"echo warning >&2; exec \"$@\"", "echo why >&2; exit 5", {{}, 5, "why"}},
      {"exec \"$@\"",
       "exit 126",
       {{}, 126, "The command exited with a non-zero status."}},
      {"exec \"$@\"",
       "exit 127",
       {{}, 127, "The command exited with a non-zero status."}},
      {"echo 'Error executing command as another user: Request dismissed' >&2; "
       "exit 126",
       "true",
       {{}, kScriptUserCanceled, "User canceled."}},
      {"echo 'Error creating textual authentication agent: none' >&2; exit 127",
       "true",
       {{},
        kScriptNotAuthorized,
        "Error creating textual authentication agent: none"}},
      {"echo 'No authentication agent found.' >&2; exit 127",
       "true",
       {{}, kScriptNotAuthorized, "No authentication agent found."}},
      {"exit 127",
       "true",
       {{},
        kScriptNotAuthorized,
        "Administrator rights could not be obtained."}},
      // Pretends to have done the work.
      {"exit 0",
       "true",
       {{},
        kScriptNotAuthorized,
        "Administrator rights could not be obtained."}},
      {"kill -9 $$",
       "true",
       {{},
        kScriptNotAuthorized,
        "Administrator rights could not be obtained."}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.program + " | " + c.command);
    const Elevation elevation = {
        .program =
            folder.writeProgram("elevate", "#!/bin/sh\n" + c.program + "\n")};
    expectOutcome(scriptFor(c.command, "with administrator privileges")
                      .execute(elevation),
                  c.expected);
  }
  const std::string absent = folder.path("absent");
  expectOutcome(
      scriptFor("true", "with administrator privileges")
          .execute({.program = absent}),
      {{}, kScriptNotAuthorized, absent + ": No such file or directory"});
}

TEST(Script, ShowsItsPromptOnce) {
  const TemporaryFolder folder;
  const Script script = scriptFor(
      "true", "with administrator privileges with prompt \"50% sure?\"");
  std::vector<std::string> shown;
  const auto show = [&shown](std::string_view prompt) {
    shown.emplace_back(prompt);
  };
  const std::string plain =
      folder.writeProgram("elevate", "#!/bin/sh\nexec \"$@\"\n");
  expectOutcome(script.execute({plain, show}), {""});
  EXPECT_EQ(shown, std::vector<std::string>{"50% sure?"});

  const std::string sudo = folder.writeProgram(
      "sudo",
      "#!/bin/sh\n[ \"$1$2$3\" = '-p50%% sure? --' ] && shift 3 "
      "&& exec \"$@\"");
  expectOutcome(script.execute({sudo, show}), {""});
  EXPECT_EQ(shown.size(), 1u);
}

TEST(Script, SurvivesThatNobodyReadsThePrompt) {
  const TemporaryFolder folder;
  const std::string plain =
      folder.writeProgram("elevate", "#!/bin/sh\nexec \"$@\"\n");
  const auto pipe = Pipe::pipe();
  pipe->closeFileHandleForReading();
  const UniqueFd kept(::dup(STDERR_FILENO));
  const SignalHandling deadly(SIGPIPE, SIG_DFL);
  ::dup2(*pipe->fileHandleForWriting(), STDERR_FILENO);
  const ScriptOutcome outcome =
      scriptFor("echo on", "with administrator privileges with prompt \"p\"")
          .execute({.program = plain});
  ::dup2(kept.get(), STDERR_FILENO);
  expectOutcome(outcome, {"on"});
}

// The real program, where it is installed. Root is asked nothing; without a
// system bus it cannot ask anybody, and says so with the same status as a
// command that is not found.
TEST(Script, UnderstandsPkexec) {
  if (::access("/usr/bin/pkexec", X_OK) != 0 || ::geteuid() != 0) {
    GTEST_SKIP() << "needs /usr/bin/pkexec, and root so that nobody is asked";
  }
  const ScriptOutcome outcome =
      scriptFor("id -u", "with administrator privileges").execute();
  if (outcome.result) {
    EXPECT_EQ(outcome.result->stringValue(), "0");
    return;
  }
  EXPECT_EQ(outcome.error->at("NSAppleScriptErrorNumber"),
            ScriptValue(kScriptNotAuthorized));
  const auto& message =
      std::get<std::string>(outcome.error->at("NSAppleScriptErrorMessage"));
  EXPECT_TRUE(message.starts_with("Error getting authority:")) << message;
}

}  // namespace
}  // namespace quillhaven::platform
