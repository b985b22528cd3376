// Takes URLs (RFC 3986) apart and adds query items to them.
#ifndef QUILLHAVEN_PLATFORM_URL_URL_COMPONENTS_H_
#define QUILLHAVEN_PLATFORM_URL_URL_COMPONENTS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::platform {

// The parts of a URL as they stand in it, percent escapes included. The views
// point into the text that was taken apart and live as long as it does.
struct UrlComponents {
  std::string_view url;                   // the whole
  std::string_view scheme;                // without ":"
  std::optional<std::string_view> host;   // absent without "//"; may be empty
  std::string_view path;                  // may be empty
  std::optional<std::string_view> query;  // without "?"; may be empty
  std::optional<std::string_view> fragment;  // without "#"; may be empty
};

// Returns the parts of `url`, or nothing when it is ill-formed: no scheme, a
// character that RFC 3986 does not allow where it stands (all beyond ASCII are
// such), a "%" without two hexadecimal digits, a port that is no number.
[[nodiscard]] std::optional<UrlComponents> urlComponents(std::string_view url);

// One item of a query: what stands between two "&", percent-decoded. An item
// without "=" is a name without a value.
struct UrlQueryItem {
  std::string name;
  std::optional<std::string> value;

  friend bool operator==(const UrlQueryItem&, const UrlQueryItem&) = default;
};

// Returns the items of the query of a URL, in order; none when there is no
// query or an empty one. Nothing but "&" separates items: "&amp;b=c", which
// HTML shows as "&b=c", holds an item called "amp;b".
[[nodiscard]] std::vector<UrlQueryItem> queryItems(const UrlComponents& url);

// True when an item of `query`, which is that of a well-formed URL without "?",
// is called `name`, percent-decoded, in that letter case. An empty query has no
// items. Allocates nothing.
[[nodiscard]] bool hasQueryItem(std::string_view query, std::string_view name);

// Returns "name=value", both percent-encoded, for a query.
[[nodiscard]] std::string encodedQueryItem(std::string_view name,
                                           std::string_view value);

// Where one more query item goes into a URL: behind those that it has, before
// its fragment. All bytes of the URL stay as they are.
struct QueryInsertion {
  std::size_t position;        // in bytes from the start of the URL
  std::string_view separator;  // to be put before the item: "?", "&" or ""
};
[[nodiscard]] QueryInsertion queryInsertion(const UrlComponents& url);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_URL_URL_COMPONENTS_H_
