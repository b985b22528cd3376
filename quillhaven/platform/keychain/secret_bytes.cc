#include "quillhaven/platform/keychain/secret_bytes.h"

#include <sodium.h>

#include <new>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/keychain/internal/sodium_start.h"

namespace quillhaven::platform {

void internal::startSodium() {
  static const int result = ::sodium_init();
  if (result < 0) fatalError("the kernel has no random numbers");
}

void* allocateSecretMemory(std::size_t sizeInBytes) {
  internal::startSodium();
  // Locked into memory as far as the limits of the process allow.
  void* const memory = ::sodium_malloc(sizeInBytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void freeSecretMemory(void* memory) noexcept { ::sodium_free(memory); }

SecretBytes secretBytesFrom(std::string_view bytes) {
  return {bytes.begin(), bytes.end()};
}

void wipe(std::string& text) noexcept {
  text.resize(text.capacity());
  ::sodium_memzero(text.data(), text.size());
  text.clear();
}

}  // namespace quillhaven::platform
