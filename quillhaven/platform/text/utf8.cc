#include "quillhaven/platform/text/utf8.h"

#include <array>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quillhaven::platform {
namespace {

// Length of the well-formed sequence at the start of `p` (which has `left` > 0
// bytes and begins with a byte above 7F), or 0.
std::size_t sequenceLength(const unsigned char* p, std::size_t left) {
  const unsigned char lead = p[0];
  const auto continues = [](unsigned char byte) {
    return (byte & 0xC0) == 0x80;
  };
  if (lead < 0xC2) return 0;
  if (lead < 0xE0) return left >= 2 && continues(p[1]) ? 2 : 0;
  if (lead < 0xF0) {
    if (left < 3 || !continues(p[1]) || !continues(p[2])) return 0;
    if (lead == 0xE0 && p[1] < 0xA0) return 0;
    if (lead == 0xED && p[1] > 0x9F) return 0;
    return 3;
  }
  if (lead > 0xF4 || left < 4) return 0;
  if (!continues(p[1]) || !continues(p[2]) || !continues(p[3])) return 0;
  if (lead == 0xF0 && p[1] < 0x90) return 0;
  if (lead == 0xF4 && p[1] > 0x8F) return 0;
  return 4;
}

// Length of the longest start of a well-formed sequence that stands at `p`,
// where no whole one does; 1 when there is none.
std::size_t maximalSubpart(const unsigned char* p, std::size_t left) {
  const unsigned char lead = p[0];
  if (lead < 0xE0 || lead > 0xF4 || left < 2) return 1;
  const unsigned char least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned char most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (p[1] < least || p[1] > most) return 1;
  return lead >= 0xF0 && left >= 3 && (p[2] & 0xC0) == 0x80 ? 3 : 2;
}

// True when none of the 64 bytes at `p` is above 7F.
inline bool isASCII64(const unsigned char* p) {
#if defined(__SSE2__)
  const auto* block = reinterpret_cast<const __m128i*>(p);
  const __m128i low =
      _mm_or_si128(_mm_loadu_si128(block), _mm_loadu_si128(block + 1));
  const __m128i high =
      _mm_or_si128(_mm_loadu_si128(block + 2), _mm_loadu_si128(block + 3));
  return _mm_movemask_epi8(_mm_or_si128(low, high)) == 0;
#else
  std::array<std::uint64_t, 8> words;
  std::memcpy(words.data(), p, sizeof words);
  std::uint64_t all = 0;
  for (const std::uint64_t word : words) all |= word;
  return (all & 0x8080808080808080U) == 0;
#endif
}

}  // namespace

std::size_t asciiPrefixLength(std::string_view bytes) {
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  const std::size_t size = bytes.size();
  std::size_t at = 0;
  while (size - at >= 64 && isASCII64(data + at)) at += 64;
  while (size - at >= 8) {
    std::uint64_t word;
    std::memcpy(&word, data + at, sizeof word);
    if ((word & 0x8080808080808080U) != 0) break;
    at += 8;
  }
  while (at < size && data[at] < 0x80) ++at;
  return at;
}

bool isValidUTF8(std::string_view bytes) {
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  const std::size_t size = bytes.size();
  std::size_t at = 0;
  while (true) {
    at += asciiPrefixLength(bytes.substr(at));
    // Text of other scripts has few ASCII runs worth the wide check.
    while (at < size && data[at] >= 0x80) {
      const std::size_t length = sequenceLength(data + at, size - at);
      if (length == 0) return false;
      at += length;
    }
    if (at == size) return true;
  }
}

std::string repairedUTF8(std::string_view bytes) {
  if (isValidUTF8(bytes)) return std::string(bytes);
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  std::string text;
  text.reserve(bytes.size() + 8);
  for (std::size_t at = 0; at < bytes.size();) {
    std::size_t length = asciiPrefixLength(bytes.substr(at));
    text.append(bytes, at, length);
    at += length;
    if (at == bytes.size()) break;
    length = sequenceLength(data + at, bytes.size() - at);
    if (length > 0) {
      text.append(bytes, at, length);
    } else {
      length = maximalSubpart(data + at, bytes.size() - at);
      appendCodePoint(text, kReplacementCharacter);
    }
    at += length;
  }
  return text;
}

CodePoint codePointAt(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return static_cast<char32_t>(static_cast<unsigned char>(text[at + i]));
  };
  const char32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xE0) return {(lead & 0x1F) << 6 | (byte(1) & 0x3F), 2};
  if (lead < 0xF0) {
    return {(lead & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F), 3};
  }
  return {(lead & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 |
              (byte(3) & 0x3F),
          4};
}

CodePoint codePointBefore(std::string_view text, std::size_t at) {
  std::size_t start = at - 1;
  while (start > 0 &&
         (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) {
    --start;
  }
  return codePointAt(text, start);
}

void appendCodePoint(std::string& text, char32_t value) {
  if (value < 0x80) {
    text.push_back(static_cast<char>(value));
    return;
  }
  if (value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
    value = kReplacementCharacter;
  }
  char bytes[4];
  std::size_t size = 0;
  if (value < 0x800) {
    bytes[size++] = static_cast<char>(0xC0 | value >> 6);
  } else if (value < 0x10000) {
    bytes[size++] = static_cast<char>(0xE0 | value >> 12);
    bytes[size++] = static_cast<char>(0x80 | (value >> 6 & 0x3F));
  } else {
    bytes[size++] = static_cast<char>(0xF0 | value >> 18);
    bytes[size++] = static_cast<char>(0x80 | (value >> 12 & 0x3F));
    bytes[size++] = static_cast<char>(0x80 | (value >> 6 & 0x3F));
  }
  bytes[size++] = static_cast<char>(0x80 | (value & 0x3F));
  text.append(bytes, size);
}

}  // namespace quillhaven::platform
