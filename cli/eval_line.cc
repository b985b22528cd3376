#include "cli/eval_line.h"

#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace quillhaven::cli {
namespace {

constexpr std::size_t kEscapeSize = 6;  // "\uXXXX"

// The UTF-16 unit of the "\uXXXX" escape at `at`, if there is one.
std::optional<unsigned> unitEscapedAt(std::string_view text, std::size_t at) {
  if (text.size() - at < kEscapeSize) return std::nullopt;
  if (text[at] != '\\' || text[at + 1] != 'u') return std::nullopt;
  unsigned unit = 0;
  const char* const end = text.data() + at + kEscapeSize;
  const auto [stop, error] =
      std::from_chars(text.data() + at + 2, end, unit, 16);
  return stop == end ? std::optional(unit) : std::nullopt;
}

bool isHighSurrogate(unsigned unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(unsigned unit) { return (unit & 0xFC00) == 0xDC00; }

// Returns the end of the escape at `at`, made one for U+FFFD where it is half a
// surrogate pair.
std::size_t passEscape(std::string& text, std::size_t at) {
  const auto unit = unitEscapedAt(text, at);
  if (!unit) return at + 2;
  const std::size_t end = at + kEscapeSize;
  if (isHighSurrogate(*unit)) {
    const auto next = unitEscapedAt(text, end);
    if (next && isLowSurrogate(*next)) return end + kEscapeSize;
  }
  if (isHighSurrogate(*unit) || isLowSurrogate(*unit)) {
    text.replace(at, kEscapeSize, "\\ufffd");
  }
  return end;
}

// Returns the end of the string whose opening quote is at `at`.
std::size_t passString(std::string& text, std::size_t at) {
  ++at;
  while (true) {
    at = text.find_first_of("\"\\", at);
    if (at == std::string::npos) return text.size();
    if (text[at] == '"') return at + 1;
    at = passEscape(text, at);
  }
}

std::string_view withoutBlanksAtEnds(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

}  // namespace

EvalLine prepareEvalLine(std::string text, int maximumDepth) {
  EvalLine line{std::move(text), {}, false};
  std::string& all = line.text;
  int depth = 0;
  bool lastStringIsId = false;
  std::size_t idStart = 0;  // 0: not in the value of an id
  const auto endMember = [&](std::size_t at) {
    if (depth != 1 || idStart == 0) return;
    const std::string_view value = std::string_view(all).substr(0, at);
    line.id = withoutBlanksAtEnds(value.substr(idStart));
    idStart = 0;
  };
  for (std::size_t at = 0; at < all.size();) {
    const std::size_t start = at++;
    switch (all[start]) {
      case '"':
        at = passString(all, start);
        lastStringIsId =
            std::string_view(all).substr(start, at - start) == "\"id\"";
        break;
      case ':':
        if (depth == 1 && lastStringIsId) idStart = at;
        break;
      case ',':
        endMember(start);
        break;
      case '{':
      case '[':
        line.isTooDeep = line.isTooDeep || ++depth > maximumDepth;
        break;
      case '}':
      case ']':
        endMember(start);
        --depth;
        break;
      default:
        break;
    }
  }
  return line;
}

}  // namespace quillhaven::cli
