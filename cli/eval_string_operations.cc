// The operations of `quillhaven eval` on addresses, strings and paths.
#include "cli/eval_operation.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/strings/email_addresses.h"
#include "quillhaven/strings/path_helpers.h"
#include "quillhaven/strings/string_helpers.h"

namespace quillhaven::cli {
namespace {

void replacing(const Arguments& arguments, JsonWriter& result) {
  result.value(strings::replacing(arguments.text(),
                                  platform::CharacterSet::withCharactersIn(
                                      arguments.string("charactersIn")),
                                  arguments.string("with")));
}

void truncating(const Arguments& arguments, JsonWriter& result) {
  result.value(strings::truncating(arguments.text(), arguments.int64("length"),
                                   arguments.string("trailing")));
}

// One that takes a text and a length.
template <auto function>
void withLength(const Arguments& arguments, JsonWriter& result) {
  result.value(function(arguments.text(), arguments.int64("length")));
}

// One that takes a text and a string under `name`.
template <auto function, const char* name>
void withString(const Arguments& arguments, JsonWriter& result) {
  result.value(function(arguments.text(), arguments.string(name)));
}

constexpr char kComponent[] = "component";
constexpr char kWildcardPattern[] = "wildcardPattern";

void pathComponents(const Arguments& arguments, JsonWriter& result) {
  result.beginArray();
  for (const std::string& name : strings::pathComponents(arguments.text())) {
    result.value(name);
  }
  result.endArray();
}

constexpr EvalOperation kOperations[] = {
    {"isValidEmail", onText<strings::isValidEmail>},
    {"isFormattedEmail", onText<strings::isFormattedEmail>},
    {"containsLiquid", onText<strings::containsLiquid>},
    {"emailAddress", onText<strings::emailAddress>},
    {"emailLocalPart", onText<strings::emailLocalPart>},
    {"emailDomain", onText<strings::emailDomain>},
    {"emailName", onText<strings::emailName>},
    {"presence", onText<strings::presence>},
    {"emojiFlag",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(strings::emojiFlag(arguments.string("countryCode")));
     }},
    {"hexToDecimal", onText<strings::hexToDecimal>},
    {"hexString", onText<strings::hexString>},
    {"capitalizingFirstLetter", onText<strings::capitalizingFirstLetter>},
    {"trimmedMessageId", onText<strings::trimmedMessageId>},
    {"trimmedContentID", onText<strings::trimmedContentID>},
    {"trimmingTrailingWhitespace", onText<strings::trimmingTrailingWhitespace>},
    {"strippedFromHTML", onText<strings::strippedFromHTML>},
    {"shellEscaped", onText<strings::shellEscaped>},
    {"lowerKebabCased", onText<strings::lowerKebabCased>},
    {"stringByTruncatingToLength",
     withLength<strings::stringByTruncatingToLength>},
    {"replacing", replacing},
    {"contains", withString<strings::contains, kWildcardPattern>},
    {"truncating", truncating},
    {"truncatingMiddle", withLength<strings::truncatingMiddle>},
    {"lastPathComponent", onText<strings::lastPathComponent>},
    {"deletingPathExtension", onText<strings::deletingPathExtension>},
    {"deletingLastPathComponent", onText<strings::deletingLastPathComponent>},
    {"pathExtension", onText<strings::pathExtension>},
    {"appendingPathComponent",
     withString<strings::appendingPathComponent, kComponent>},
    {"pathComponents", pathComponents},
    {"path",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(strings::path(arguments.strings("withComponents")));
     }},
};

}  // namespace

std::span<const EvalOperation> stringOperations() { return kOperations; }

}  // namespace quillhaven::cli
