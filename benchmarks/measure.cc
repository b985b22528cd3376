#include "benchmarks/measure.h"

#include <algorithm>
#include <cassert>
#include <ctime>

namespace quillhaven::benchmarks {
namespace {

volatile std::size_t sink;

// Returns the throughput of as many passes as the minimum time takes.
double megabytesPerSecond(const Pass& pass, std::size_t sizeInBytes,
                          double minimumSeconds) {
  const double start = threadSeconds();
  double passes = 0;
  double elapsed = 0;
  do {
    pass();
    ++passes;
    elapsed = threadSeconds() - start;
  } while (elapsed < minimumSeconds || elapsed <= 0);
  return passes * static_cast<double>(sizeInBytes) / elapsed / 1e6;
}

}  // namespace

double threadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) +
         static_cast<double>(now.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
  assert(!values.empty());
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  if (values.size() % 2 == 1) return values[middle];
  return (values[middle - 1] + values[middle]) / 2;
}

Comparison compare(const Pass& ours, const Pass& theirs,
                   std::size_t sizeInBytes, const MeasureOptions& options) {
  ours();
  theirs();
  std::vector<double> ourRates;
  std::vector<double> theirRates;
  std::vector<double> ratios;
  for (int round = 0; round < options.rounds; ++round) {
    ourRates.push_back(
        megabytesPerSecond(ours, sizeInBytes, options.minimumSeconds));
    theirRates.push_back(
        megabytesPerSecond(theirs, sizeInBytes, options.minimumSeconds));
    ratios.push_back(ourRates.back() / theirRates.back());
  }
  const auto [smallest, largest] =
      std::minmax_element(ratios.begin(), ratios.end());
  return {median(ourRates), median(theirRates), median(ratios), *smallest,
          *largest};
}

void keep(std::size_t value) { sink = sink + value; }

}  // namespace quillhaven::benchmarks
