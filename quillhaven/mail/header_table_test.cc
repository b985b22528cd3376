#include "quillhaven/mail/header_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace quillhaven::mail {
namespace {

std::vector<std::string> valuesOf(const HeaderTable& table,
                                  std::string_view name) {
  const auto values = table.find(name);
  if (!values) return {};
  return {values->begin(), values->end()};
}

TEST(HeaderTable, KeepsOrderAndExactNames) {
  HeaderTable table;
  table.append("a", "1");
  table.append("b", "");
  table.append("a", "2");
  EXPECT_EQ(valuesOf(table, "a"), (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(table.find("a")->back(), "2");
  EXPECT_EQ(valuesOf(table, "b"), std::vector<std::string>{""});
  EXPECT_FALSE(table.find("A"));
  ASSERT_EQ(table.size(), 2U);
  EXPECT_EQ(table.nameAt(1), "b");
}

// Equal values in a row are kept once, and still are all there; also behind a
// first one that is too long to stand with the name.
TEST(HeaderTable, GivesEveryValueOfRuns) {
  const std::string large(300'000, 'x');
  for (const std::string& one : {std::string("1"), large}) {
    HeaderTable table;
    std::vector<std::string> expected;
    for (const std::string& value :
         {one, one, std::string("2"), one, one, one, std::string(),
          std::string(), std::string("3")}) {
      table.append("a", value);
      table.append("b", one);
      expected.push_back(value);
      EXPECT_EQ(valuesOf(table, "a"), expected);
      EXPECT_EQ(table.find("a")->size(), expected.size());
      EXPECT_EQ(table.find("a")->front(), one);
      EXPECT_EQ(table.find("a")->back(), value);
    }
    EXPECT_EQ(valuesOf(table, "b"), std::vector<std::string>(9, one));
    table.append("c", one);
    table.append("c", "4");
    EXPECT_EQ(valuesOf(table, "c"), (std::vector<std::string>{one, "4"}));
  }
}

// Across the change from the small index to the large one, and its growth.
TEST(HeaderTable, HoldsManyNamesThroughCopiesAndMoves) {
  HeaderTable table;
  const std::string long1(5000, 'x');
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 3000; ++i) {
      table.append("field-" + std::to_string(i), round == 0 ? "v" : long1);
    }
  }
  HeaderTable copy = table;
  const HeaderTable moved = std::move(table);
  table = HeaderTable();
  table.append("field-1", "anew");
  EXPECT_EQ(valuesOf(table, "field-1"), std::vector<std::string>{"anew"});
  copy.append("field-7", "more");
  for (const HeaderTable* t : {&std::as_const(copy), &moved}) {
    ASSERT_EQ(t->size(), 3000U);
    for (int i = 0; i < 3000; i += 100) {
      EXPECT_EQ(t->nameAt(static_cast<std::size_t>(i)),
                "field-" + std::to_string(i));
      EXPECT_EQ(valuesOf(*t, "field-" + std::to_string(i)),
                (std::vector<std::string>{"v", long1}));
    }
    EXPECT_FALSE(t->find("field-3000"));
  }
  EXPECT_EQ(copy.find("field-7")->size(), 3U);
  EXPECT_EQ(moved.find("field-7")->size(), 2U);
}

// Sizes around those from which a text is written or stored in another way.
TEST(HeaderTable, KeepsTextsOfAnySize) {
  constexpr std::size_t kSizes[] = {0,      1,      254,        255,
                                    256,    70000,  262143 - 5, 262144 - 5,
                                    262144, 300000, 20,         3};
  const auto text = [&](std::size_t number, char letter) {
    return std::string(kSizes[number % std::size(kSizes)], letter) +
           std::to_string(number);
  };
  HeaderTable table;
  std::vector<std::pair<std::string, std::vector<std::string>>> expected;
  for (std::size_t i = 0; i < 200; ++i) {
    const std::size_t name = i * 7 % 120;
    const std::string value = i % 3 == 0 ? "" : text(i % 31, 'v');
    table.append(text(name, 'n'), value);
    auto known = std::find_if(
        expected.begin(), expected.end(),
        [&](const auto& field) { return field.first == text(name, 'n'); });
    if (known == expected.end()) {
      known = expected.insert(known, {text(name, 'n'), {}});
    }
    known->second.push_back(value);
  }
  ASSERT_EQ(table.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_TRUE(table.nameAt(i) == expected[i].first) << i;
    EXPECT_TRUE(valuesOf(table, expected[i].first) == expected[i].second) << i;
  }
}

}  // namespace
}  // namespace quillhaven::mail
