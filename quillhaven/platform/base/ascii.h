// Protocol text: letters and digits of ASCII, without any locale.
#ifndef QUILLHAVEN_PLATFORM_BASE_ASCII_H_
#define QUILLHAVEN_PLATFORM_BASE_ASCII_H_

#include <cstddef>
#include <string_view>

namespace quillhaven::platform {

constexpr bool isASCIIDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isASCIIUpper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool isASCIILetter(char c) {
  return isASCIIUpper(c) || (c >= 'a' && c <= 'z');
}

constexpr char asciiLower(char c) {
  return isASCIIUpper(c) ? static_cast<char>(c + ('a' - 'A')) : c;
}

// The value of a hexadecimal digit, or -1.
constexpr int hexDigitValue(char c) {
  if (isASCIIDigit(c)) return c - '0';
  const char lower = asciiLower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// True when `text` is `lowerCase`, a literal in lower case, but for the case of
// ASCII letters.
constexpr bool equalsIgnoringASCIICase(std::string_view text,
                                       std::string_view lowerCase) {
  if (text.size() != lowerCase.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (asciiLower(text[i]) != lowerCase[i]) return false;
  }
  return true;
}

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_ASCII_H_
