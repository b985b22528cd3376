// 32-bit numbers in files, lowest byte first.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_LITTLE_ENDIAN_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_LITTLE_ENDIAN_H_

#include <cstdint>
#include <string_view>

namespace quillhaven::platform::internal {

inline constexpr std::size_t kNumberSize = 4;  // bytes

// Appends `number` to a string or vector of char.
template <typename Bytes>
void appendNumber(Bytes& bytes, std::uint32_t number) {
  for (std::size_t i = 0; i < kNumberSize; ++i) {
    bytes.push_back(static_cast<char>(number >> (8 * i) & 0xFF));
  }
}

// Returns the number at the start of `bytes`, which are at least four.
inline std::uint32_t numberAt(std::string_view bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = kNumberSize; i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return number;
}

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_INTERNAL_LITTLE_ENDIAN_H_
