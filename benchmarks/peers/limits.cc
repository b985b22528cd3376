#include <glib.h>
#include <unicode/utf8.h>

#include <cstring>
#include <vector>

#include "benchmarks/peers/contender.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::benchmarks {
namespace {

Produced copy(std::string_view bytes) {
  static std::vector<char> buffer;
  if (buffer.size() < bytes.size()) buffer.resize(bytes.size());
  if (!bytes.empty()) std::memcpy(buffer.data(), bytes.data(), bytes.size());
  // The copy has to happen although nobody reads it.
  asm volatile("" : : "r"(buffer.data()) : "memory");
  return {0, bytes.size(), 0};
}

Produced countNewlines(std::string_view bytes) {
  std::size_t lines = 0;
  for (std::size_t at = bytes.find('\n'); at != std::string_view::npos;
       at = bytes.find('\n', at + 1)) {
    ++lines;
  }
  return {0, lines, 0};
}

Produced validated(bool isValid, std::size_t size) {
  return isValid ? Produced{0, size, 0} : Produced{0, 0, 1};
}

Produced validateWithOurs(std::string_view bytes) {
  return validated(platform::isValidUTF8(bytes), bytes.size());
}

Produced validateWithICU(std::string_view bytes) {
  const auto* const text = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const auto size = static_cast<std::int32_t>(bytes.size());
  UChar32 lowest = 0;
  for (std::int32_t at = 0; at < size && lowest >= 0;) {
    U8_NEXT(text, at, size, lowest);
  }
  return validated(lowest >= 0, bytes.size());
}

Produced validateWithGLib(std::string_view bytes) {
  // g_utf8_validate() refuses NUL, which is valid UTF-8.
  const char* at = bytes.data();
  const char* const end = at + bytes.size();
  while (at < end && g_utf8_validate(at, end - at, &at) == FALSE) {
    if (*at != '\0') return validated(false, bytes.size());
    ++at;
  }
  return validated(true, bytes.size());
}

}  // namespace

Contender copyBytes() { return {"memcpy", copy, false}; }
Contender walkNewlines() {
  return {"memchr, every newline", countNewlines, false};
}
Contender validateOurs() {
  return {"UTF-8 validation, ours", validateWithOurs, false};
}
Contender validateICU() {
  return {"UTF-8 validation, ICU", validateWithICU, false};
}
Contender validateGLib() {
  return {"UTF-8 validation, GLib", validateWithGLib, false};
}

}  // namespace quillhaven::benchmarks
