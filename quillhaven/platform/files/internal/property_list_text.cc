#include "quillhaven/platform/files/internal/property_list_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "quillhaven/platform/base/ascii.h"

namespace quillhaven::platform::internal {
namespace {

using namespace std::chrono;

constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kBase64LineBytes = 51;  // 68 characters

constexpr std::int8_t kNoDigit = -1;
constexpr std::int8_t kBlank = -2;

constexpr std::array<std::int8_t, 256> makeBase64Values() {
  std::array<std::int8_t, 256> values{};
  values.fill(kNoDigit);
  for (const char blank : {' ', '\t', '\n', '\r'}) {
    values[static_cast<unsigned char>(blank)] = kBlank;
  }
  for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] =
        static_cast<std::int8_t>(i);
  }
  return values;
}

constexpr std::array<std::int8_t, 256> kBase64Values = makeBase64Values();

// Takes a number of `count` digits off the start of `text`, and the character
// `end` behind it.
std::optional<int> takeNumber(std::string_view& text, std::size_t count,
                              char end) {
  if (text.size() <= count || text[count] != end) return std::nullopt;
  if (!std::all_of(text.begin(), text.begin() + static_cast<long>(count),
                   isASCIIDigit)) {
    return std::nullopt;
  }
  int number = 0;
  std::from_chars(text.data(), text.data() + count, number);
  text.remove_prefix(count + 1);
  return number;
}

// Takes "YYYY-" with its sign off the start of `text`.
std::optional<int> takeYear(std::string_view& text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative) text.remove_prefix(1);
  const std::size_t digits = text.find('-');
  if (digits == std::string_view::npos || digits < 4 || digits > 6) {
    return std::nullopt;
  }
  const auto number = takeNumber(text, digits, '-');
  if (!number) return std::nullopt;
  return isNegative ? -*number : *number;
}

}  // namespace

std::optional<PropertyList::Date> dateFromText(std::string_view text) {
  const auto yearNumber = takeYear(text);
  const auto monthNumber = takeNumber(text, 2, '-');
  const auto dayNumber = takeNumber(text, 2, 'T');
  const auto hourNumber = takeNumber(text, 2, ':');
  const auto minuteNumber = takeNumber(text, 2, ':');
  const auto secondNumber = takeNumber(text, 2, 'Z');
  // Any other part that is missing reads as one out of its range.
  if (!yearNumber || !secondNumber || !text.empty()) return std::nullopt;

  // year_month_day ends at the year 32767; four hundred years are a cycle of
  // the calendar.
  constexpr int kCycleYears = 400;
  constexpr days kCycle{146097};
  const int cycles = *yearNumber / kCycleYears;
  const year_month_day day{
      year{*yearNumber % kCycleYears},
      month{static_cast<unsigned>(monthNumber.value_or(0))},
      std::chrono::day{static_cast<unsigned>(dayNumber.value_or(0))}};
  if (!day.ok() || hourNumber.value_or(24) > 23 ||
      minuteNumber.value_or(60) > 59 || *secondNumber > 59) {
    return std::nullopt;
  }
  constexpr int kLastYear = 290000;  // microseconds in 64 bits reach to 294246
  if (std::abs(*yearNumber) > kLastYear) return std::nullopt;
  return PropertyList::Date(sys_days(day) + cycles * kCycle +
                            hours(*hourNumber) + minutes(*minuteNumber) +
                            seconds(*secondNumber));
}

std::string textFromDate(PropertyList::Date date) {
  const auto midnight = floor<days>(date);
  // Days since 1970 to the civil calendar in whole cycles of 400 years.
  constexpr std::int64_t kCycleDays = 146097;
  const std::int64_t dayCount = midnight.time_since_epoch().count();
  const std::int64_t cycles =
      (dayCount >= 0 ? dayCount : dayCount - (kCycleDays - 1)) / kCycleDays;
  const year_month_day day(
      sys_days(days(static_cast<int>(dayCount - cycles * kCycleDays))));
  const std::int64_t yearNumber = int{day.year()} + cycles * 400;
  const hh_mm_ss time(floor<seconds>(date - midnight));

  char text[48];
  const int size = std::snprintf(
      text, sizeof text, "%s%04lld-%02u-%02uT%02d:%02d:%02dZ",
      yearNumber < 0 ? "-" : "", static_cast<long long>(std::abs(yearNumber)),
      static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
      static_cast<int>(time.hours().count()),
      static_cast<int>(time.minutes().count()),
      static_cast<int>(time.seconds().count()));
  return {text, static_cast<std::size_t>(size)};
}

std::optional<std::string> bytesFromBase64Lines(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  std::size_t digits = 0;
  std::size_t padding = 0;
  for (const char c : text) {
    const std::int8_t value = kBase64Values[static_cast<unsigned char>(c)];
    if (value == kBlank) continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    if (value == kNoDigit || padding > 0) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(value);
    if (++digits % 4 == 1) continue;
    const auto spare = 2 * (3 - (digits - 1) % 4);
    bytes.push_back(static_cast<char>(bits >> spare & 0xFF));
  }
  if (padding > 2 || (digits + padding) % 4 != 0) return std::nullopt;
  return bytes;
}

void appendBase64Lines(std::string& text, std::string_view bytes,
                       std::string_view indentation) {
  while (!bytes.empty()) {
    std::string_view line = bytes.substr(0, kBase64LineBytes);
    bytes.remove_prefix(line.size());
    text.append(indentation);
    while (!line.empty()) {
      const std::size_t count = std::min<std::size_t>(line.size(), 3);
      std::uint32_t bits = 0;
      for (std::size_t i = 0; i < 3; ++i) {
        bits =
            bits << 8 | (i < count ? static_cast<unsigned char>(line[i]) : 0);
      }
      for (std::size_t i = 0; i < 4; ++i) {
        text.push_back(i <= count ? kBase64Alphabet[bits >> (18 - 6 * i) & 63]
                                  : '=');
      }
      line.remove_prefix(count);
    }
    text.push_back('\n');
  }
}

}  // namespace quillhaven::platform::internal
