#include "quillhaven/platform/url/url_components.h"

#include <boost/url/parse.hpp>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/url/internal/plain_url.h"
#include "quillhaven/platform/url/percent_encoding.h"

namespace quillhaven::platform {
namespace {

std::string_view viewOf(boost::urls::string_view text) {
  return {text.data(), text.size()};
}

// Calls `visit` with each item of a query, as it is written, until it returns
// true; tells whether it did.
template <typename Visit>
bool anyItem(std::string_view query, Visit visit) {
  if (query.empty()) return false;
  while (true) {
    const std::size_t end = query.find('&');
    if (visit(query.substr(0, end))) return true;
    if (end == std::string_view::npos) return false;
    query.remove_prefix(end + 1);
  }
}

// The escapes of a URL that was taken apart are well-formed.
std::string decoded(std::string_view text) { return *percentDecoded(text); }

// True when `text` stands for `bytes`.
bool decodesTo(std::string_view text, std::string_view bytes) {
  for (const char byte : bytes) {
    if (text.empty()) return false;
    char c = text.front();
    std::size_t size = 1;
    if (c == '%') {
      c = static_cast<char>(hexDigitValue(text[1]) * 16 +
                            hexDigitValue(text[2]));
      size = 3;
    }
    if (c != byte) return false;
    text.remove_prefix(size);
  }
  return text.empty();
}

}  // namespace

std::optional<UrlComponents> urlComponents(std::string_view url) {
  auto components = internal::plainUrlComponents(url);
  if (!components) components = internal::urlComponentsByBoost(url);
  return components;
}

std::optional<UrlComponents> internal::urlComponentsByBoost(
    std::string_view url) {
  const auto parsed =
      boost::urls::parse_uri(boost::urls::string_view(url.data(), url.size()));
  if (!parsed) return std::nullopt;
  UrlComponents components;
  components.url = url;
  components.scheme = viewOf(parsed->scheme());
  if (parsed->has_authority()) components.host = viewOf(parsed->encoded_host());
  components.path = viewOf(parsed->encoded_path());
  // Boost.URL 1.81 takes what follows a port that is no number for a path.
  if (components.host && !components.path.empty() &&
      components.path.front() != '/') {
    return std::nullopt;
  }
  if (parsed->has_query()) components.query = viewOf(parsed->encoded_query());
  if (parsed->has_fragment()) {
    components.fragment = viewOf(parsed->encoded_fragment());
  }
  return components;
}

std::vector<UrlQueryItem> queryItems(const UrlComponents& url) {
  std::vector<UrlQueryItem> items;
  anyItem(url.query.value_or(""), [&items](std::string_view item) {
    const std::size_t equals = item.find('=');
    UrlQueryItem& added = items.emplace_back();
    added.name = decoded(item.substr(0, equals));
    if (equals != std::string_view::npos) {
      added.value = decoded(item.substr(equals + 1));
    }
    return false;
  });
  return items;
}

bool hasQueryItem(std::string_view query, std::string_view name) {
  return anyItem(query, [name](std::string_view item) {
    return decodesTo(item.substr(0, item.find('=')), name);
  });
}

std::string encodedQueryItem(std::string_view name, std::string_view value) {
  return percentEncoded(name, UrlCharacters::kQueryItem) + '=' +
         percentEncoded(value, UrlCharacters::kQueryItem);
}

QueryInsertion queryInsertion(const UrlComponents& url) {
  const std::size_t end = url.url.size();
  const std::size_t fragment =
      url.fragment ? end - url.fragment->size() - 1 : end;
  const std::size_t query =
      url.query ? fragment - url.query->size() - 1 : fragment;
  return internal::UrlTail{query, fragment, end}.insertion();
}

}  // namespace quillhaven::platform
