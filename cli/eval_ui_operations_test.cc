#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "cli/eval_command.h"

namespace quillhaven::cli {
namespace {

TEST(EvalAnswer, RunsEveryOperationOnColorsAndSizes) {
  constexpr std::string_view kColor =
      R"("hue":0.25,"saturation":0.5,"brightness":0.5,"alpha":1,)";
  const auto color = [](std::string_view brightness) {
    return std::string(R"({"result":{"hue":0.25,"saturation":0.5,)")
        .append(R"("brightness":)")
        .append(brightness)
        .append(R"(,"alpha":1}})");
  };
  const struct {
    std::string_view op, by;
    std::string expected;
  } cases[] = {
      {"lighten", "0.5", color("0.75")},  {"lighten", "50", color("0.75")},
      {"lighten", "1", color("1")},       {"lighten", "150", color("1")},
      {"darken", "0.25", color("0.375")}, {"darken", "100", color("0")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const std::string line = std::string(R"({"op":")")
                                 .append(c.op)
                                 .append(R"(",)")
                                 .append(kColor)
                                 .append(R"("by":)")
                                 .append(c.by)
                                 .append("}");
    EXPECT_EQ(evalAnswer(line), c.expected);
  }
  EXPECT_EQ(evalAnswer(R"({"op":"proportionallyScale","from":[100,50],)"
                       R"("toSize":[50,50]})"),
            R"({"result":[50,25]})");
  EXPECT_EQ(evalAnswer(R"({"op":"proportionallyScale","from":[3,2],)"
                       R"("toSize":[0.5,9]})"),
            R"({"result":[0.5,0.3333333333333333]})");
}

TEST(EvalAnswer, SaysWhatIsWrongWithNumbers) {
  const struct {
    std::string_view line, error;
  } cases[] = {
      {R"({"op":"darken","hue":0,"saturation":0,"brightness":0,"alpha":1})",
       R"(argument \"by\" is missing)"},
      {R"({"op":"darken","hue":"0"})",
       R"(argument \"hue\" must be a number (got string))"},
      {R"({"op":"proportionallyScale","from":[1],"toSize":[1,1]})",
       R"(argument \"from\" must be a list of two numbers (got array))"},
      {R"({"op":"proportionallyScale","from":[1,1],"toSize":[1,null]})",
       R"(argument \"toSize\" must be a list of two numbers (got array))"},
      {R"({"op":"proportionallyScale","from":7,"toSize":[1,1]})",
       R"(argument \"from\" must be a list of two numbers (got number))"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(evalAnswer(std::string(c.line)),
              std::string(R"({"error":")").append(c.error).append("\"}"));
  }
}

}  // namespace
}  // namespace quillhaven::cli
