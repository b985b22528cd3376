#include "quillhaven/html/internal/collected_stretches.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "quillhaven/platform/text/internal/byte_scan.h"
#include "quillhaven/platform/text/scanner.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::html::internal {
namespace {

// A hash of a stretch, and which one in the order of first occurrence it was.
struct Mark {
  std::uint64_t hash;
  std::size_t order;
};

std::uint64_t hashBase() {
  static const std::uint64_t base =
      (std::uint64_t{std::random_device{}()} << 32 | std::random_device{}()) |
      1;
  return base;
}

// Walks a stretch from its end and reports, at each occurrence of the opening,
// the hash of the text from there on: equal texts have equal hashes.
template <typename Report>
void hashFromTheEnd(std::string_view stretch, const StretchRules& rules,
                    Report report) {
  const std::uint64_t base = hashBase();
  std::uint64_t hash = 0;
  std::uint64_t weight = 1;
  for (std::size_t at = stretch.size(); at > 0;) {
    const platform::CodePoint character =
        platform::codePointBefore(stretch, at);
    at -= character.size;
    const auto value =
        rules.ignoringCase && character.value >= 'A'
            ? static_cast<std::uint64_t>(u_foldCase(
                  static_cast<UChar32>(character.value), U_FOLD_CASE_DEFAULT))
            : std::uint64_t{character.value};
    hash += (value + 1) * weight;
    weight *= base;
    if (stretch.substr(at).starts_with(rules.opening)) report(at, hash);
  }
}

// True when an occurrence of the opening lies within a stretch.
bool hasNestedOpening(std::string_view text, const StretchRules& rules) {
  for (auto s = rules.next(0); s; s = rules.next(s->end)) {
    const std::size_t nested =
        rules.opening.size() == 1
            ? text.find(rules.opening, s->start + 1)
            : platform::internal::findText(text, rules.opening, s->start + 1);
    if (nested == std::string_view::npos) return false;
    if (nested < s->end) return true;
  }
  return false;
}

// True when some stretch occurs inside one that was collected after it, or may
// begin inside one and end beyond it.
bool occursInsideLaterStretch(std::string_view text,
                              const StretchRules& rules) {
  std::vector<Mark> marks;
  for (auto s = rules.next(0); s; s = rules.next(s->end)) {
    const std::string_view stretch = text.substr(s->start, s->end - s->start);
    hashFromTheEnd(stretch, rules, [&](std::size_t at, std::uint64_t hash) {
      if (at == 0) marks.push_back({hash, marks.size()});
    });
  }
  std::sort(marks.begin(), marks.end(), [](const Mark& a, const Mark& b) {
    return std::tie(a.hash, a.order) < std::tie(b.hash, b.order);
  });
  const auto firstOrder =
      [&](std::uint64_t hash) -> std::optional<std::size_t> {
    const auto found =
        std::lower_bound(marks.begin(), marks.end(), hash,
                         [](const Mark& mark, std::uint64_t wanted) {
                           return mark.hash < wanted;
                         });
    if (found == marks.end() || found->hash != hash) return std::nullopt;
    return found->order;
  };

  for (auto s = rules.next(0); s; s = rules.next(s->end)) {
    const std::string_view stretch = text.substr(s->start, s->end - s->start);
    std::size_t firstNested = marks.size();
    std::size_t own = 0;
    std::size_t nearestToEnd = 0;
    hashFromTheEnd(stretch, rules, [&](std::size_t at, std::uint64_t hash) {
      const auto order = firstOrder(hash);
      if (at == 0) {
        own = order.value_or(0);
      } else {
        firstNested = std::min(firstNested, order.value_or(firstNested));
        nearestToEnd = std::max(nearestToEnd, at);
      }
    });
    if (firstNested < own) return true;
    // "<!-- <!-->": the inner opening shares its dashes with the end.
    if (rules.opening.size() > 1 && nearestToEnd != 0 &&
        stretch.size() - nearestToEnd < rules.opening.size() + 3) {
      return true;
    }
  }
  return false;
}

std::vector<std::string_view> distinctStretches(std::string_view text,
                                                const StretchRules& rules) {
  std::vector<std::string_view> distinct;
  const auto isSame = [&](std::string_view a, std::string_view b) {
    return rules.ignoringCase
               ? platform::prefixLengthIgnoringCase(a, b) == a.size()
               : a == b;
  };
  for (auto s = rules.next(0); s; s = rules.next(s->end)) {
    const std::string_view stretch = text.substr(s->start, s->end - s->start);
    if (std::any_of(distinct.begin(), distinct.end(),
                    [&](auto known) { return isSame(stretch, known); })) {
      continue;
    }
    if (distinct.size() == kMaximumLiteralStretches) return {};
    distinct.push_back(stretch);
  }
  return distinct;
}

std::string replacingEverywhere(std::string_view text, std::string_view stretch,
                                const StretchRules& rules) {
  std::string out;
  const std::string_view replacement = rules.replacement(stretch);
  std::size_t copied = 0;
  while (copied < text.size()) {
    platform::TextMatch match{text.size(), 0};
    if (rules.ignoringCase) {
      match = platform::findIgnoringCase(text, stretch, copied).value_or(match);
    } else if (const std::size_t at = text.find(stretch, copied);
               at != std::string_view::npos) {
      match = {at, stretch.size()};
    }
    out.append(text, copied, match.position - copied);
    if (match.size == 0) break;
    out.append(replacement);
    copied = match.position + match.size;
  }
  return out;
}

// True when `left` and `right`, joined, make a new opening.
bool joinsToOpening(std::string_view left, std::string_view right,
                    std::string_view opening) {
  for (std::size_t split = 1; split < opening.size(); ++split) {
    if (left.ends_with(opening.substr(0, split)) && !right.empty() &&
        right.front() == opening[split]) {
      return true;
    }
  }
  return false;
}

// Replaces every stretch where it was collected; nothing when a new opening
// comes into being, or a stretch cut off by the end of the text ("<!----") may
// begin one that was not collected ("<!---->").
std::optional<std::string> replacingInPlace(std::string_view text,
                                            const StretchRules& rules,
                                            bool isFinal) {
  std::string out;
  out.reserve(text.size());
  std::size_t copied = 0;
  const auto copyTo = [&](std::size_t end) {
    const std::string_view piece = text.substr(copied, end - copied);
    const bool joins = copied != 0 && joinsToOpening(out, piece, rules.opening);
    out.append(piece);
    return isFinal || !joins;
  };
  for (auto s = rules.next(0); s; s = rules.next(s->end)) {
    const bool isShort = rules.opening.size() > 1 &&
                         s->end - s->start < rules.opening.size() + 3;
    if (!copyTo(s->start) || (isShort && !isFinal)) return std::nullopt;
    out.append(rules.replacement(text.substr(s->start, s->end - s->start)));
    copied = s->end;
  }
  if (!copyTo(text.size())) return std::nullopt;
  return out;
}

}  // namespace

std::string replacingStretches(std::string_view text,
                               const StretchRules& rules) {
  if (!hasNestedOpening(text, rules) ||
      !occursInsideLaterStretch(text, rules)) {
    if (auto result = replacingInPlace(text, rules, false)) {
      return *std::move(result);
    }
  }
  const std::vector<std::string_view> distinct = distinctStretches(text, rules);
  if (distinct.empty()) return *replacingInPlace(text, rules, true);
  std::string out(text);
  for (const std::string_view stretch : distinct) {
    out = replacingEverywhere(out, stretch, rules);
  }
  if (rules.cutOff) {
    const std::string closed = std::string(*rules.cutOff).append(">");
    out = replacingEverywhere(out, closed, rules);
  }
  return out;
}

}  // namespace quillhaven::html::internal
