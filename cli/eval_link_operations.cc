// The operations of `quillhaven eval` on tracking links and other links.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/eval_operation.h"
#include "quillhaven/platform/url/uuid.h"
#include "quillhaven/strings/locations.h"
#include "quillhaven/strings/tracking_links.h"

namespace quillhaven::cli {
namespace {

using platform::Uuid;

Uuid uuidFrom(std::string_view name, std::string_view text) {
  const auto uuid = Uuid::fromString(text);
  if (uuid) return *uuid;
  throw EvalError(
      std::string("argument \"").append(name).append("\" is no UUID"));
}

Uuid uuid(const Arguments& arguments, std::string_view name) {
  return uuidFrom(name, arguments.string(name));
}

std::optional<Uuid> user(const Arguments& arguments) {
  constexpr std::string_view kName = "userIdentifier";
  const auto text = arguments.optionalString(kName);
  return text ? std::optional(uuidFrom(kName, *text)) : std::nullopt;
}

// An operation on the argument "url".
template <auto function>
void onURL(const Arguments& arguments, JsonWriter& result) {
  result.value(function(arguments.string("url")));
}

constexpr EvalOperation kOperations[] = {
    {"trackingItemRegexPattern",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(strings::trackingItemRegexPattern(user(arguments)));
     }},
    {"addingNoTrackToTrackingURLs",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(strings::addingNoTrackToTrackingURLs(arguments.text(),
                                                         user(arguments)));
     }},
    {"addingContactIdToTrackingURLs",
     [](const Arguments& arguments, JsonWriter& result) {
       const Uuid userIdentifier = uuid(arguments, "userIdentifier");
       result.value(strings::addingContactIdToTrackingURLs(
           arguments.text(), userIdentifier, uuid(arguments, "contactId")));
     }},
    {"containsTrackingURL",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(
           strings::containsTrackingURL(arguments.text(), user(arguments)));
     }},
    {"isDiagnosticConsentURL", onURL<strings::isDiagnosticConsentURL>},
    {"isQuickStartGuideURL", onURL<strings::isQuickStartGuideURL>},
    {"isInTrash", onURL<strings::isInTrash>},
    {"messageURL",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(strings::messageURL(arguments.stringOrNull("ID")));
     }},
    {"mailtoURL",
     [](const Arguments& arguments, JsonWriter& result) {
       const auto views = arguments.strings("to");
       const std::vector<std::string> to(views.begin(), views.end());
       result.value(strings::mailtoURL(to, arguments.optionalString("subject"),
                                       arguments.optionalString("body")));
     }},
};

}  // namespace

std::span<const EvalOperation> linkOperations() { return kOperations; }

}  // namespace quillhaven::cli
