// Address checks beside the ICU patterns they stand for. BM_ICU has the text in
// UTF-16 and its characters counted already, and one matcher for all texts;
// BM_ICUFromUTF8 does the same work as we do.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/strings/email_addresses.h"
#include "quillhaven/strings/string_helpers.h"
#include "quillhaven/strings/testing/generated_text.h"
#include "quillhaven/strings/testing/icu_pattern.h"

namespace quillhaven::strings {
namespace {

using testing::ICUPattern;

constexpr std::string_view kValid =
    R"(^.+@([A-Za-z0-9-]+\.)+[A-Za-z]{2}[A-Za-z]*$)";
constexpr std::string_view kFormatted =
    R"(^([^<]+ )?<[A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,6}>$)";
constexpr std::string_view kAddress =
    R"([A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,6})";

// As they stand in headers and forms, some of them mistyped.
const std::vector<std::string> kTexts = {
    "jun@heronpress.example.org",
    "Amélie Duval <amelie.duval@ferry-company.example>",
    "<no-reply+4711@notifications.mail.example.com>",
    "john.doe42@mail.example",
    "john.doe42@mail",
    "john doe at mail.example",
    "\"Doe, John\" <john.doe@mail.example>",
    "岡部 純 <jun@heronpress.example.org>",
    "undisclosed-recipients:;",
    "info@example.co.uk ",
};

template <auto operation>
void BM_Ours(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& text : kTexts) {
      benchmark::DoNotOptimize(operation(text));
    }
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(kTexts.size()));
}

enum class Search { kWhole, kCounted };

template <const std::string_view& pattern, Search search>
void BM_ICU(benchmark::State& state) {
  ICUPattern matcher(pattern, search == Search::kCounted
                                  ? std::uint32_t{UREGEX_CASE_INSENSITIVE}
                                  : 0U);
  struct Prepared {
    icu::UnicodeString units;
    std::int32_t count;
  };
  std::vector<Prepared> texts;
  for (const std::string& text : kTexts) {
    const icu::UnicodeString units = testing::unitsOf(text);
    texts.push_back({units, testing::characterCountByICU(units)});
  }
  for (auto _ : state) {
    for (const Prepared& text : texts) {
      benchmark::DoNotOptimize(search == Search::kWhole
                                   ? matcher.matchesWhole(text.units)
                                   : matcher.find(text.units, text.count));
    }
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(texts.size()));
}

template <const std::string_view& pattern, Search search>
void BM_ICUFromUTF8(benchmark::State& state) {
  ICUPattern matcher(pattern, search == Search::kCounted
                                  ? std::uint32_t{UREGEX_CASE_INSENSITIVE}
                                  : 0U);
  for (auto _ : state) {
    for (const std::string& text : kTexts) {
      const icu::UnicodeString units = testing::unitsOf(text);
      benchmark::DoNotOptimize(
          search == Search::kWhole
              ? matcher.matchesWhole(units)
              : matcher.find(units, testing::characterCountByICU(units)));
    }
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(kTexts.size()));
}

BENCHMARK(BM_Ours<isValidEmail>);
BENCHMARK(BM_ICU<kValid, Search::kWhole>);
BENCHMARK(BM_ICUFromUTF8<kValid, Search::kWhole>);
BENCHMARK(BM_Ours<isFormattedEmail>);
BENCHMARK(BM_ICU<kFormatted, Search::kCounted>);
BENCHMARK(BM_ICUFromUTF8<kFormatted, Search::kCounted>);
BENCHMARK(BM_Ours<emailAddress>);
BENCHMARK(BM_ICU<kAddress, Search::kCounted>);
BENCHMARK(BM_ICUFromUTF8<kAddress, Search::kCounted>);
BENCHMARK(BM_Ours<emailName>);

// Text made to hurt: time per byte must not depend on the size.
struct HostileCase {
  const char* name;
  std::string_view piece;
  void (*run)(std::string_view text);
};

template <auto operation>
void onText(std::string_view text) {
  benchmark::DoNotOptimize(operation(text));
}

void containsManySegments(std::string_view text) {
  benchmark::DoNotOptimize(contains(text, "a*a*a*a*a*a*a*a*b?"));
}
void truncatedLate(std::string_view text) {
  benchmark::DoNotOptimize(
      truncating(text, static_cast<std::int64_t>(text.size()) - 1, ""));
}
void truncatedEarly(std::string_view text) {
  benchmark::DoNotOptimize(truncatingMiddle(text, 1000));
}

constexpr HostileCase kHostileCases[] = {
    {"emailAddress/signs", "a@", onText<emailAddress>},
    {"emailAddress/dots", "a@b.", onText<emailAddress>},
    {"isFormattedEmail/marks", "\xCC\x81", onText<isFormattedEmail>},
    {"emailName/dots", ".", onText<emailName>},
    {"containsLiquid/braces", "{{", onText<containsLiquid>},
    {"strippedFromHTML/openings", "<", onText<strippedFromHTML>},
    {"truncating/blanks", " ", truncatedLate},
    {"truncatingMiddle/marks", "\xCC\x81", truncatedEarly},
    {"truncatingMiddle/flags", "\xF0\x9F\x87\xA9", truncatedEarly},
    {"contains/segments", "a", containsManySegments},
};

const bool kIsRegistered = [] {
  for (const HostileCase& c : kHostileCases) {
    const auto run = [c](benchmark::State& state) {
      const std::string text = testing::repeated(
          c.piece, static_cast<std::size_t>(state.range(0)) / c.piece.size());
      for (auto _ : state) c.run(text);
      state.SetBytesProcessed(state.iterations() *
                              static_cast<std::int64_t>(text.size()));
    };
    benchmark::RegisterBenchmark(c.name, run)->Arg(1 << 16)->Arg(1 << 20);
  }
  return true;
}();

}  // namespace
}  // namespace quillhaven::strings
