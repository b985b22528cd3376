// Moves text through blocks of UTF-16 units, so that a conversion holds a few
// kilobytes of them and never the whole text.
#ifndef QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_UNITS_H_
#define QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_UNITS_H_

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/internal/encoding_table.h"

namespace quillhaven::platform::internal {

inline constexpr std::size_t kUnitsInBlock = 1024;
using UnitBlock = std::array<char16_t, kUnitsInBlock>;

// The text of so many bytes or more is counted before it is made, so that it
// takes no more room than it needs: a string that grows step by step has three
// times its size in use for a moment.
inline constexpr std::size_t kLongText = std::size_t{64} * 1024;

// Returns the size in bytes of the text that a UnitWriter makes of `units`.
[[nodiscard]] std::size_t textSizeOfUnits(std::u16string_view units);

// Appends UTF-16 units to text. One thread at a time.
class UnitWriter {
 public:
  // Both must outlive the writer.
  UnitWriter(std::string& text, const Encoding& encoding)
      : text_(text), encoding_(encoding) {}

  // Appends at most kUnitsInBlock units. False when a surrogate lacks its
  // partner or the encoding may not hold a character. A pair may be cut between
  // two calls.
  [[nodiscard]] bool write(std::u16string_view units);

  // False when the last unit still waits for its partner.
  [[nodiscard]] bool isComplete() const { return high_ == 0; }

 private:
  std::string& text_;
  const Encoding& encoding_;
  char32_t high_ = 0;  // a high surrogate, or 0
};

// Fills `block` with the units of `text` from byte `at` on, which it moves past
// the characters it took, and returns their number. With `substitute`,
// characters that `encoding` may not hold become "?", else they end the reading
// with 0 units.
[[nodiscard]] std::size_t readUnits(std::string_view text, std::size_t& at,
                                    const Encoding& encoding, bool substitute,
                                    UnitBlock& block);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_UNITS_H_
