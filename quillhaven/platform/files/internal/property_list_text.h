// Dates and data as the XML form of property lists spells them.
#ifndef QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_TEXT_H_
#define QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::platform::internal {

// Returns the moment that "2026-11-21T08:30:00Z" names; the year has four to
// six digits and may have a sign. Nothing for other text and other days.
std::optional<PropertyList::Date> dateFromText(std::string_view text);

// Returns `date` in that form, without its fraction of a second.
std::string textFromDate(PropertyList::Date date);

// Returns what Base64 (RFC 4648, section 4) stands for, with blanks and line
// breaks anywhere in it; nothing for other text.
std::optional<std::string> bytesFromBase64Lines(std::string_view text);

// Appends `bytes` in Base64, in lines of 68 characters that each begin with
// `indentation` and end with a line feed.
void appendBase64Lines(std::string& text, std::string_view bytes,
                       std::string_view indentation);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_FILES_INTERNAL_PROPERTY_LIST_TEXT_H_
