#include "quillhaven/platform/process/data.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace quillhaven::platform {

void Data::append(std::string_view bytes) {
  if (bytes.empty()) return;
  if (capacity_ - size_ < bytes.size()) {
    const std::size_t capacity = std::max(capacity_ * 2, size_ + bytes.size());
    // For large blocks the system moves the pages, not their bytes.
    void* const grown = std::realloc(start_.get(), capacity);
    if (grown == nullptr) throw std::bad_alloc();
    static_cast<void>(start_.release());
    start_.reset(static_cast<char*>(grown));
    capacity_ = capacity;
  }
  std::memcpy(start_.get() + size_, bytes.data(), bytes.size());
  size_ += bytes.size();
}

}  // namespace quillhaven::platform
