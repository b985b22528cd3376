#include "quillhaven/platform/url/internal/plain_url.h"

#include <algorithm>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/byte_scan.h"

namespace quillhaven::platform::internal {
namespace {

// The end of a host of letters, digits, "." and "-".
std::size_t endOfHost(std::string_view url, std::size_t from) {
  return findByte(url, from, [](ByteVector bytes) {
    return ~(isBetween(bytes | 0x20, 'a', 'z') | isBetween(bytes, '0', '9') |
             isBetween(bytes, '-', '.'));
  });
}

// The end of the characters that stand for themselves in path, query and
// fragment: letters, digits and "-._~!$&'()*+,;=:@/" (RFC 3986). "?" does so in
// the latter two only.
std::size_t endOfPlainCharacters(std::string_view url, std::size_t from) {
  return findByte(url, from, [](ByteVector bytes) {
    return ~(isBetween(bytes | 0x20, 'a', 'z') | isBetween(bytes, '&', ';') |
             equals(bytes, '@') | equals(bytes, '=') | equals(bytes, '!') |
             equals(bytes, '$') | equals(bytes, '_') | equals(bytes, '~'));
  });
}

// True when an escape stands at `at`.
bool isEscape(std::string_view url, std::size_t at) {
  return url.size() - at > 2 && url[at] == '%' &&
         hexDigitValue(url[at + 1]) >= 0 && hexDigitValue(url[at + 2]) >= 0;
}

}  // namespace

std::optional<UrlComponents> plainUrlComponents(std::string_view url) {
  // Returned everywhere, so that it is made where the caller has it: copying so
  // many views costs as much as finding them.
  std::optional<UrlComponents> result;
  std::size_t colon = 0;
  while (colon < url.size() && isASCIILetter(url[colon])) ++colon;
  const std::size_t host = colon + 3;
  if (colon == 0 || url.substr(colon, 3) != "://") return result;
  const std::size_t path = endOfHost(url, host);
  const bool hasPath = path < url.size();
  if (path == host || (hasPath && url[path] != '/' && url[path] != '?')) {
    return result;
  }

  std::size_t query = url.size();
  std::size_t fragment = url.size();
  for (std::size_t at = endOfPlainCharacters(url, path); at < url.size();
       at = endOfPlainCharacters(url, at)) {
    if (url[at] == '?') {
      if (query == url.size() && fragment == url.size()) query = at;
      ++at;
    } else if (isEscape(url, at)) {
      at += 3;
    } else if (url[at] == '#' && fragment == url.size()) {
      fragment = at++;
    } else {
      return result;
    }
  }

  UrlComponents& components = result.emplace();
  components.url = url;
  components.scheme = url.substr(0, colon);
  components.host = url.substr(host, path - host);
  const std::size_t pathEnd = std::min(query, fragment);
  components.path = url.substr(path, pathEnd - path);
  if (query < fragment) {
    components.query = url.substr(query + 1, fragment - query - 1);
  }
  if (fragment < url.size()) components.fragment = url.substr(fragment + 1);
  return result;
}

}  // namespace quillhaven::platform::internal
