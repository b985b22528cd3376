#include "benchmarks/heap_counter.h"

#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

// The allocator of the C library under its own names; operator new calls
// malloc() and is counted with it.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace quillhaven::benchmarks {
namespace {

std::atomic<std::size_t> inUse{0};
std::atomic<std::size_t> peak{0};
std::atomic<std::size_t> total{0};

void* counted(void* block) {
  if (block == nullptr) return block;
  const std::size_t size = malloc_usable_size(block);
  total.fetch_add(size, std::memory_order_relaxed);
  const std::size_t now =
      inUse.fetch_add(size, std::memory_order_relaxed) + size;
  std::size_t most = peak.load(std::memory_order_relaxed);
  while (now > most &&
         !peak.compare_exchange_weak(most, now, std::memory_order_relaxed)) {
  }
  return block;
}

void discount(void* block) {
  if (block == nullptr) return;
  inUse.fetch_sub(malloc_usable_size(block), std::memory_order_relaxed);
}

}  // namespace

std::size_t heapInUse() { return inUse.load(std::memory_order_relaxed); }

void resetHeapPeak() { peak.store(heapInUse(), std::memory_order_relaxed); }

std::size_t heapPeak() { return peak.load(std::memory_order_relaxed); }

std::size_t heapTotal() { return total.load(std::memory_order_relaxed); }

}  // namespace quillhaven::benchmarks

using quillhaven::benchmarks::counted;
using quillhaven::benchmarks::discount;

extern "C" {

void* malloc(std::size_t size) { return counted(__libc_malloc(size)); }

void* calloc(std::size_t count, std::size_t size) {
  return counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
  // A block that moves is counted as gone before the new one is there, though
  // both exist while it is copied; large ones move without a copy.
  discount(block);
  void* const moved = __libc_realloc(block, size);
  if (moved == nullptr && size > 0) {
    counted(block);
    return nullptr;
  }
  return counted(moved);
}

void* memalign(std::size_t alignment, std::size_t size) {
  return counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return counted(__libc_memalign(alignment, size));
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = counted(__libc_memalign(alignment, size));
  return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) {
  discount(block);
  __libc_free(block);
}

}  // extern "C"
