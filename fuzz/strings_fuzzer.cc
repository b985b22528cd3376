// Feeds a text to the operations on links, addresses and strings.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "quillhaven/platform/text/grapheme_breaks.h"
#include "quillhaven/platform/text/utf8.h"
#include "quillhaven/platform/url/url_components.h"
#include "quillhaven/strings/email_addresses.h"
#include "quillhaven/strings/path_helpers.h"
#include "quillhaven/strings/string_helpers.h"
#include "quillhaven/strings/tracking_links.h"

namespace quillhaven::fuzz {
namespace {

void checkTrackingLinks(std::string_view text) {
  const std::string marked = strings::addingNoTrackToTrackingURLs(text);
  requireUTF8(marked);
  require(strings::addingNoTrackToTrackingURLs(marked) == marked,
          "a marked link is not marked again");
  require(strings::containsTrackingURL(text) || marked == text,
          "nothing but tracking links changes");
}

void checkURL(std::string_view text) {
  const auto url = platform::urlComponents(text);
  if (!url) return;
  std::string added(text);
  const platform::QueryInsertion insertion = platform::queryInsertion(*url);
  added.insert(insertion.position,
               std::string(insertion.separator) +
                   platform::encodedQueryItem("q i", "&=#"));
  const auto again = platform::urlComponents(added);
  require(again && again->query && platform::hasQueryItem(*again->query, "q i"),
          "an item that was added is there");
  require(again->fragment == url->fragment && again->path == url->path,
          "an item changes nothing but the query");
}

void checkAddresses(std::string_view text) {
  const auto address = strings::emailAddress(text);
  require(!address || text.find(*address) != std::string_view::npos,
          "the address stands in the text");
  const auto name = strings::emailName(text);
  if (name) requireUTF8(*name);
  require(
      strings::emailLocalPart(text).has_value() == strings::isValidEmail(text),
      "just a valid address has a local part");
}

void checkStrings(std::string_view text) {
  const std::size_t count = platform::characterCount(text);
  require(platform::firstCharacters(text, count) == text &&
              platform::lastCharacters(text, count) == text,
          "all characters are the text");
  const std::string shortened =
      strings::truncatingMiddle(text, static_cast<std::int64_t>(count / 2));
  requireUTF8(shortened);
  require(shortened.size() <= text.size() + 3, "cutting makes nothing longer");
  require(strings::contains(text, "*"), "a star is found everywhere");
  static_cast<void>(strings::contains(text, text));
  requireUTF8(strings::lowerKebabCased(text));
  requireUTF8(strings::capitalizingFirstLetter(text));
  static_cast<void>(strings::containsLiquid(text));
  require(strings::strippedFromHTML(text).size() <= text.size(),
          "taking tags out makes nothing longer");
}

void checkPaths(std::string_view path) {
  const auto components = strings::pathComponents(path);
  const std::vector<std::string_view> views(components.begin(),
                                            components.end());
  require(strings::pathComponents(strings::path(views)) == components,
          "components make a path of these components");
  const std::string parent = strings::deletingLastPathComponent(path);
  require(parent == "/" || parent.size() <= path.size(),
          "a parent is no longer than its child");
}

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  const std::string_view text = inputBytes(data, size);
  checkURL(text);
  if (!quillhaven::platform::isValidUTF8(text)) return 0;
  checkTrackingLinks(text);
  checkAddresses(text);
  checkStrings(text);
  checkPaths(text);
  return 0;
}
