// Short operations on strings. All are thread-safe, take valid UTF-8 and take
// time proportional to the length of the text. "Characters" are user-perceived
// ones (platform/text/grapheme_breaks.h), "white space" is Unicode's, line
// breaks included, except where something else is said.
#ifndef QUILLHAVEN_STRINGS_STRING_HELPERS_H_
#define QUILLHAVEN_STRINGS_STRING_HELPERS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/text/character_set.h"

namespace quillhaven::strings {

// Returns the flag of a country as two regional indicators: "DE" gives the
// German one. Other characters are shifted just as far, lower-case letters too,
// which gives no flag. A character that would be shifted beyond U+10FFFF is a
// fatal error.
[[nodiscard]] std::string emojiFlag(std::string_view countryCode);

// Returns the hexadecimal number at the start of `text` as the C library's
// strtoul() reads it with base 16 in the C locale: white space, a sign and "0x"
// may come first, reading stops at the first other character, and nothing to
// read is 0. A minus sign wraps around; beyond 64 bits the result is 2^64 - 1.
[[nodiscard]] std::uint64_t hexToDecimal(std::string_view text);

// Returns the UTF-8 bytes of `text` as two lower-case hexadecimal digits each,
// or nothing when `text` is not valid UTF-8.
[[nodiscard]] std::optional<std::string> hexString(std::string_view text);

// Returns `text` with `replacement` for every code point of `charactersIn`.
[[nodiscard]] std::string replacing(std::string_view text,
                                    const platform::CharacterSet& charactersIn,
                                    std::string_view replacement);

// Returns `text` with its first character in title case, whatever the language,
// and the rest unchanged: "\u00DFa" gives "Ssa".
[[nodiscard]] std::string capitalizingFirstLetter(std::string_view text);

// Returns `text` without "<" and ">" at its ends.
[[nodiscard]] std::string trimmedMessageId(std::string_view text);

// Returns `text` without any "<" and ">", and without the "cid:" that then
// stands at its start: "<cid:part1>" gives "part1".
[[nodiscard]] std::string trimmedContentID(std::string_view text);

// True when `wildcardPattern` matches somewhere in `text`. "*" is any run
// within a line, "?" one code point but no line break, everything else itself.
// Patterns without "?" and line breaks cost as much as reading the text once;
// others that, times one for each 64 characters of the pattern.
[[nodiscard]] bool contains(std::string_view text,
                            std::string_view wildcardPattern);

// Returns `text` if it has no more than `length` characters, else its first
// `length` ones without white space at their end, and `trailing` after them; so
// the result may be longer than `length`. A negative length is a fatal error.
[[nodiscard]] std::string truncating(std::string_view text, std::int64_t length,
                                     std::string_view trailing);

// truncating() with an ellipsis, U+2026.
[[nodiscard]] std::string stringByTruncatingToLength(std::string_view text,
                                                     std::int64_t length);

// Returns `text` if it has no more than `length` characters, else half as many
// from its start, an ellipsis (U+2026), and half as many from its end; half is
// rounded down. White space at the end of the first half goes, and blanks (no
// line breaks) at both ends of the second. With 6, "abcdefghij" gives
// "abc\u2026hij". A negative length is a fatal error.
[[nodiscard]] std::string truncatingMiddle(std::string_view text,
                                           std::int64_t length);

// Returns `text` without white space at its end.
[[nodiscard]] std::string trimmingTrailingWhitespace(std::string_view text);

// Returns `text` without tags: each "<" and what follows up to the next ">",
// unless that is nothing. No blank takes their place.
[[nodiscard]] std::string strippedFromHTML(std::string_view text);

// True when `text` has a template placeholder that is not empty and on one
// line:
// "{{ name }}" or "{% if %}".
[[nodiscard]] bool containsLiquid(std::string_view text);

// Returns `text` with a backslash before each of the 22 characters that mean
// something to a shell. Line feeds stay as they are: quote what may have them.
[[nodiscard]] std::string shellEscaped(std::string_view text);

// Returns `text` in lower case with "-" where words of ASCII letters begin:
// "XMLParser" gives "xml-parser", "myValue2" gives "my-value-2".
[[nodiscard]] std::string lowerKebabCased(std::string_view text);

// Returns `text`, or nothing when it is empty.
[[nodiscard]] std::optional<std::string> presence(std::string_view text);

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_STRING_HELPERS_H_
