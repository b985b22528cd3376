// Bytes that hold a secret: wiped when they are given back, and kept out of
// core dumps and swap space meanwhile.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_SECRET_BYTES_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_SECRET_BYTES_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::platform {

// Returns memory on pages of its own, between guard pages. Throws
// std::bad_alloc.
[[nodiscard]] void* allocateSecretMemory(std::size_t sizeInBytes);

// Wipes what allocateSecretMemory() returned and gives it back.
void freeSecretMemory(void* memory) noexcept;

// The allocator of containers of bytes that hold secrets.
template <typename T>
struct SecretAllocator {
  static_assert(sizeof(T) == 1, "secret memory is not aligned");
  using value_type = T;

  SecretAllocator() = default;
  template <typename Other>
  explicit SecretAllocator(const SecretAllocator<Other>&) {}

  T* allocate(std::size_t count) {
    return static_cast<T*>(allocateSecretMemory(count));
  }
  void deallocate(T* memory, std::size_t) noexcept { freeSecretMemory(memory); }

  bool operator==(const SecretAllocator&) const = default;
};

// Each one takes a few pages of memory: right for a password or a whole
// keychain, wrong for thousands of small values.
using SecretBytes = std::vector<char, SecretAllocator<char>>;

// Returns a copy of `bytes`.
[[nodiscard]] SecretBytes secretBytesFrom(std::string_view bytes);

// Returns a view of `bytes`, valid as long as they stay unchanged.
[[nodiscard]] inline std::string_view viewOf(const SecretBytes& bytes) {
  return {bytes.data(), bytes.size()};
}

// Overwrites all that `text` has room for and leaves it empty.
void wipe(std::string& text) noexcept;

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_SECRET_BYTES_H_
