// Input made to hurt: messages and HTML texts of any size on which a careless
// parser takes more than linear time or much memory. Needs nothing but the
// standard library; tests use the same shapes at small sizes.
#ifndef QUILLHAVEN_BENCHMARKS_SHAPES_H_
#define QUILLHAVEN_BENCHMARKS_SHAPES_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace quillhaven::benchmarks {

// One shape. `make` returns exactly `size` bytes of valid UTF-8, or a few more
// where the parts that make the shape do not fit into fewer (at most 1 KiB).
// Equal sizes give equal bytes.
struct Shape {
  std::string name;         // lower-case words and hyphens
  std::string description;  // what the message or text consists of
  std::function<std::string(std::size_t size)> make;
};

// Messages that the parser accepts, so that it has to work through them.
[[nodiscard]] const std::vector<Shape>& hostileMessages();

// Texts for the operations on HTML and plain text.
[[nodiscard]] const std::vector<Shape>& hostileTexts();

}  // namespace quillhaven::benchmarks

#endif  // QUILLHAVEN_BENCHMARKS_SHAPES_H_
