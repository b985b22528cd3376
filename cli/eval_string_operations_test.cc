#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "cli/command.h"
#include "cli/eval_command.h"
#include "cli/json_writer.h"
#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::cli {
namespace {

TEST(EvalAnswer, RunsEveryStringOperation) {
  const struct {
    std::string_view op, arguments, result;
  } cases[] = {
      {"isValidEmail", R"("text":"a@b.co")", "true"},
      {"isValidEmail", R"("text":"a@b.c")", "false"},
      {"isFormattedEmail", R"("text":"Name <a@b.co>")", "true"},
      {"containsLiquid", R"("text":"{{ name }}")", "true"},
      {"emailAddress", R"("text":"to a@b.co")", R"("a@b.co")"},
      {"emailAddress", R"("text":"nobody")", "null"},
      {"emailLocalPart", R"("text":"x@y@z.example")", R"("x")"},
      {"emailLocalPart", R"("text":"x")", "null"},
      {"emailDomain", R"("text":"x@y@z.example")", R"("z.example")"},
      {"emailDomain", R"("text":"x")", "null"},
      {"emailName", R"("text":"john.doe42@z.example")", R"("John Doe")"},
      {"emailName", R"("text":"42@z.example")", R"("")"},
      {"emailName", R"("text":"42")", "null"},
      {"presence", R"("text":" ")", R"(" ")"},
      {"presence", R"("text":"")", "null"},
      {"emojiFlag", R"("countryCode":"DE")", R"("🇩🇪")"},
      {"hexToDecimal", R"("text":"ffffffffffffffff")", "18446744073709551615"},
      {"hexString", R"("text":"é")", R"("c3a9")"},
      {"capitalizingFirstLetter", R"("text":"ßa")", R"("Ssa")"},
      {"trimmedMessageId", R"("text":"<a@b>")", R"("a@b")"},
      {"trimmedContentID", R"("text":"<cid:part1>")", R"("part1")"},
      {"trimmingTrailingWhitespace", R"("text":" a \n")", R"(" a")"},
      {"strippedFromHTML", R"("text":"<b>a</b>")", R"("a")"},
      {"shellEscaped", R"("text":"a b's")", R"("a\\ b\\'s")"},
      {"lowerKebabCased", R"("text":"XMLParser")", R"("xml-parser")"},
      {"stringByTruncatingToLength", R"("text":"Hello world","length":5)",
       R"("Hello…")"},
      {"replacing", R"("text":"a-b_c","charactersIn":"_-","with":"+")",
       R"("a+b+c")"},
      {"contains", R"("text":"a.pdf.zip","wildcardPattern":"*.pdf")", "true"},
      {"truncating", R"("text":"Hi  there","length":4,"trailing":"…")",
       R"("Hi…")"},
      {"truncatingMiddle", R"("text":"abcdefghij","length":6)", R"("abc…hij")"},
      {"truncatingMiddle", R"("text":"a","length":9223372036854775807)",
       R"("a")"},
      {"lastPathComponent", R"("text":"/tmp/a.txt/")", R"("a.txt")"},
      {"deletingPathExtension", R"("text":"/tmp/a.txt/")", R"("/tmp/a")"},
      {"deletingLastPathComponent", R"("text":"/tmp/a.txt/")", R"("/tmp")"},
      {"pathExtension", R"("text":"/tmp/a.txt/")", R"("txt")"},
      {"appendingPathComponent", R"("text":"/tmp/","component":"a")",
       R"("/tmp/a")"},
      {"pathComponents", R"("text":"/tmp/a/")", R"(["/","tmp","a","/"])"},
      {"pathComponents", R"("text":"")", "[]"},
      {"path", R"("withComponents":["/","tmp","a"])", R"("/tmp/a")"},
      {"path", R"("withComponents":[])", R"("")"},
  };
  for (const auto& c : cases) {
    const std::string line = R"({"op":")" + std::string(c.op) + "\"," +
                             std::string(c.arguments) + "}";
    EXPECT_EQ(evalAnswer(line), R"({"result":)" + std::string(c.result) + "}")
        << line;
  }
}

TEST(EvalAnswer, ExplainsWhatIsWrongWithAStringOperation) {
  throwFatalErrors();
  const std::string kLength =
      "argument \"length\" must be an integer from -2^63 to 2^63 - 1 (got ";
  const std::string kList =
      "argument \"withComponents\" must be a list of strings (got ";
  const struct {
    std::string_view op, arguments;
    std::string error;
  } cases[] = {
      {"truncatingMiddle", R"("text":"a")", "argument \"length\" is missing"},
      {"truncatingMiddle", R"("text":"a","length":1.5)", kLength + "1.5)"},
      {"truncatingMiddle", R"("text":"a","length":"1")", kLength + "string)"},
      {"truncatingMiddle", R"("text":"a","length":9223372036854775808)",
       kLength + "9223372036854775808)"},
      {"truncatingMiddle", R"("text":"a","length":-9223372036854775808)",
       "length of a truncation is negative"},
      {"truncating", R"("text":"a","length":-1,"trailing":"")",
       "length of a truncation is negative"},
      {"truncating", R"("text":"a","length":1)",
       "argument \"trailing\" is missing"},
      {"stringByTruncatingToLength", R"("text":"a","length":-1)",
       "length of a truncation is negative"},
      {"emojiFlag", R"("countryCode":"\udbff\udfff")",
       "character of a country code is out of range"},
      {"contains", R"("text":"a","wildcardPattern":null)",
       "argument \"wildcardPattern\" must be a string (got null)"},
      {"path", R"("withComponents":"a")", kList + "string)"},
      {"path", R"("withComponents":["a",null])", kList + "null)"},
  };
  for (const auto& c : cases) {
    const std::string line = R"({"op":")" + std::string(c.op) + "\"," +
                             std::string(c.arguments) + "}";
    std::string expected = R"({"error":)";
    appendJsonString(expected, c.error);
    EXPECT_EQ(evalAnswer(line), expected + "}") << line;
  }
  platform::setFatalErrorHandler(nullptr);
}

}  // namespace
}  // namespace quillhaven::cli
