// Wildcards: the pattern escaped as a regular expression, ".*" for its "*" and
// ".{1}" for its "?", searched for in the text; "." matches no line break.
// Tests hold this equal to ICU over generated text.
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf8.h"
#include "quillhaven/strings/string_helpers.h"

namespace quillhaven::strings {
namespace {

using platform::internal::findNewline;
using platform::internal::newlineLength;

// A set of places in a pattern, 64 a word.
using Bits = std::vector<std::uint64_t>;

constexpr std::size_t kWordSize = 64;

void setBit(Bits& bits, std::size_t at) {
  bits[at / kWordSize] |= std::uint64_t{1} << at % kWordSize;
}

// Follows every way in which a pattern can match at once: bit i of the state
// says that its first i characters have matched up to here.
class PatternAutomaton {
 public:
  explicit PatternAutomaton(std::string_view pattern) {
    for (const char c : pattern) {
      length_ += static_cast<std::size_t>(c != '*' && (c & 0xC0) != 0x80);
    }
    const Bits none(length_ / kWordSize + 1);
    repeating_ = anyCharacter_ = none;
    std::size_t place = 0;
    for (std::size_t at = 0; at < pattern.size();) {
      const auto character = platform::codePointAt(pattern, at);
      at += character.size;
      if (character.value == '*') {
        setBit(repeating_, place);
        continue;
      }
      ++place;
      if (character.value == '?') {
        setBit(anyCharacter_, place);
      } else {
        setBit(literal_.try_emplace(character.value, none).first->second,
               place);
      }
    }
  }

  // Returns the end of the match that ends first in `text`, at `from` or later;
  // it begins at `from` or later too.
  [[nodiscard]] std::optional<std::size_t> earliestEnd(std::string_view text,
                                                       std::size_t from) const {
    Bits state(repeating_.size());
    setBit(state, 0);
    std::size_t at = from;
    while (!isMatched(state)) {
      if (at >= text.size()) return std::nullopt;
      const auto character = platform::codePointAt(text, at);
      advance(state, character.value, newlineLength(text, at) == 0);
      at += character.size;
    }
    return at;
  }

 private:
  [[nodiscard]] bool isMatched(const Bits& state) const {
    return (state[length_ / kWordSize] >> length_ % kWordSize & 1) != 0;
  }

  void advance(Bits& state, char32_t character, bool isInLine) const {
    const auto found = literal_.find(character);
    const Bits* const literal =
        found == literal_.end() ? nullptr : &found->second;
    std::uint64_t carry = 1;  // a match may begin anywhere
    for (std::size_t i = 0; i < state.size(); ++i) {
      const std::uint64_t moved = state[i] << 1 | carry;
      carry = state[i] >> (kWordSize - 1);
      const std::uint64_t kept = isInLine ? state[i] & repeating_[i] : 0;
      std::uint64_t allowed = isInLine ? anyCharacter_[i] : 0;
      if (literal != nullptr) allowed |= (*literal)[i];
      state[i] = (moved & allowed) | kept;
    }
    state[0] |= 1;
  }

  std::size_t length_ = 0;                      // in characters, "*" aside
  Bits repeating_;                              // after these many comes "*"
  Bits anyCharacter_;                           // the last of these many is "?"
  std::unordered_map<char32_t, Bits> literal_;  // or this character
};

// What stands between two "*".
class Segment {
 public:
  explicit Segment(std::string_view pattern) : literal_(pattern) {
    if (pattern.find('?') != std::string_view::npos) {
      automaton_ = std::make_unique<const PatternAutomaton>(pattern);
    }
  }

  // Returns the end of the match that ends first in `text`, from `from` on.
  [[nodiscard]] std::optional<std::size_t> earliestEnd(std::string_view text,
                                                       std::size_t from) const {
    if (automaton_) return automaton_->earliestEnd(text, from);
    if (text.size() - from < literal_.size()) return std::nullopt;
    // Unlike std::string_view::find(), linear for every pair of texts.
    const void* const found = memmem(text.data() + from, text.size() - from,
                                     literal_.data(), literal_.size());
    if (found == nullptr) return std::nullopt;
    return static_cast<std::size_t>(static_cast<const char*>(found) -
                                    text.data()) +
           literal_.size();
  }

 private:
  std::string_view literal_;
  std::unique_ptr<const PatternAutomaton> automaton_;
};

// None of them is empty.
std::vector<Segment> segmentsOf(std::string_view pattern) {
  std::vector<Segment> segments;
  for (std::size_t start = pattern.find_first_not_of('*');
       start != std::string_view::npos;) {
    const std::size_t end = pattern.find('*', start);
    segments.emplace_back(pattern.substr(start, end - start));
    start = pattern.find_first_not_of('*', end);
  }
  return segments;
}

// Whether all segments stand in `line`, one after the other. What ends first
// leaves the most room for the rest.
bool areInOrder(const std::vector<Segment>& segments, std::string_view line) {
  std::size_t at = 0;
  for (const Segment& segment : segments) {
    const auto end = segment.earliestEnd(line, at);
    if (!end) return false;
    at = *end;
  }
  return true;
}

}  // namespace

bool contains(std::string_view text, std::string_view wildcardPattern) {
  // Line breaks in the pattern tie lines together.
  if (findNewline(wildcardPattern, 0) < wildcardPattern.size()) {
    return PatternAutomaton(wildcardPattern).earliestEnd(text, 0).has_value();
  }
  const std::vector<Segment> segments = segmentsOf(wildcardPattern);
  for (std::size_t start = 0;;) {
    const std::size_t end = findNewline(text, start);
    if (areInOrder(segments, text.substr(start, end - start))) return true;
    if (end == text.size()) return false;
    start = end + newlineLength(text, end);
  }
}

}  // namespace quillhaven::strings
