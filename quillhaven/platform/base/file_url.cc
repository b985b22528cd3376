#include "quillhaven/platform/base/file_url.h"

#include <filesystem>
#include <system_error>

#include "quillhaven/platform/base/ascii.h"

namespace quillhaven::platform {
namespace {

constexpr std::string_view kScheme = "file:";

// RFC 3986, section 3.3: pchar and the slash between segments.
bool isPathCharacter(char c) {
  return isASCIILetter(c) || isASCIIDigit(c) ||
         std::string_view("-._~!$&'()*+,;=:@/").find(c) !=
             std::string_view::npos;
}

}  // namespace

std::string fileURLFromPath(std::string_view path) {
  std::error_code ignored;
  std::filesystem::path absolute =
      std::filesystem::absolute(std::filesystem::path(path), ignored);
  if (absolute.empty()) absolute = std::filesystem::path(path);

  std::string url = "file://";
  for (const char c : absolute.lexically_normal().string()) {
    if (isPathCharacter(c)) {
      url.push_back(c);
      continue;
    }
    constexpr char kDigits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    url.push_back('%');
    url.push_back(kDigits[byte >> 4]);
    url.push_back(kDigits[byte & 15]);
  }
  return url;
}

std::optional<std::string> pathFromFileURL(std::string_view url) {
  if (!equalsIgnoringASCIICase(url.substr(0, kScheme.size()), kScheme)) {
    return std::nullopt;
  }
  std::string_view rest = url.substr(kScheme.size());
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    const std::string_view host = rest.substr(0, rest.find('/'));
    if (!host.empty() && !equalsIgnoringASCIICase(host, "localhost")) {
      return std::nullopt;
    }
    rest.remove_prefix(host.size());
  }
  rest = rest.substr(0, rest.find_first_of("?#"));
  if (!rest.starts_with('/')) return std::nullopt;

  std::string path;
  for (std::size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] != '%') {
      path.push_back(rest[i]);
      continue;
    }
    if (i + 2 >= rest.size()) return std::nullopt;
    const int high = hexDigitValue(rest[i + 1]);
    const int low = hexDigitValue(rest[i + 2]);
    if (high < 0 || low < 0 || high + low == 0) return std::nullopt;
    path.push_back(static_cast<char>(high * 16 + low));
    i += 2;
  }
  return path;
}

}  // namespace quillhaven::platform
