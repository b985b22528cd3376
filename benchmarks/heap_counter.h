// Counts what the whole program has on the heap: a program that links this file
// has its malloc() and operator new replaced.
#ifndef QUILLHAVEN_BENCHMARKS_HEAP_COUNTER_H_
#define QUILLHAVEN_BENCHMARKS_HEAP_COUNTER_H_

#include <cstddef>

namespace quillhaven::benchmarks {

// Bytes in use, rounded up as malloc() does.
[[nodiscard]] std::size_t heapInUse();

// Starts a new high-water mark at what is in use now.
void resetHeapPeak();

// The most that was in use at any time since then, in bytes.
[[nodiscard]] std::size_t heapPeak();

// All that was ever handed out, in bytes.
[[nodiscard]] std::size_t heapTotal();

}  // namespace quillhaven::benchmarks

#endif  // QUILLHAVEN_BENCHMARKS_HEAP_COUNTER_H_
