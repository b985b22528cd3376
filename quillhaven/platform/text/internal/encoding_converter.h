// Conversion of the encodings that need one of ICU's converters: those of
// several bytes a character, and those that shift.
#ifndef QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_CONVERTER_H_
#define QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_CONVERTER_H_

#include <string>
#include <string_view>

#include "quillhaven/platform/text/internal/encoding_table.h"

namespace quillhaven::platform::internal {

// Appends the text of `bytes`. False when they are not all defined; `text` then
// ends in what was read so far.
[[nodiscard]] bool decodeWithConverter(const Encoding& encoding,
                                       std::string_view bytes,
                                       std::string& text);

// Appends `text` in `encoding`. A character that the encoding lacks becomes "?"
// with `substitute`, else it makes the result false.
[[nodiscard]] bool encodeWithConverter(const Encoding& encoding,
                                       std::string_view text, bool substitute,
                                       std::string& bytes);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_TEXT_INTERNAL_ENCODING_CONVERTER_H_
