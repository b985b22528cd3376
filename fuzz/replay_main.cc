// Runs a fuzz target over files instead of generated input, so that every test
// run repeats the seeds, with each compiler and sanitizer.
//
//   message_replay FOLDER...
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace {

// Short files also stand for their beginnings: input cut off at every byte.
constexpr std::size_t kLongestFileCutOff = 4096;

std::vector<std::uint8_t> readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void replay(const std::vector<std::uint8_t>& bytes) {
  std::size_t size = bytes.size() < kLongestFileCutOff ? 0 : bytes.size();
  for (; size <= bytes.size(); ++size) {
    // A copy of just that size, so that a sanitizer sees a read past its end.
    const std::vector<std::uint8_t> input(bytes.data(), bytes.data() + size);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  for (int i = 1; i < argc; ++i) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::cerr << entry.path().string() << '\n';  // the last one is at fault
      replay(readFile(entry.path()));
      ++count;
    }
    if (count == 0) {
      std::cerr << "no files in " << argv[i] << '\n';
      return 1;
    }
  }
  return argc > 1 ? 0 : 1;
}
