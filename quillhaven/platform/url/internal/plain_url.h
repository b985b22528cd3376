// The two ways in which URLs are taken apart.
#ifndef QUILLHAVEN_PLATFORM_URL_INTERNAL_PLAIN_URL_H_
#define QUILLHAVEN_PLATFORM_URL_INTERNAL_PLAIN_URL_H_

#include <optional>
#include <string_view>

#include "quillhaven/platform/url/url_components.h"

namespace quillhaven::platform::internal {

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
