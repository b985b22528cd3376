// Counting in UTF-16 units, and assembling text from them, without storing
// UTF-16.
#ifndef QUILLHAVEN_PLATFORM_TEXT_UTF16_H_
#define QUILLHAVEN_PLATFORM_TEXT_UTF16_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// The number of UTF-16 units of `text`, which must be valid UTF-8.
[[nodiscard]] std::size_t lengthInUTF16Units(std::string_view text);

// The start of a text, counted in UTF-16 units.
struct UTF16Prefix {
  std::size_t size;     // in bytes, of the whole code points in it
  bool endsInsidePair;  // one more unit: the first half of a surrogate pair
};

// Returns the first `units` UTF-16 units of `text`, which must be valid UTF-8;
// all of it when it has no more.
[[nodiscard]] UTF16Prefix utf16Prefix(std::string_view text, std::size_t units);

// Appends `unit` to `text`. A low surrogate completes a high one that
// `pendingHighSurrogate` holds; a surrogate that finds no partner becomes
// U+FFFD. Call flushUTF16() before appending anything else and at the end.
void appendUTF16Unit(std::string& text, char16_t unit,
                     char16_t& pendingHighSurrogate);

// Writes a high surrogate still waiting for its partner as U+FFFD.
void flushUTF16(std::string& text, char16_t& pendingHighSurrogate);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_UTF16_H_
