// Property lists as JSON, for people and for shells.
#ifndef QUILLHAVEN_CLI_PROPERTY_LIST_JSON_H_
#define QUILLHAVEN_CLI_PROPERTY_LIST_JSON_H_

#include <optional>
#include <string>
#include <string_view>

#include "cli/json_writer.h"
#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::cli {

// Writes the value: data as a string in Base64, a date as a string such as
// "2026-11-21T08:30:00Z", a real that JSON cannot hold as null.
void writePropertyList(JsonWriter& json, const platform::PropertyList& value);

// Returns the value without the quotes that JSON puts around text, data and
// dates. Arrays and dictionaries are JSON in one line.
[[nodiscard]] std::string textFromPropertyList(
    const platform::PropertyList& value);

// Returns what `text` stands for when read as `type`, one of
// kPropertyListTypes; nothing if it cannot be. "json" gives any value but data
// and dates; a null stands for none.
[[nodiscard]] std::optional<platform::PropertyList> propertyListFromText(
    std::string_view text, std::string_view type);

inline constexpr const char* kPropertyListTypes[] = {
    "string", "bool", "int", "real", "data", "date", "json"};

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_PROPERTY_LIST_JSON_H_
