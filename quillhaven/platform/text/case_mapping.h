// Case mapping of Unicode text, without regard to a language.
#ifndef QUILLHAVEN_PLATFORM_TEXT_CASE_MAPPING_H_
#define QUILLHAVEN_PLATFORM_TEXT_CASE_MAPPING_H_

#include <string>
#include <string_view>

namespace quillhaven::platform {

// Returns `text` (valid UTF-8) with the full Unicode mapping to lower or upper
// case, in the root locale. Thread-safe.
[[nodiscard]] std::string lowercased(std::string_view text);
[[nodiscard]] std::string uppercased(std::string_view text);

// Returns `word` (valid UTF-8) capitalised: its first cased letter in the full
// mapping to title case, what follows it in lower case. "ß" gives "Ss", "ǆ"
// gives "ǅ". Where words begin and end is the caller's business. Thread-safe.
[[nodiscard]] std::string capitalized(std::string_view word);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_TEXT_CASE_MAPPING_H_
