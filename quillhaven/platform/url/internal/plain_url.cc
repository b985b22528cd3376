#include "quillhaven/platform/url/internal/plain_url.h"

#include <algorithm>
#include <array>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/byte_scan.h"

namespace quillhaven::platform::internal {
namespace {

constexpr std::array<bool, 256> makeHostCharacters() {
  std::array<bool, 256> characters{};
  for (std::size_t byte = 0; byte < 128; ++byte) {
    const char c = static_cast<char>(byte);
    characters[byte] =
        isASCIILetter(c) || isASCIIDigit(c) || c == '.' || c == '-';
  }
  return characters;
}

constexpr std::array<bool, 256> kHostCharacters = makeHostCharacters();

bool isHostCharacter(char c) {
  return kHostCharacters[static_cast<unsigned char>(c)];
}

// The end of the characters that stand for themselves in path, query and
// fragment: letters, digits and "-._~!$&'()*+,;=:@/?" (RFC 3986).
std::size_t endOfPlainCharacters(std::string_view url, std::size_t from) {
  return findByte(url, from, [](ByteVector bytes) {
    return ~(isBetween(bytes | 0x20, 'a', 'z') | isBetween(bytes, '&', ';') |
             isBetween(bytes, '?', '@') | equals(bytes, '=') |
             equals(bytes, '!') | equals(bytes, '$') | equals(bytes, '_') |
             equals(bytes, '~'));
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
  std::size_t path = host;
  while (path < url.size() && isHostCharacter(url[path])) ++path;
  const bool hasPath = path < url.size();
  if (path == host || (hasPath && url[path] != '/' && url[path] != '?')) {
    return result;
  }

  std::size_t fragment = url.size();
  for (std::size_t at = endOfPlainCharacters(url, path); at < url.size();
       at = endOfPlainCharacters(url, at)) {
    if (isEscape(url, at)) {
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
  const std::string_view beforeFragment = url.substr(0, fragment);
  const std::size_t query = std::min(beforeFragment.find('?', path), fragment);
  components.path = url.substr(path, query - path);
  if (query < fragment) components.query = beforeFragment.substr(query + 1);
  if (fragment < url.size()) components.fragment = url.substr(fragment + 1);
  return result;
}

}  // namespace quillhaven::platform::internal
