// `quillhaven run` and `quillhaven shell` as users run them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "cli/eval_command.h"
#include "cli/testing/program.h"

namespace quillhaven::cli {
namespace {

using testing::runProgram;
using testing::RunResult;
using testing::Stream;
using testing::TemporaryFolder;
using Arguments = std::vector<std::string>;

const std::string kProgram = QUILLHAVEN_PROGRAM;

struct Case {
  Arguments arguments;
  int status;
  std::string output, error;
  std::string input = {};
};

void expectRun(const Case& c) {
  std::string shown;
  for (const std::string& argument : c.arguments) shown += argument + " ";
  SCOPED_TRACE(shown.substr(0, 200));
  const RunResult run = runProgram(kProgram, c.arguments, c.input);
  EXPECT_EQ(run.status, c.status);
  EXPECT_EQ(run.output, c.output);
  EXPECT_EQ(run.error, c.error);
}

TEST(Run, PassesStreamsAndStatusOn) {
  const Arguments prints = {"printf", "<%s>"};
  const auto with = [](Arguments start, const Arguments& rest) {
    start.insert(start.end(), rest.begin(), rest.end());
    return start;
  };
  const Case cases[] = {
      {{"run", "--", "sh", "-c", "echo a; echo b >&2; exit 3"},
       3,
       "a\n",
       "b\n"},
      {{"run", "--blocking-mode", "dispatch-group", "--", "sh", "-c",
        "exit 255"},
       255,
       "",
       ""},
      {{"run", "--blocking-mode=run-loop", "cat"}, 0, "in", "", "in"},
      {{"run", "sh", "-c", "kill -9 $$"}, 137, "", ""},
      // A reader in the program's own pipeline goes away: it ends by SIGPIPE.
      {{"run", "bash", "-c", "yes | head -n1; echo ${PIPESTATUS[0]}"},
       0,
       "y\n141\n",
       ""},
      // Letter by letter, whatever the words look like.
      {with({"run"}, with(prints, {"[a]", "", "--", "--help", "-x", "parse"})),
       0, "<[a]><><--><--help><-x><parse>", ""},
      {with({"run", "--"}, with(prints, {"--", "--blocking-mode"})), 0,
       "<--><--blocking-mode>", ""},
      {{"run", "--", "no-such-program"},
       1,
       "",
       "quillhaven: no-such-program: No such file or directory\n"},
      {{"run", "/etc"}, 1, "", "quillhaven: /etc: Permission denied\n"},
      {{"run"},
       2,
       "",
       "quillhaven: name a COMMAND to run\nTry \"quillhaven run --help\".\n"},
      {{"run", "--blocking-mode", "x", "ls"},
       2,
       "",
       "quillhaven: --blocking-mode: x not in {run-loop,dispatch-group}\nTry "
       "\"quillhaven run --help\".\n"},
  };
  for (const Case& c : cases) expectRun(c);
}

TEST(Shell, PrintsTheResultOrWhyThereIsNone) {
  const TemporaryFolder folder;
  const auto elevate = [&folder](std::string_view name, std::string_view text) {
    return folder.writeProgram(name, std::string("#!/bin/sh\n").append(text));
  };
  const std::string agreed = elevate("agreed", "exec \"$@\"\n");
  const std::string declined = elevate("declined", "exit 126\n");
  const std::string refused = elevate("refused", "echo no >&2; exit 127\n");
  const std::string usage = "Try \"quillhaven shell --help\".\n";
  const Case cases[] = {
      {{"shell", "echo \"a b\"; echo c"}, 0, "a b\nc\n", ""},
      {{"shell", "true"}, 0, "", ""},
      {{"shell", "[ -d / ]"}, 0, "", ""},
      {{"shell", "--", "-no-option 2>/dev/null"},
       1,
       "",
       "quillhaven: AppleScript execution failed: The command exited with a "
       "non-zero status. (127)\n"},
      {{"shell", "--administrator", "--elevation-program", agreed, "echo hi"},
       0,
       "hi\n",
       ""},
      {{"shell", "--administrator", "--prompt", "-n Why", "echo hi",
        "--elevation-program", agreed},
       0,
       "hi\n",
       "-n Why\n"},
      {{"shell", "--administrator", "--elevation-program", declined, "true"},
       1,
       "",
       "quillhaven: User canceled\n"},
      {{"shell", "--administrator", "--elevation-program", refused, "true"},
       1,
       "",
       "quillhaven: AppleScript execution failed: no (-60007)\n"},
      {{"shell", "--administrator", "--prompt", "a\"b", "true"},
       1,
       "",
       "quillhaven: AppleScript execution failed: AppleScript object could not "
       "be initialized for source:     do shell script \"eval $(echo dHJ1ZQ== "
       "| base64 --decode)\" with administrator privileges with prompt "
       "\"a\"b\"\n"},
      {{"shell"}, 2, "", "quillhaven: name a COMMAND to run\n" + usage},
      {{"shell", "echo", "a"},
       2,
       "",
       "quillhaven: COMMAND is one argument; quote it\n" + usage},
      {{"shell", "--prompt", "x", "true"},
       2,
       "",
       "quillhaven: --prompt needs --administrator\n" + usage},
  };
  for (const Case& c : cases) expectRun(c);
}

TEST(EvalScripts, AnswersWithSourcesAndErrors) {
  const auto answer = [](int code, std::string_view description,
                         std::string_view suggestion) {
    return R"~({"result":{"code":)~" + std::to_string(code) +
           R"~(,"errorDescription":")~" + std::string(description) +
           R"~(","recoverySuggestion":)~" + std::string(suggestion) +
           R"~(,"failureReason":null,"helpAnchor":null,)~"
           R"~("domain":"QuillhavenUtilitiesAppleScriptErrorDomain"}})~";
  };
  const std::string failed = "AppleScript execution failed";
  const std::string values =
      R"~({"error":"argument \"associatedValues\" must be a list of a string and an object, or the object"})~";
  const struct {
    std::string_view arguments;
    std::string answer;
  } cases[] = {
      {R"~("shellScriptSource","text":"ls")~",
       R"~({"result":"    do shell script \"eval $(echo bHM= | base64 --decode)\" "})~"},
      {R"~("shellScriptSource","text":"ls","prompt":"x","administrator":false)~",
       R"~({"result":"    do shell script \"eval $(echo bHM= | base64 --decode)\" "})~"},
      {R"~("shellScriptSource","text":"é","administrator":true,"prompt":null)~",
       R"~({"result":"    do shell script \"eval $(echo w6k= | base64 --decode)\" with administrator privileges "})~"},
      {R"~("shellScriptSource","text":"ls","administrator":true,"prompt":"Install update")~",
       R"~({"result":"    do shell script \"eval $(echo bHM= | base64 --decode)\" with administrator privileges with prompt \"Install update\""})~"},
      {R"~("shellScriptSource","text":null)~",
       R"~({"error":"argument \"text\" must be a string (got null)"})~"},
      {R"~("appleScriptError","case":"userCanceled")~",
       answer(1, "User canceled", "null")},
      {R"~("appleScriptError","case":"appleScriptObjectInitialization","associatedValues":["x"])~",
       answer(
           2, failed,
           R"~("AppleScript object could not be initialized for source: x")~")},
      {R"~("appleScriptError","case":"executionError","associatedValues":["why",{"NSAppleScriptErrorNumber":1,"a":[1],"b":null,"c":1.5}])~",
       answer(3, failed, R"~("why")~")},
      {R"~("appleScriptError","case":"executionError","associatedValues":{"NSAppleScriptErrorBriefMessage":"brief"})~",
       answer(3, failed, R"~("brief")~")},
      {R"~("appleScriptError","case":"base64Encoding","associatedValues":[])~",
       answer(4, "Base64 script encoding failed", "null")},
      {R"~("appleScriptError","case":"executionError")~", values},
      {R"~("appleScriptError","case":"executionError","associatedValues":[null,{}])~",
       values},
      {R"~("appleScriptError","case":"userCanceled","associatedValues":["x"])~",
       R"~({"error":"argument \"associatedValues\" must be an empty list, as the case has no values"})~"},
      {R"~("appleScriptError","case":"x")~",
       R"~({"error":"there is no case \"x\""})~"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(evalAnswer(R"~({"op":)~" + std::string(c.arguments) + "}"),
              c.answer)
        << c.arguments;
  }
}

}  // namespace
}  // namespace quillhaven::cli
