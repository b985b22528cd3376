// Counts what a property list comes to while it is read.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_LIMITS_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_LIMITS_H_

#include <algorithm>
#include <cstddef>

#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::platform::internal {

// A binary property list may name one object many times over, so what it comes
// to needs bounds of its own. Every name of an object takes a byte at least, so
// only a file that names containers again and again has more values than bytes;
// texts are named repeatedly by honest files too. A call returns false once its
// bound is passed.
class PropertyListBudget {
 public:
  explicit PropertyListBudget(std::size_t fileSize)
      : values_(std::min(kMaximumPropertyListValues, fileSize + kFreeValues)),
        bytes_(std::min(kMaximumBytes, std::max(kFreeBytes, 16 * fileSize))) {}

  bool takeValue() { return values_ > 0 && values_-- > 0; }
  bool takeBytes(std::size_t count) {
    if (count > bytes_) return false;
    bytes_ -= count;
    return true;
  }

 private:
  static constexpr std::size_t kFreeValues = 4096;
  static constexpr std::size_t kFreeBytes = std::size_t{1} << 20;
  static constexpr std::size_t kMaximumBytes = 4 * kMaximumPropertyListSize;

  std::size_t values_;
  std::size_t bytes_;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_LIMITS_H_
