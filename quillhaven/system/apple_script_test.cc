#include "quillhaven/system/apple_script.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/testing/process_state.h"

namespace quillhaven::system {
namespace {

using platform::testing::hasNoChildrenSoon;
using platform::testing::openDescriptorCount;
using platform::testing::TemporaryFolder;
using Privileges = AppleScript::Privileges;

TEST(ShellScriptSource, IsBuiltToTheLetter) {
  const struct {
    std::string command;
    Privileges privileges;
    std::string source;
  } cases[] = {
      {"ls", Privileges::user(),
       R"~(    do shell script "eval $(echo bHM= | base64 --decode)" )~"},
      {"", Privileges::user(),
       R"~(    do shell script "eval $(echo  | base64 --decode)" )~"},
      {"echo \"é\" 'x' $HOME", Privileges::administrator(),
       "    do shell script \"eval $(echo ZWNobyAiw6kiICd4JyAkSE9NRQ== | "
       "base64 "
       "--decode)\" with administrator privileges "},
      {"ls", Privileges::administrator("Install update"),
       "    do shell script \"eval $(echo bHM= | base64 --decode)\" with "
       "administrator privileges with prompt \"Install update\""},
      {"ls", Privileges::administrator("a \"b\""),  // as it is
       "    do shell script \"eval $(echo bHM= | base64 --decode)\" with "
       "administrator privileges with prompt \"a \"b\"\""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AppleScript::shellScriptSource(c.command, c.privileges),
              c.source);
  }
  const std::string large(100000, 'x');
  EXPECT_EQ(
      AppleScript::shellScriptSource(large, Privileges::user()).find('\n'),
      std::string::npos);
}

TEST(ExecuteShellScript, RunsWhatWouldNeedQuoting) {
  const struct {
    std::string command, result;
  } cases[] = {
      {"echo hello", "hello"},
      {R"(printf '%s|' "a  b" 'c"d' \$x `echo e` $((1+1)) "\\" '$HOME')",
       R"(a b|c"d|$x|e|2|\|$HOME|)"},  // blanks between words are one
      {"echo 'é €' && cd / && pwd", "é €\n/"},
      {"x=1; echo \"$x\"; echo no >&2", "1"},
      {"echo a\necho b", "a echo b"},  // a line break is a blank
      {"echo true", "true"},
      {"", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    EXPECT_EQ(AppleScript::executeShellScript(c.command, Privileges::user())
                  .stringValue(),
              c.result);
  }
  EXPECT_TRUE(AppleScript::executeShellScript("echo TRUE", Privileges::user())
                  .booleanValue());
  EXPECT_FALSE(AppleScript::executeShellScript("echo 1", Privileges::user())
                   .booleanValue());
}

// What the call throws.
std::optional<AppleScriptError> errorOf(const std::string& command,
                                        const Privileges& privileges,
                                        const Elevation& elevation = {}) {
  try {
    AppleScript::executeShellScript(command, privileges, elevation);
  } catch (const AppleScriptError& error) {
    return error;
  }
  return std::nullopt;
}

TEST(ExecuteShellScript, ThrowsWhatWentWrong) {
  const TemporaryFolder folder;
  const Elevation dismissed = {
      .program = folder.writeProgram("dismissed", "#!/bin/sh\nexit 126\n")};
  const Privileges administrator = Privileges::administrator();

  EXPECT_EQ(errorOf("ls \xFF", Privileges::user()),
            AppleScriptError::base64Encoding());
  EXPECT_EQ(errorOf("true", administrator, dismissed),
            AppleScriptError::userCanceled());
  // The command's own 126 is none of the user's.
  EXPECT_EQ(errorOf("echo why >&2; exit 126", Privileges::user()),
            AppleScriptError::executionError(
                "why", {{"NSAppleScriptErrorNumber", 126},
                        {"NSAppleScriptErrorMessage", "why"},
                        {"NSAppleScriptErrorBriefMessage", "why"}}));
  for (const std::string prompt : {"a \"b\"", "a\\", "a\\q"}) {
    const Privileges broken = Privileges::administrator(prompt);
    EXPECT_EQ(errorOf("true", broken, dismissed),
              AppleScriptError::appleScriptObjectInitialization(
                  AppleScript::shellScriptSource("true", broken)))
        << prompt;
  }
}

TEST(AppleScriptError, HasItsTexts) {
  const struct {
    AppleScriptError error;
    int code;
    std::string description;
    std::optional<std::string> suggestion;
    platform::ErrorUserInfo userInfo;
  } cases[] = {
      {AppleScriptError::userCanceled(), 1, "User canceled", {}, {}},
      {AppleScriptError::appleScriptObjectInitialization("s \"x\""),
       2,
       "AppleScript execution failed",
       "AppleScript object could not be initialized for source: s \"x\"",
       {}},
      {AppleScriptError::executionError("", {}),
       3,
       "AppleScript execution failed",
       "",
       {{"ErrorDictionary", "{}"}}},
      {AppleScriptError::executionError("brief",
                                        {{"NSAppleScriptErrorNumber", 5},
                                         {"a", std::string("x\"\\\n")},
                                         {"b", true}}),
       3,
       "AppleScript execution failed",
       "brief",
       {{"ErrorDictionary",
         R"({"NSAppleScriptErrorNumber": 5, "a": "x\"\\\u000a", "b": true})"}}},
      {AppleScriptError::base64Encoding(),
       4,
       "Base64 script encoding failed",
       {},
       {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.code);
    EXPECT_EQ(c.error.domain(), "QuillhavenUtilitiesAppleScriptErrorDomain");
    EXPECT_EQ(c.error.errorCode(), c.code);
    EXPECT_EQ(c.error.errorDescription(), c.description);
    EXPECT_EQ(c.error.recoverySuggestion(), c.suggestion);
    EXPECT_EQ(c.error.userInfo(), c.userInfo);
    EXPECT_FALSE(c.error.failureReason() || c.error.helpAnchor());
  }
}

TEST(ExecuteShellScript, LeaksNothingInAThousandRuns) {
  const TemporaryFolder folder;
  const Elevation refused = {
      .program = folder.writeProgram("refused", "#!/bin/sh\nexit 127\n")};
  const std::size_t descriptors = openDescriptorCount();
  for (int i = 0; i < 500; ++i) {
    ASSERT_FALSE(errorOf(":", Privileges::user()));
    ASSERT_TRUE(errorOf(":", Privileges::administrator(), refused));
  }
  EXPECT_EQ(openDescriptorCount(), descriptors);
  EXPECT_TRUE(hasNoChildrenSoon());
}

}  // namespace
}  // namespace quillhaven::system
