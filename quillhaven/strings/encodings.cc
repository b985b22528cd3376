#include "quillhaven/strings/encodings.h"

#include <cstring>

namespace quillhaven::strings {
namespace {

using Pair = std::array<char, 2>;

constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// All pairs of two digits, the first one the more significant.
template <std::size_t count>
constexpr std::array<Pair, count * count> pairsOf(std::string_view digits) {
  std::array<Pair, count * count> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = {digits[i / count], digits[i % count]};
  }
  return pairs;
}

constexpr auto kHexPairs = pairsOf<16>(kHexDigits);
constexpr auto kBase64Pairs = pairsOf<64>(kBase64Digits);

constexpr std::size_t kGroupBytes = 3;
constexpr std::size_t kGroupDigits = 4;

std::size_t at(std::span<const std::byte> data, std::size_t index) {
  return std::to_integer<std::size_t>(data[index]);
}

}  // namespace

std::string hexDigest(std::span<const std::byte> data) {
  std::string text(2 * data.size(), '\0');
  char* end = text.data();
  for (const std::byte byte : data) {
    std::memcpy(end, &kHexPairs[std::to_integer<std::size_t>(byte)], 2);
    end += 2;
  }
  return text;
}

std::string base64URLEncodedString(std::span<const std::byte> data) {
  const std::size_t rest = data.size() % kGroupBytes;
  const std::size_t whole = data.size() - rest;
  std::string text(
      whole / kGroupBytes * kGroupDigits + (rest > 0 ? rest + 1 : 0), '\0');
  char* end = text.data();
  for (std::size_t i = 0; i < whole; i += kGroupBytes) {
    const std::size_t bits =
        at(data, i) << 16 | at(data, i + 1) << 8 | at(data, i + 2);
    std::memcpy(end, &kBase64Pairs[bits >> 12], 2);
    std::memcpy(end + 2, &kBase64Pairs[bits & 0xFFF], 2);
    end += kGroupDigits;
  }
  if (rest > 0) {
    const std::size_t bits =
        at(data, whole) << 16 | (rest == 2 ? at(data, whole + 1) << 8 : 0);
    const Pair last = kBase64Pairs[bits & 0xFFF];
    std::memcpy(end, &kBase64Pairs[bits >> 12], 2);
    if (rest == 2) end[2] = last[0];
  }
  return text;
}

std::string lowercaseString(const platform::Uuid& uuid) {
  return uuid.lowercaseString();
}

std::vector<std::byte> data(const platform::Uuid& uuid) {
  const auto bytes = std::as_bytes(std::span(uuid.bytes()));
  return {bytes.begin(), bytes.end()};
}

std::array<std::uint8_t, 16> uint8(const platform::Uuid& uuid) {
  return uuid.bytes();
}

std::string base64String(const platform::Uuid& uuid) {
  return base64URLEncodedString(std::as_bytes(std::span(uuid.bytes())));
}

}  // namespace quillhaven::strings
