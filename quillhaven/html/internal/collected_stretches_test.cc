#include "quillhaven/html/internal/collected_stretches.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/html/html_text.h"

namespace quillhaven::html::internal {
namespace {

std::optional<Stretch> nextComment(std::string_view text, std::size_t from) {
  const std::size_t start = text.find("<!--", from);
  if (start == std::string_view::npos || start + 4 == text.size()) {
    return std::nullopt;
  }
  const std::size_t close = text.find("-->", start + 4);
  if (close == start + 4) return nextComment(text, close + 3);
  return Stretch{start,
                 close == std::string_view::npos ? text.size() : close + 3};
}

StretchRules commentRules(std::string_view text) {
  StretchRules rules;
  rules.opening = "<!--";
  rules.ignoringCase = false;
  rules.next = [text](std::size_t from) { return nextComment(text, from); };
  rules.replacement = [](std::string_view) { return std::string_view(); };
  return rules;
}

// Collects, then removes each distinct stretch everywhere, in order.
std::string removedLiterally(std::string_view text) {
  std::vector<std::string> distinct;
  for (auto s = nextComment(text, 0); s; s = nextComment(text, s->end)) {
    const std::string stretch(text.substr(s->start, s->end - s->start));
    if (std::find(distinct.begin(), distinct.end(), stretch) ==
        distinct.end()) {
      distinct.push_back(stretch);
    }
  }
  std::string out(text);
  for (const std::string& stretch : distinct) {
    std::string next;
    std::size_t copied = 0;
    for (std::size_t at = out.find(stretch); at != std::string::npos;
         at = out.find(stretch, copied)) {
      next.append(out, copied, at - copied);
      copied = at + stretch.size();
    }
    out = next.append(out, copied);
  }
  return out;
}

TEST(CollectedStretches, AgreeWithRemovingOneAfterTheOther) {
  std::mt19937 random(17);
  const std::string_view pieces[] = {
      "<!--",       "-->", "<!--a-->", "<!--b-->",     "<!-->",
      "a",          "b",   "<",        "<!",           "!--",
      "-",          "--",  ">",        "<!--<!--a-->", "<!---->",
      "<!--> a -->"};
  for (int round = 0; round < 30000; ++round) {
    std::string text;
    for (std::size_t count = random() % 12; count > 0; --count) {
      text += pieces[random() % std::size(pieces)];
    }
    ASSERT_EQ(replacingStretches(text, commentRules(text)),
              removedLiterally(text))
        << text;
  }
}

TEST(CollectedStretches, GoTheLongWayForFewDistinctOnesOnly) {
  // "<!--a-->" is removed first, and from within the last comment too.
  const std::string tail = "<!--a-->X<!-- <!--a-->Y";
  EXPECT_EQ(replacingStretches(tail, commentRules(tail)), "X<!-- Y");
  std::string text = tail;
  for (std::size_t i = 0; i < kMaximumLiteralStretches - 2; ++i) {
    text += "<!--" + std::to_string(i) + "-->";
  }
  EXPECT_EQ(replacingStretches(text, commentRules(text)), "X<!-- Y");
  text += "<!--one more-->";
  EXPECT_EQ(replacingStretches(text, commentRules(text)), "XY");
}

TEST(CollectedStretches, ReadEachStretchAFewTimes) {
  std::size_t asked = 0;
  std::string text;
  for (int i = 0; i < 20000; ++i) {
    text += "<!-- <!--" + std::to_string(i) + "-->";
  }
  StretchRules rules = commentRules(text);
  rules.next = [&](std::size_t from) {
    ++asked;
    return nextComment(text, from);
  };
  EXPECT_EQ(replacingStretches(text, rules), "");
  EXPECT_LT(asked, 5U * 20000U);
}

}  // namespace
}  // namespace quillhaven::html::internal
