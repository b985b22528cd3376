// Reads the binary form of property lists.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_BINARY_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_BINARY_H_

#include <optional>
#include <string_view>

#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::platform::internal {

// How the binary form begins; a digit of its version follows.
inline constexpr std::string_view kBinaryPropertyListMark = "bplist0";

// As propertyListFromBytes() for bytes that begin with the mark.
std::optional<PropertyList> propertyListFromBinary(std::string_view bytes);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_BINARY_H_
