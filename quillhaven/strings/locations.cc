#include "quillhaven/strings/locations.h"

#include "quillhaven/identity/product_configuration.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/files/extended_attributes.h"
#include "quillhaven/platform/files/folders.h"
#include "quillhaven/platform/text/regular_expression.h"
#include "quillhaven/platform/url/percent_encoding.h"
#include "quillhaven/platform/url/url_components.h"

namespace quillhaven::strings {
namespace {

using identity::productConfiguration;
using platform::RegularExpression;
using platform::UrlCharacters;

// Returns a pattern that matches exactly `text`.
std::string literally(std::string_view text) {
  std::string pattern;
  for (const char c : text) {
    const bool isPlain = platform::isASCIILetter(c) ||
                         platform::isASCIIDigit(c) ||
                         static_cast<unsigned char>(c) >= 0x80;
    if (!isPlain) pattern.push_back('\\');
    pattern.push_back(c);
  }
  return pattern;
}

RegularExpression ignoringCase(const std::string& pattern) {
  return RegularExpression(pattern, RegularExpression::Options::kIgnoringCase);
}

std::string encodedRecipient(std::string_view recipient) {
  std::string encoded;
  for (const char c :
       platform::percentEncoded(recipient, UrlCharacters::kPath)) {
    if (c == ',') {
      encoded.append("%2C");
    } else {
      encoded.push_back(c);
    }
  }
  return encoded;
}

}  // namespace

bool isDiagnosticConsentURL(std::string_view url) {
  static const RegularExpression pattern = ignoringCase(
      "https://(?:beta|edge|" +
      literally(productConfiguration().diagnosticSubdomain) + ")\\." +
      literally(productConfiguration().productDomain) + "/diagnostic_consent");
  return pattern.firstMatch(url).has_value();
}

bool isQuickStartGuideURL(std::string_view url) {
  static const RegularExpression pattern =
      ignoringCase("https://(?:next\\.)?qsg\\." +
                   literally(productConfiguration().productDomain));
  return pattern.firstMatch(url).has_value();
}

bool isInTrash(std::string_view url) {
  const auto components = platform::urlComponents(url);
  if (!components) return false;
  const auto path = platform::percentDecoded(components->path);
  if (!path) return false;
  std::string home = platform::homeFolder();
  if (home == "/") home.clear();
  return path->starts_with(home + "/.Trash");
}

std::int32_t dequarantine(std::string_view url) {
  const auto path = platform::pathFromFileURL(url);
  if (!path) return 0;
  return platform::removeExtendedAttribute(*path,
                                           platform::kQuarantineAttribute);
}

std::optional<std::string> messageURL(std::optional<std::string_view> ID) {
  if (!ID) return std::nullopt;
  std::string url =
      "message://" + platform::percentEncoded(*ID, UrlCharacters::kHost);
  if (!platform::urlComponents(url)) return std::nullopt;
  return url;
}

std::string mailtoURL(std::span<const std::string> to,
                      std::optional<std::string_view> subject,
                      std::optional<std::string_view> body) {
  std::string url = "mailto:";
  for (const std::string& recipient : to) {
    if (&recipient != &to.front()) url.push_back(',');
    url.append(encodedRecipient(recipient));
  }
  char separator = '?';
  const auto appendItem = [&](std::string_view name,
                              std::optional<std::string_view> value) {
    if (!value) return;
    url.push_back(separator);
    url.append(name).push_back('=');
    url.append(platform::percentEncoded(*value, UrlCharacters::kQueryItem));
    separator = '&';
  };
  appendItem("subject", subject);
  appendItem("body", body);
  return url;
}

}  // namespace quillhaven::strings
