#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "quillhaven/concurrency/chunked.h"
#include "quillhaven/concurrency/internal/log_subsystem.h"
#include "quillhaven/concurrency/log.h"
#include "quillhaven/concurrency/once.h"
#include "quillhaven/concurrency/result.h"

namespace quillhaven::concurrency {
namespace {

TEST(Once, RunsABlockOnceAToken) {
  std::string order;
  once("outer", [&] {
    order += "outer ";
    once("outer", [&] { order += "again "; });  // its own token does nothing
    once("inner", [&] { order += "inner "; });
  });
  once("outer", [&] { order += "again "; });
  once("inner", [&] { order += "again "; });
  once("", [&] { order += "empty "; });
  EXPECT_EQ(order, "outer inner empty ");
}

TEST(Once, CountsABlockThatThrowsAsRun) {
  int runs = 0;
  EXPECT_THROW(once("throws",
                    [&] {
                      ++runs;
                      throw std::runtime_error("out");
                    }),
               std::runtime_error);
  once("throws", [&] { ++runs; });
  std::thread([&] { once("after it", [&] { ++runs; }); }).join();  // unlocked
  EXPECT_EQ(runs, 2);
}

TEST(Once, RunsOnceACallSiteAndContext) {
  int runs = 0;
  const auto count = [&] { ++runs; };
  once("a.cc", "f()", 7, std::nullopt, count);
  EXPECT_EQ(runs, 1);
  once("a.cc", "f()", 7, "", count);
  once("a.cc:f():7:", count);
  EXPECT_EQ(runs, 1);  // one token in three ways
  once("a.cc", "f()", 7, "x", count);
  once("a.cc:f():7:x", count);
  once("a.cc", "f()", 8, std::nullopt, count);
  EXPECT_EQ(runs, 3);
  for (int i = 0; i < 3; ++i) once(count);
  once(count);
  EXPECT_EQ(runs, 5);
}

TEST(Once, RunsOnceHoweverManyThreadsAsk) {
  int runs = 0;
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] { once("threads", [&] { ++runs; }); });
    }
  }
  EXPECT_EQ(runs, 1);
}

TEST(Result, HoldsAValueOrAFailure) {
  using Same = Result<std::string, std::string>;
  const auto value = Same::success("kept");
  EXPECT_TRUE(value.isSuccess());
  EXPECT_EQ(value.value(), "kept");
  EXPECT_EQ(value.error(), std::nullopt);
  const auto failure = Same::failure("kept");
  EXPECT_FALSE(failure.isSuccess());
  EXPECT_EQ(failure.value(), std::nullopt);
  EXPECT_EQ(failure.error(), "kept");
  EXPECT_NE(value, failure);
  auto owner =
      Result<std::unique_ptr<int>, int>::success(std::make_unique<int>(5));
  EXPECT_EQ(**std::move(owner).value(), 5);
}

TEST(Chunked, CutsIntoPiecesOfOneSize) {
  using Chunks = std::vector<std::vector<int>>;
  const std::vector<int> five = {1, 2, 3, 4, 5};
  const struct {
    std::vector<int> elements;
    std::ptrdiff_t size;
    Chunks chunks;
  } cases[] = {
      {five, 2, {{1, 2}, {3, 4}, {5}}},
      {five, 1, {{1}, {2}, {3}, {4}, {5}}},
      {five, 4, {{1, 2, 3, 4}, {5}}},
      {five, 5, {five}},
      {five, 6, {five}},
      {five, PTRDIFF_MAX, {five}},
      {{}, 3, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    EXPECT_EQ(chunked(c.elements, c.size), c.chunks);
  }
}

TEST(Chunked, RefusesASizeThatIsNotPositive) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const std::ptrdiff_t size :
       {std::ptrdiff_t{0}, std::ptrdiff_t{-1}, PTRDIFF_MIN}) {
    EXPECT_DEATH(static_cast<void>(chunked(std::vector<int>{}, size)),
                 "the size of chunks must be positive");
  }
}

TEST(Log, NamesTheComponentItRunsIn) {
  std::string seen;
  auto before = platform::setLogSink([&](const platform::LogMessage& message) {
    seen += std::string(message.subsystem) + "|" +
            std::string(message.category) + " ";
  });
  const auto type = platform::LogType::kInfo;
  internal::logOfBundle("com.example.agent").log(type, "a");
  internal::logOfBundle(std::nullopt).log(type, "b");
  Log().log(type, "c");
  platform::setLogSink(std::move(before));
  EXPECT_TRUE(
      seen.starts_with("com.example.agent|\u24C6 General "
                       "com.quillhaven.app|\u24C6 General "))
      << seen;
  EXPECT_TRUE(seen.ends_with("|\u24C6 General ")) << seen;
}

}  // namespace
}  // namespace quillhaven::concurrency
