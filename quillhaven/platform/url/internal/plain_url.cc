#include "quillhaven/platform/url/internal/plain_url.h"

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/byte_scan.h"

namespace quillhaven::platform::internal {
namespace {

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

std::size_t endOfPlainHost(std::string_view text, std::size_t from) {
  return findByte(text, from, [](ByteVector bytes) {
    return ~(isBetween(bytes | 0x20, 'a', 'z') | isBetween(bytes, '0', '9') |
             isBetween(bytes, '-', '.'));
  });
}

UrlTail plainUrlTail(std::string_view text, std::size_t from) {
  constexpr std::size_t kNone = std::string_view::npos;
  std::size_t query = kNone;
  std::size_t fragment = kNone;
  std::size_t at = endOfPlainCharacters(text, from);
  for (; at < text.size(); at = endOfPlainCharacters(text, at)) {
    if (text[at] == '?') {
      if (query == kNone && fragment == kNone) query = at;
      ++at;
    } else if (isEscape(text, at)) {
      at += 3;
    } else if (text[at] == '#' && fragment == kNone) {
      fragment = at++;
    } else {
      break;
    }
  }
  if (fragment == kNone) fragment = at;
  if (query == kNone) query = fragment;
  return {query, fragment, at};
}

std::optional<UrlComponents> plainUrlComponents(std::string_view url) {
  std::size_t colon = 0;
  while (colon < url.size() && isASCIILetter(url[colon])) ++colon;
  const std::size_t host = colon + 3;
  if (colon == 0 || url.substr(colon, 3) != "://") return std::nullopt;
  const std::size_t path = endOfPlainHost(url, host);
  const bool hasPath = path < url.size();
  if (path == host || (hasPath && url[path] != '/' && url[path] != '?')) {
    return std::nullopt;
  }
  const UrlTail tail = plainUrlTail(url, path);
  if (tail.end != url.size()) return std::nullopt;

  UrlComponents components;
  components.url = url;
  components.scheme = url.substr(0, colon);
  components.host = url.substr(host, path - host);
  components.path = url.substr(path, tail.query - path);
  if (tail.query < tail.fragment) components.query = tail.queryIn(url);
  if (tail.fragment < tail.end) {
    components.fragment = url.substr(tail.fragment + 1);
  }
  return components;
}

}  // namespace quillhaven::platform::internal
