// What every fuzz target shares: the entry point that libFuzzer and
// replay_main.cc call, and the check that ends a run when an invariant breaks.
#ifndef QUILLHAVEN_FUZZ_FUZZ_TARGET_H_
#define QUILLHAVEN_FUZZ_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

// Runs one input; always returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size);

// Called once before the first input. Silences the library's log.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace quillhaven::fuzz {

// The input as bytes; `data` may be null when `size` is 0.
inline std::string_view inputBytes(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Aborts and names `invariant` on standard error unless it holds.
void require(bool holds, std::string_view invariant);

// The same for what holds of every text that the library hands out.
void requireUTF8(std::string_view text);

}  // namespace quillhaven::fuzz

#endif  // QUILLHAVEN_FUZZ_FUZZ_TARGET_H_
