// Finds tracking links by hand, with the result of the regular expression.
#ifndef QUILLHAVEN_STRINGS_INTERNAL_TRACKING_LINK_MATCHER_H_
#define QUILLHAVEN_STRINGS_INTERNAL_TRACKING_LINK_MATCHER_H_

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/identity/product_configuration.h"
#include "quillhaven/platform/url/internal/plain_url.h"
#include "quillhaven/platform/url/uuid.h"
#include "quillhaven/strings/internal/caseless_pattern.h"

namespace quillhaven::strings::internal {

// Returns the pattern of tracking links with the names of `configuration`.
[[nodiscard]] std::string trackingLinkPattern(
    const identity::ProductConfiguration& configuration,
    const std::optional<platform::Uuid>& userIdentifier);

// The configured names of tracking hosts, compiled. Immutable.
struct TrackingNames {
  std::vector<CaselessPattern> labels;  // "beta" and the configured sub-domain
  std::vector<CaselessPattern> domains;
  std::vector<CaselessPattern> endings;
  // The bytes that can follow "https://": most links are of other hosts.
  std::array<bool, 256> canBegin{};

  // Returns nothing when a name holds more of a regular expression than
  // CaselessPattern knows.
  [[nodiscard]] static std::optional<TrackingNames> compiled(
      const identity::ProductConfiguration& configuration);
};

// A link, in bytes of the text.
struct TrackingLink {
  std::size_t position;
  std::size_t size;
  // Path, query and fragment of a link that is a well-formed URL for certain;
  // absent when only taking it apart can tell.
  std::optional<platform::internal::UrlTail> tail;
};

// Finds the links of one user or of any. The names outlive it. Immutable.
class TrackingLinkMatcher {
 public:
  TrackingLinkMatcher(const TrackingNames& names,
                      const std::optional<platform::Uuid>& userIdentifier);

  // Returns the first link at byte `from` or later, or nothing. Calls for all
  // links of a text, each from the end of the last, take time in proportion to
  // its size.
  [[nodiscard]] std::optional<TrackingLink> firstMatch(std::string_view text,
                                                       std::size_t from) const;

 private:
  // Each returns the place of a character of the item if the rest of a link
  // begins at byte `at` with what the function is called after, or kNoMatch.
  [[nodiscard]] std::size_t fromLabel(std::string_view text,
                                      std::size_t at) const;
  [[nodiscard]] std::size_t fromDot(std::string_view text,
                                    std::size_t at) const;
  [[nodiscard]] std::size_t fromDomain(std::string_view text,
                                       std::size_t at) const;
  [[nodiscard]] std::size_t fromPath(std::string_view text,
                                     std::size_t at) const;
  [[nodiscard]] std::size_t fromUserSegment(std::string_view text,
                                            std::size_t at) const;

  const TrackingNames& names_;
  std::string user_;  // in lower case; empty for any
};

}  // namespace quillhaven::strings::internal

#endif  // QUILLHAVEN_STRINGS_INTERNAL_TRACKING_LINK_MATCHER_H_
