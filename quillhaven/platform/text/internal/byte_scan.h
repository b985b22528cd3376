// Looks at sixteen bytes at a time: the loops under every scan of the library.
#ifndef QUILLHAVEN_PLATFORM_TEXT_INTERNAL_BYTE_SCAN_H_
#define QUILLHAVEN_PLATFORM_TEXT_INTERNAL_BYTE_SCAN_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quillhaven::platform::internal {

// The compiler's vector extension: comparing gives lanes of all ones or zeros,
// on x86-64 with SSE2 and on arm64 with NEON alike.
using ByteVector = unsigned char __attribute__((vector_size(16)));
using LaneMask = signed char __attribute__((vector_size(16)));

inline constexpr std::size_t kVectorSize = 16;

inline ByteVector loadBytes(const char* bytes) {
  ByteVector vector;
  std::memcpy(&vector, bytes, sizeof vector);
  return vector;
}

inline LaneMask equals(ByteVector bytes, unsigned char value) {
  return bytes == value;
}

// Lanes with first <= byte <= last.
inline LaneMask isBetween(ByteVector bytes, unsigned char first,
                          unsigned char last) {
  return (bytes - first) <= static_cast<unsigned char>(last - first);
}

// Lanes that hold ASCII capitals become small letters.
inline ByteVector asciiLowered(ByteVector bytes) {
  const auto capitals =
      reinterpret_cast<ByteVector>(isBetween(bytes, 'A', 'Z'));
  return bytes | (capitals & 0x20);
}

// Bit i of the result tells whether lane i is set.
inline unsigned bitsOf(LaneMask mask) {
#if defined(__SSE2__)
  return static_cast<unsigned>(
      _mm_movemask_epi8(reinterpret_cast<__m128i>(mask)));
#else
  std::uint64_t halves[2];
  std::memcpy(halves, &mask, sizeof halves);
  const auto gather = [](std::uint64_t half) {
    return static_cast<unsigned>(
        ((half & 0x0101010101010101U) * 0x0102040810204080U) >> 56);
  };
  return gather(halves[0]) | gather(halves[1]) << 8;
#endif
}

// Returns the first position at `from` or later for whose byte `match` (from
// ByteVector to LaneMask, lane by lane) is set, or text.size().
template <typename Match>
std::size_t findByte(std::string_view text, std::size_t from, Match match) {
  const char* const data = text.data();
  const std::size_t size = text.size();
  std::size_t at = from;
  for (; at + kVectorSize <= size; at += kVectorSize) {
    const unsigned bits = bitsOf(match(loadBytes(data + at)));
    if (bits != 0) return at + static_cast<std::size_t>(std::countr_zero(bits));
  }
  if (at < size) {
    const std::size_t left = size - at;
    unsigned bits;
    if (size >= kVectorSize) {
      // The last sixteen bytes, some of them once more.
      bits = bitsOf(match(loadBytes(data + size - kVectorSize))) >>
             (kVectorSize - left);
    } else {
      char tail[kVectorSize] = {};
      std::memcpy(tail, data + at, left);
      bits = bitsOf(match(loadBytes(tail))) & ((1U << left) - 1);
    }
    if (bits != 0) return at + static_cast<std::size_t>(std::countr_zero(bits));
  }
  return size;
}

// Returns the first position at `from` or later where `first` is followed by
// `second`, or npos.
inline std::size_t findPair(std::string_view text, char first, char second,
                            std::size_t from) {
  const char* const data = text.data();
  const std::size_t size = text.size();
  std::size_t at = from;
  const auto pairsAt = [=](std::size_t position) {
    return equals(loadBytes(data + position),
                  static_cast<unsigned char>(first)) &
           equals(loadBytes(data + position + 1),
                  static_cast<unsigned char>(second));
  };
  // Pairs are rare: four vectors at a time until one holds a pair.
  for (; at + 4 * kVectorSize < size; at += 4 * kVectorSize) {
    const LaneMask any =
        (pairsAt(at) | pairsAt(at + kVectorSize)) |
        (pairsAt(at + 2 * kVectorSize) | pairsAt(at + 3 * kVectorSize));
    if (bitsOf(any) != 0) break;
  }
  for (; at + kVectorSize < size; at += kVectorSize) {
    const unsigned bits = bitsOf(pairsAt(at));
    if (bits != 0) return at + static_cast<std::size_t>(std::countr_zero(bits));
  }
  for (; at + 1 < size; ++at) {
    if (data[at] == first && data[at + 1] == second) return at;
  }
  return std::string_view::npos;
}

// Returns the first position of `wanted`, two bytes or more, at `from` or
// later, or npos. For texts whose first byte is frequent and whose first two
// bytes are not ("<!--" in HTML).
inline std::size_t findText(std::string_view text, std::string_view wanted,
                            std::size_t from) {
  while (true) {
    const std::size_t at = findPair(text, wanted[0], wanted[1], from);
    if (at == std::string_view::npos || text.substr(at).starts_with(wanted)) {
      return at;
    }
    from = at + 1;
  }
}

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_TEXT_INTERNAL_BYTE_SCAN_H_
