// Lists cut into pieces of one size.
#ifndef QUILLHAVEN_CONCURRENCY_CHUNKED_H_
#define QUILLHAVEN_CONCURRENCY_CHUNKED_H_

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::concurrency {

// Returns the elements in their order, in consecutive pieces of `size`
// elements; the last piece is shorter when they do not divide evenly, and an
// empty list has none. A size of zero or less is a fatal error: there is no
// such step.
template <typename Element>
[[nodiscard]] std::vector<std::vector<Element>> chunked(
    const std::vector<Element>& elements, std::ptrdiff_t size) {
  if (size <= 0) platform::fatalError("the size of chunks must be positive");
  const auto count = std::ssize(elements);
  std::vector<std::vector<Element>> chunks;
  chunks.reserve(static_cast<std::size_t>(count / size + 1));
  for (std::ptrdiff_t start = 0; start < count;) {
    const std::ptrdiff_t end = start + std::min(size, count - start);
    chunks.emplace_back(elements.begin() + start, elements.begin() + end);
    start = end;
  }
  return chunks;
}

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_CHUNKED_H_
