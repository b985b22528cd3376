// Measures contenders in interleaved rounds and sums up what came out.
#ifndef QUILLHAVEN_BENCHMARKS_MEASURE_H_
#define QUILLHAVEN_BENCHMARKS_MEASURE_H_

#include <cstddef>
#include <functional>
#include <vector>

namespace quillhaven::benchmarks {

// Processor time of the calling thread, in seconds. Other programs on the
// machine disturb it less than the time of day.
[[nodiscard]] double threadSeconds();

// The middle of `values`, the mean of the two middle ones for an even count.
// `values` must not be empty.
[[nodiscard]] double median(std::vector<double> values);

// One pass over the whole input.
using Pass = std::function<void()>;

struct MeasureOptions {
  int rounds = 7;
  double minimumSeconds = 0.2;  // of each contender in each round
};

// Throughputs in megabytes (10^6 bytes) a second, and how often one contender
// gets through the input while the other does so once.
struct Comparison {
  double ours = 0;
  double theirs = 0;
  double ratio = 0;  // ours / theirs, the median of the rounds
  double smallestRatio = 0;
  double largestRatio = 0;
};

// Runs both passes in turn, after one of each that does not count, and compares
// them round by round. `sizeInBytes` is what one pass reads.
[[nodiscard]] Comparison compare(const Pass& ours, const Pass& theirs,
                                 std::size_t sizeInBytes,
                                 const MeasureOptions& options);

// Keeps the compiler from dropping the computation of `value`.
void keep(std::size_t value);

}  // namespace quillhaven::benchmarks

#endif  // QUILLHAVEN_BENCHMARKS_MEASURE_H_
