#include "quillhaven/platform/url/uuid.h"

#include "quillhaven/platform/base/ascii.h"

namespace quillhaven::platform {
namespace {

// True when a dash stands before the byte at `index` in the text.
constexpr bool isAfterDash(std::size_t index) {
  return index == 4 || index == 6 || index == 8 || index == 10;
}

std::string textOf(const Uuid::Bytes& bytes, std::string_view digits) {
  std::string text;
  text.reserve(Uuid::kTextSize);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (isAfterDash(i)) text.push_back('-');
    text.push_back(digits[bytes[i] >> 4]);
    text.push_back(digits[bytes[i] & 15]);
  }
  return text;
}

}  // namespace

std::optional<Uuid> Uuid::fromString(std::string_view text) {
  if (text.size() != kTextSize) return std::nullopt;
  Bytes bytes;
  std::size_t at = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (isAfterDash(i) && text[at++] != '-') return std::nullopt;
    const int high = hexDigitValue(text[at++]);
    const int low = hexDigitValue(text[at++]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return Uuid(bytes);
}

std::string Uuid::uppercaseString() const {
  return textOf(bytes_, "0123456789ABCDEF");
}

std::string Uuid::lowercaseString() const {
  return textOf(bytes_, "0123456789abcdef");
}

}  // namespace quillhaven::platform
