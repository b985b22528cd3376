// Replaces stretches of a text (tags, comments) that were collected from it,
// one distinct stretch after the other in the order of their first occurrence,
// each everywhere it occurs.
//
// Read literally that costs a pass over the text for every distinct stretch.
// Replacing each stretch just where it was collected gives the same text in one
// pass, unless an earlier stretch also occurs inside a later one or comes into
// being where a removal joins two pieces; those rare texts are detected and go
// the literal way.
#ifndef QUILLHAVEN_HTML_INTERNAL_COLLECTED_STRETCHES_H_
#define QUILLHAVEN_HTML_INTERNAL_COLLECTED_STRETCHES_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::html::internal {

// Byte range [start, end) of a text.
struct Stretch {
  std::size_t start;
  std::size_t end;
};

// The literal way is taken for at most this many distinct stretches; a text
// that has more, and needs it, gets each replaced just where it was collected.
inline constexpr std::size_t kMaximumLiteralStretches = 256;

struct StretchRules {
  // Begins every stretch: "<" or "<!--".
  std::string_view opening;
  // Whether stretches are compared by simple case folding.
  bool ignoringCase;
  // Returns the first stretch that starts at a byte or later. Stretches do not
  // overlap, and ask for each only once it is over.
  std::function<std::optional<Stretch>(std::size_t from)> next;
  // Returns what stands for a stretch, "" or " ".
  std::function<std::string_view(std::string_view stretch)> replacement;
  // A stretch that the end of the text cuts off: looked for, as the last one,
  // as if ">" ended it.
  std::optional<std::string_view> cutOff = {};
};

[[nodiscard]] std::string replacingStretches(std::string_view text,
                                             const StretchRules& rules);

}  // namespace quillhaven::html::internal

#endif  // QUILLHAVEN_HTML_INTERNAL_COLLECTED_STRETCHES_H_
