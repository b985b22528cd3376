// The operations of `quillhaven eval` on builds, systems and help pages.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "cli/command.h"
#include "cli/eval_command.h"

namespace quillhaven::cli {
namespace {

TEST(EvalIdentity, AnswersAndRefuses) {
  throwFatalErrors();
  const struct {
    std::string_view arguments, answer;
  } cases[] = {
      {R"("op":"buildNumber","versionString":"+42")", R"({"result":42})"},
      {R"("op":"buildNumber","versionString":"12a")", R"({"result":-1})"},
      {R"("op":"buildNumber","versionString":null)",
       R"-({"error":"argument \"versionString\" must be a string (got null)"})-"},
      {R"("op":"osSupport","majorVersion":15,"isWideframe":true)",
       R"({"result":"supported"})"},
      {R"("op":"osSupport","majorVersion":14,"isWideframe":false)",
       R"({"result":"unsupported"})"},
      {R"("op":"osSupport","majorVersion":14,"isWideframe":1)",
       R"-({"error":"argument \"isWideframe\" must be true or false (got number)"})-"},
      {R"("op":"osSupport","isWideframe":true)",
       R"-({"error":"argument \"majorVersion\" is missing"})-"},
      {R"("op":"osSupport","majorVersion":9223372036854775808,"isWideframe":true)",
       R"-({"error":"argument \"majorVersion\" must be an integer from -2^63 to 2^63 - 1 (got 9223372036854775808)"})-"},
      {R"("op":"operatingSystemVersion","major":11,"minor":-1,"patch":0)",
       R"({"result":{"isHighSierra":false,"isHighSierraOrLater":true,)"
       R"("isMojave":false,"isMojaveOrLater":true,"isCatalina":false,)"
       R"("isCatalinaOrLater":true,"isBigSur":true,"isBigSurOrLater":true,)"
       R"("isMonterey":false,"isMontereyOrLater":false,"isVentura":false,)"
       R"("isVenturaOrLater":false,"isSonoma":false,"isSonomaOrLater":false}})"},
      {R"("op":"websitePage","page":"helpCenter")",
       R"({"result":"https://help.quillhaven.example/"})"},
      {R"("op":"websitePage","page":13)",
       R"({"result":"https://help.quillhaven.example/help/how-do-i-add-tags"})"},
      {R"("op":"websitePage","page":4294967296)",
       R"-({"error":"no page of the web site has the number 4294967296"})-"},
      {R"("op":"websitePage","page":-1)",
       R"-({"error":"no page of the web site has the number -1"})-"},
      {R"("op":"websitePage","page":"13")",
       R"-({"error":"no page is called \"13\""})-"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(evalAnswer("{" + std::string(c.arguments) + "}"), c.answer);
  }
}

}  // namespace
}  // namespace quillhaven::cli
