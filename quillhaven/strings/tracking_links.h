// Links to the product's tracking servers within a text: finding and marking
// them.
//
// A tracking link is what trackingItemRegexPattern() matches without regard to
// letter case. Its host names come from the product configuration; there they
// are patterns themselves, in which "." is any character and "\." a dot. Texts,
// usually HTML, are valid UTF-8. Everything here is thread-safe and takes time
// in proportion to the text.
#ifndef QUILLHAVEN_STRINGS_TRACKING_LINKS_H_
#define QUILLHAVEN_STRINGS_TRACKING_LINKS_H_

#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/url/uuid.h"

namespace quillhaven::strings {

// Returns the regular expression (ICU syntax) of the links of one user, or of
// any user without an identifier.
[[nodiscard]] std::string trackingItemRegexPattern(
    const std::optional<platform::Uuid>& userIdentifier = std::nullopt);

// Returns `text` with "notrack=true" added to the query of every tracking link,
// so that opening it counts as no hit:
//   https://track.quillhaven.test/b2/item?a=1#top
//   https://track.quillhaven.test/b2/item?a=1&notrack=true#top
// A link stays as it is when it has an item "notrack" already, whatever its
// value, or is an ill-formed URL. All else of the text stays as it is.
[[nodiscard]] std::string addingNoTrackToTrackingURLs(
    std::string_view text,
    const std::optional<platform::Uuid>& userIdentifier = std::nullopt);

// The same with an item "contactid", whose value is `contactId` in URL-safe
// Base64, in the links of one user.
[[nodiscard]] std::string addingContactIdToTrackingURLs(
    std::string_view text, const platform::Uuid& userIdentifier,
    const platform::Uuid& contactId);

// True when there is a tracking link in `text`, also an ill-formed one.
[[nodiscard]] bool containsTrackingURL(
    std::string_view text,
    const std::optional<platform::Uuid>& userIdentifier = std::nullopt);

}  // namespace quillhaven::strings

#endif  // QUILLHAVEN_STRINGS_TRACKING_LINKS_H_
