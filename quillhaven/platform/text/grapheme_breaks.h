// User-perceived characters: the extended grapheme clusters of Unicode (UAX
// #29, section 3.1) as ICU cuts them, the conjuncts of six Indic scripts
// included. A letter with its marks is one, and so are a flag, a family of
// emoji and CR LF.
#ifndef QUILLHAVEN_PLATFORM_TEXT_GRAPHEME_BREAKS_H_
#define QUILLHAVEN_PLATFORM_TEXT_GRAPHEME_BREAKS_H_

#include <cstddef>
#include <string_view>

namespace quillhaven::platform {

// All are thread-safe and take valid UTF-8.

// Returns the number of characters of `text`.
[[nodiscard]] std::size_t characterCount(std::string_view text);

// Returns the first `count` characters of `text`, all of it when it has no
// more. Reads only what it returns and one code point more, so that cutting a
// long text short costs what is left of it. A view into `text`.
[[nodiscard]] std::string_view firstCharacters(std::string_view text,
                                               std::size_t count);

// Returns the last `count` characters of `text`, all of it when it has no more.
// Reads from the end, only as far as the answer depends on it. A view into
// `text`.
[[nodiscard]] std::string_view lastCharacters(std::string_view text,
                                              std::size_t count);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_GRAPHEME_BREAKS_H_
