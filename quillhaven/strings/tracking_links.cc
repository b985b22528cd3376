#include "quillhaven/strings/tracking_links.h"

#include "quillhaven/identity/product_configuration.h"
#include "quillhaven/platform/base/log.h"
#include "quillhaven/platform/text/regular_expression.h"
#include "quillhaven/platform/url/url_components.h"
#include "quillhaven/strings/encodings.h"
#include "quillhaven/strings/internal/tracking_link_matcher.h"

namespace quillhaven::strings {
namespace {

using internal::TrackingLink;
using internal::TrackingLinkMatcher;
using internal::TrackingNames;
using platform::RegularExpression;
using platform::Uuid;

const std::optional<TrackingNames>& compiledNames() {
  static const auto names =
      TrackingNames::compiled(identity::productConfiguration());
  return names;
}

void logMalformedPattern(std::string_view purpose, std::string_view pattern) {
  static const platform::Logger logger("com.quillhaven.utilities", "strings");
  logger.log(platform::LogType::kError,
             "Regular expression for " + std::string(purpose) +
                 " could not be created for pattern '" + std::string(pattern) +
                 "'");
}

// Calls `visit` with each link, in order, until it returns false. Names that
// are more than letters and dots are left to ICU, which is slower by far; what
// it cannot compile is logged as a failure of `purpose`.
template <typename Visit>
void forEachLink(std::string_view text, const std::optional<Uuid>& user,
                 std::string_view purpose, Visit visit) {
  if (const auto& names = compiledNames()) {
    const TrackingLinkMatcher matcher(*names, user);
    std::size_t from = 0;
    while (const auto link = matcher.firstMatch(text, from)) {
      if (!visit(*link)) return;
      from = link->position + link->size;
    }
    return;
  }
  const std::string pattern = trackingItemRegexPattern(user);
  const auto compiled = RegularExpression::compiled(
      pattern, RegularExpression::Options::kIgnoringCase);
  if (!compiled) return logMalformedPattern(purpose, pattern);
  std::size_t from = 0;
  while (const auto match = compiled->firstMatch(text, from)) {
    if (!visit(TrackingLink{match->position, match->size, {}})) return;
    from = match->position + match->size;
  }
}

// Where a query item called `name` goes into the text for one link; nothing
// when the link has such an item or is no well-formed URL.
std::optional<platform::QueryInsertion> insertionInto(std::string_view text,
                                                      const TrackingLink& link,
                                                      std::string_view name) {
  if (link.tail) {
    if (platform::hasQueryItem(link.tail->queryIn(text), name)) return {};
    return link.tail->insertion();
  }
  const auto url =
      platform::urlComponents(text.substr(link.position, link.size));
  if (!url || platform::hasQueryItem(url->query.value_or(""), name)) return {};
  platform::QueryInsertion insertion = platform::queryInsertion(*url);
  insertion.position += link.position;
  return insertion;
}

// Links do not depend on each other, so they are visited from the first to the
// last and the result is written once.
std::string addingQueryItem(std::string_view text,
                            const std::optional<Uuid>& user,
                            std::string_view purpose, std::string_view name,
                            std::string_view value) {
  const std::string item = platform::encodedQueryItem(name, value);
  std::string result;
  std::size_t copied = 0;
  forEachLink(text, user, purpose, [&](const TrackingLink& link) {
    const auto insertion = insertionInto(text, link, name);
    if (!insertion) return true;
    if (copied == 0) result.reserve(text.size() + text.size() / 8);
    result.append(text.substr(copied, insertion->position - copied));
    result.append(insertion->separator).append(item);
    copied = insertion->position;
    return true;
  });
  result.append(text.substr(copied));
  return result;
}

}  // namespace

std::string trackingItemRegexPattern(
    const std::optional<Uuid>& userIdentifier) {
  return internal::trackingLinkPattern(identity::productConfiguration(),
                                       userIdentifier);
}

std::string addingNoTrackToTrackingURLs(
    std::string_view text, const std::optional<Uuid>& userIdentifier) {
  return addingQueryItem(text, userIdentifier,
                         "adding notrack to tracking items", "notrack", "true");
}

std::string addingContactIdToTrackingURLs(std::string_view text,
                                          const Uuid& userIdentifier,
                                          const Uuid& contactId) {
  return addingQueryItem(text, userIdentifier,
                         "adding contact-id to tracking items", "contactid",
                         base64String(contactId));
}

bool containsTrackingURL(std::string_view text,
                         const std::optional<Uuid>& userIdentifier) {
  bool isFound = false;
  forEachLink(text, userIdentifier, "finding tracking items",
              [&isFound](const TrackingLink&) {
                isFound = true;
                return false;
              });
  return isFound;
}

}  // namespace quillhaven::strings
