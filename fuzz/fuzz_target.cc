#include "fuzz/fuzz_target.h"

#include <cstdlib>
#include <iostream>

#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/text/utf8.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  quillhaven::platform::setLogSink([](const auto&) {});
  return 0;
}

namespace quillhaven::fuzz {

void require(bool holds, std::string_view invariant) {
  if (holds) return;
  std::cerr << "broken invariant: " << invariant << std::endl;
  std::abort();
}

void requireUTF8(std::string_view text) {
  require(platform::isValidUTF8(text), "text is valid UTF-8");
}

}  // namespace quillhaven::fuzz
