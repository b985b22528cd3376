// Reads the XML form of property lists.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_XML_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_XML_H_

#include <optional>
#include <string_view>

#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::platform::internal {

// As propertyListFromBytes() for `text`, which is valid UTF-8.
std::optional<PropertyList> propertyListFromXML(std::string_view text);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_XML_H_
