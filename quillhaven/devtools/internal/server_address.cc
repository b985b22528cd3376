#include "quillhaven/devtools/internal/server_address.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/url/percent_encoding.h"
#include "quillhaven/platform/url/url_components.h"

namespace quillhaven::devtools::internal {
namespace {

using platform::hexDigitValue;
using platform::isASCIIDigit;
using platform::isASCIILetter;

// RFC 3986, sections 2.2 and 2.3.
bool isUrlCharacter(char c) {
  return isASCIILetter(c) || isASCIIDigit(c) ||
         std::string_view("-._~:/?#[]@!$&'()*+,;=").find(c) !=
             std::string_view::npos;
}

std::string withIllegalCharactersEscaped(std::string_view text) {
  std::string escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '%' && i + 2 < text.size() &&
                          hexDigitValue(text[i + 1]) >= 0 &&
                          hexDigitValue(text[i + 2]) >= 0;
    if (isEscape || isUrlCharacter(text[i])) {
      escaped.push_back(text[i]);
    } else {
      escaped += platform::percentEncoded(text.substr(i, 1),
                                          platform::UrlCharacters::kPath);
    }
  }
  return escaped;
}

// RFC 3986, section 3.1.
bool startsWithScheme(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  for (const char c : text.substr(0, colon)) {
    if (!isASCIILetter(c) && !isASCIIDigit(c) && c != '+' && c != '-' &&
        c != '.') {
      return false;
    }
  }
  return isASCIILetter(text[0]);
}

}  // namespace

std::optional<ServerAddress> serverAddressFromText(std::string_view text) {
  if (text.empty()) return std::nullopt;
  ServerAddress address;
  address.absoluteString = withIllegalCharactersEscaped(text);
  address.hasScheme = startsWithScheme(address.absoluteString);

  // A URL without a scheme is taken apart behind one that does not count.
  const std::string whole =
      (address.hasScheme ? "" : "x:") + address.absoluteString;
  const auto components = platform::urlComponents(whole);
  if (!components) return std::nullopt;
  address.isFileURL =
      platform::equalsIgnoringASCIICase(components->scheme, "file");

  if (address.isFileURL) {
    address.path = platform::pathFromFileURL(address.absoluteString);
  } else if (!address.hasScheme) {
    address.path = platform::percentDecoded(components->path);
  }
  if (address.path && (address.path->empty() ||
                       address.path->find('\0') != std::string::npos)) {
    address.path.reset();
  }
  return address;
}

bool isReadable(const std::string& path) {
  return ::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0;
}

std::string folderURLFromPath(const std::string& path) {
  std::string url = platform::fileURLFromPath(path);
  if (!url.ends_with('/')) url.push_back('/');
  return url;
}

}  // namespace quillhaven::devtools::internal
