#include "quillhaven/platform/url/percent_encoding.h"

#include <array>

#include "quillhaven/platform/base/ascii.h"

namespace quillhaven::platform {
namespace {

using ByteSet = std::array<bool, 256>;

constexpr ByteSet setWith(std::string_view more) {
  ByteSet set{};
  for (int byte = 0; byte < 128; ++byte) {
    const char c = static_cast<char>(byte);
    set[static_cast<std::size_t>(byte)] = isASCIILetter(c) || isASCIIDigit(c);
  }
  for (const std::string_view characters :
       {std::string_view("-._~!$'()*+,"), more}) {
    for (const char c : characters) set[static_cast<unsigned char>(c)] = true;
  }
  return set;
}

constexpr ByteSet kHostSet = setWith("&;=:[]");
constexpr ByteSet kPathSet = setWith("&;=:@/");
constexpr ByteSet kQuerySet = setWith("&;=:@/?");
constexpr ByteSet kQueryItemSet = setWith(":@/?");

const ByteSet& setOf(UrlCharacters allowed) {
  switch (allowed) {
    case UrlCharacters::kHost:
      return kHostSet;
    case UrlCharacters::kPath:
      return kPathSet;
    case UrlCharacters::kQuery:
      return kQuerySet;
    case UrlCharacters::kQueryItem:
      break;
  }
  return kQueryItemSet;
}

}  // namespace

std::string percentEncoded(std::string_view text, UrlCharacters allowed) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const ByteSet& stays = setOf(allowed);
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (stays[byte]) {
      encoded.push_back(c);
    } else {
      encoded.push_back('%');
      encoded.push_back(kDigits[byte >> 4]);
      encoded.push_back(kDigits[byte & 15]);
    }
  }
  return encoded;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded.push_back(text[i]);
      continue;
    }
    if (text.size() - i < 3) return std::nullopt;
    const int high = hexDigitValue(text[i + 1]);
    const int low = hexDigitValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    decoded.push_back(static_cast<char>(high * 16 + low));
    i += 2;
  }
  return decoded;
}

}  // namespace quillhaven::platform
