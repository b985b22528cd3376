// The two ways in which URLs are taken apart.
#ifndef QUILLHAVEN_PLATFORM_URL_INTERNAL_PLAIN_URL_H_
#define QUILLHAVEN_PLATFORM_URL_INTERNAL_PLAIN_URL_H_

#include <cstddef>
#include <optional>
#include <string_view>

#include "quillhaven/platform/url/url_components.h"

namespace quillhaven::platform::internal {

// What follows the host of a URL, as byte offsets in the text that holds it.
struct UrlTail {
  std::size_t query;     // the "?", or `fragment` when there is no query
  std::size_t fragment;  // the "#", or `end` when there is no fragment
  std::size_t end;

  // The query without "?"; empty when there is none.
  [[nodiscard]] std::string_view queryIn(std::string_view text) const {
    return query == fragment ? std::string_view()
                             : text.substr(query + 1, fragment - query - 1);
  }

  // Where one more item goes.
  [[nodiscard]] QueryInsertion insertion() const {
    if (query == fragment) return {fragment, "?"};
    return {fragment, query + 1 == fragment ? "" : "&"};
  }
};

// Returns where a host name of letters, digits, "." and "-" ends that begins at
// byte `from`.
[[nodiscard]] std::size_t endOfPlainHost(std::string_view text,
                                         std::size_t from);

// Reads path, query and fragment from byte `from` to the first byte that can
// stand in neither, or to the end of the text.
[[nodiscard]] UrlTail plainUrlTail(std::string_view text, std::size_t from);

// Returns what urlComponentsByBoost() does for most links of the web, letters
// and "://", a host name without user or port, and what follows; nothing for
// all others, well-formed or not. Much faster, and it also takes host names
// that begin like an IPv4 address ("1.2.3.4x"), which Boost.URL 1.81 refuses.
[[nodiscard]] std::optional<UrlComponents> plainUrlComponents(
    std::string_view url);

// urlComponents() for any URL.
[[nodiscard]] std::optional<UrlComponents> urlComponentsByBoost(
    std::string_view url);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_URL_INTERNAL_PLAIN_URL_H_
