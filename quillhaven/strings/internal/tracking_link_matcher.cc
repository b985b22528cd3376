#include "quillhaven/strings/internal/tracking_link_matcher.h"

#include <algorithm>

#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/text/internal/white_space.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::strings::internal {
namespace {

constexpr std::string_view kAnyUser = "[0-9a-f-]+";

std::string joined(const std::vector<std::string>& alternatives) {
  std::string text;
  for (const std::string& alternative : alternatives) {
    if (&alternative != &alternatives.front()) text.push_back('|');
    text.append(alternative);
  }
  return text;
}

bool appendCompiled(std::vector<CaselessPattern>& patterns,
                    std::string_view pattern) {
  auto compiled = CaselessPattern::compiled(pattern);
  if (!compiled) return false;
  patterns.push_back(std::move(*compiled));
  return true;
}

bool appendCompiled(std::vector<CaselessPattern>& patterns,
                    const std::vector<std::string>& alternatives) {
  if (alternatives.empty()) return appendCompiled(patterns, "");
  for (const std::string& alternative : alternatives) {
    if (!appendCompiled(patterns, alternative)) return false;
  }
  return true;
}

bool isAt(std::string_view text, std::size_t at, char c) {
  return at < text.size() && text[at] == c;
}

// Returns where "https" begins that ends before byte `end`, at `from` or later.
std::size_t startOfScheme(std::string_view text, std::size_t from,
                          std::size_t end) {
  constexpr std::string_view kLongS = "\u017F";
  constexpr std::size_t kBefore = 4;  // "http"
  const std::string_view before = text.substr(from, end - from);
  if (before.ends_with("https")) return end - kBefore - 1;
  const std::size_t sSize = before.ends_with(kLongS) ? kLongS.size() : 1;
  if (before.size() < kBefore + sSize) return kNoMatch;
  const std::size_t start = end - sSize - kBefore;
  return endOfLiteral(text, start, "https") == end ? start : kNoMatch;
}

constexpr std::array<bool, 256> makeUserCharacters() {
  std::array<bool, 256> characters{};
  for (std::size_t byte = 0; byte < 128; ++byte) {
    const char c = static_cast<char>(byte);
    characters[byte] = platform::hexDigitValue(c) >= 0 || c == '-';
  }
  return characters;
}

constexpr std::array<bool, 256> kUserCharacters = makeUserCharacters();

bool isUserCharacter(char c) {
  return kUserCharacters[static_cast<unsigned char>(c)];
}

// "[0-9a-f-]*"
std::size_t endOfUserRun(std::string_view text, std::size_t at) {
  namespace scan = platform::internal;
  if (at == text.size() || !isUserCharacter(text[at])) return at;
  return scan::findByte(text, at + 1, [](scan::ByteVector bytes) {
    return ~(scan::isBetween(bytes | 0x20, 'a', 'f') |
             scan::isBetween(bytes, '0', '9') | scan::equals(bytes, '-'));
  });
}

// The size of the character at `at` if "[0-9a-z_-]" matches it, else 0.
std::size_t itemCharacterSize(std::string_view text, std::size_t at) {
  if (at == text.size()) return 0;
  const char c = text[at];
  if (platform::isASCIILetter(c) || platform::isASCIIDigit(c) || c == '_' ||
      c == '-') {
    return 1;
  }
  const std::string_view rest = text.substr(at);
  if (rest.starts_with("\u017F")) return 2;
  return rest.starts_with("\u212A") ? 3 : 0;
}

// The end of "[^<>\"\s]*".
std::size_t endOfLinkCharacters(std::string_view text, std::size_t at) {
  namespace scan = platform::internal;
  while (true) {
    at = scan::findByte(text, at, [](scan::ByteVector bytes) {
      return scan::equals(bytes, '<') | scan::equals(bytes, '>') |
             scan::equals(bytes, '"') | scan::equals(bytes, ' ') |
             scan::isBetween(bytes, 0x09, 0x0D) | scan::equals(bytes, 0xC2) |
             scan::isBetween(bytes, 0xE1, 0xE3);
    });
    if (at == text.size() || static_cast<unsigned char>(text[at]) < 0x80 ||
        scan::spaceLength(text, at) != 0) {
      return at;
    }
    ++at;
  }
}

// True for the bytes at which a link ends whatever follows.
bool isEndOfLink(char c) {
  return c == '<' || c == '>' || c == '"' || c == ' ' ||
         (c >= '\t' && c <= '\r');
}

// "[0-9a-z_-]+[^<>\"\s]+": since the first set lies within the second, all that
// counts of it is the first character. Returns the place of the second, the
// link goes on from there to the end of its characters.
std::size_t secondOfItem(std::string_view text, std::size_t at) {
  const std::size_t first = itemCharacterSize(text, at);
  if (first == 0 || at + first == text.size()) return kNoMatch;
  const std::size_t second = at + first;
  const char c = text[second];
  if (isEndOfLink(c) || (static_cast<unsigned char>(c) >= 0x80 &&
                         platform::internal::spaceLength(text, second) != 0)) {
    return kNoMatch;
  }
  return second;
}

// The link from `position` with its "//" at `slashes`, whose item goes on at
// `second`.
TrackingLink linkAt(std::string_view text, std::size_t position,
                    std::size_t slashes, std::size_t second) {
  constexpr std::size_t kSchemeSize = 6;  // "https:" in ASCII
  const std::size_t host = slashes + 2;
  const std::size_t path = platform::internal::endOfPlainHost(text, host);
  if (slashes == position + kSchemeSize && path != host && path < second &&
      text[path] == '/') {
    const auto tail = platform::internal::plainUrlTail(text, path);
    const bool isWhole = tail.end == text.size() || isEndOfLink(text[tail.end]);
    if (isWhole && tail.end > second) {
      return {position, tail.end - position, tail};
    }
  }
  return {position, endOfLinkCharacters(text, second) - position, {}};
}

}  // namespace

// Names go in as they are: deployments write patterns there.
std::string trackingLinkPattern(
    const identity::ProductConfiguration& configuration,
    const std::optional<platform::Uuid>& userIdentifier) {
  const std::string user = userIdentifier ? userIdentifier->uppercaseString()
                                          : std::string(kAnyUser);
  std::string pattern = "https://(?:beta|";
  pattern.append(configuration.trackingSubdomain).append("|").append(user);
  pattern.append(")?\\.?(?:").append(joined(configuration.trackingDomainNames));
  pattern.append(")\\.(?:").append(joined(configuration.trackingDomainEndings));
  pattern.append(")/(?:").append(user).append("|b/").append(user);
  pattern.append("|p/").append(user).append("|b2|p2|e2)");
  return pattern.append(R"(/[0-9a-z_-]+[^<>\"\s]+)");
}

std::optional<TrackingNames> TrackingNames::compiled(
    const identity::ProductConfiguration& configuration) {
  TrackingNames names;
  const bool arePlain =
      appendCompiled(names.labels, "beta") &&
      appendCompiled(names.labels, configuration.trackingSubdomain) &&
      appendCompiled(names.domains, configuration.trackingDomainNames) &&
      appendCompiled(names.endings, configuration.trackingDomainEndings);
  if (!arePlain) return std::nullopt;
  for (std::size_t byte = 0; byte < names.canBegin.size(); ++byte) {
    const char c = static_cast<char>(byte);
    const auto begins = [c](const CaselessPattern& pattern) {
      return pattern.canBeginWith(c);
    };
    names.canBegin[byte] =
        isUserCharacter(c) || c == '.' ||
        std::any_of(names.labels.begin(), names.labels.end(), begins) ||
        std::any_of(names.domains.begin(), names.domains.end(), begins);
  }
  return names;
}

TrackingLinkMatcher::TrackingLinkMatcher(
    const TrackingNames& names,
    const std::optional<platform::Uuid>& userIdentifier)
    : names_(names),
      user_(userIdentifier ? userIdentifier->lowercaseString() : "") {}

std::optional<TrackingLink> TrackingLinkMatcher::firstMatch(
    std::string_view text, std::size_t from) const {
  std::size_t colon = from;
  while (true) {
    colon = platform::internal::findPair(text, ':', '/', colon);
    if (colon == std::string_view::npos) return std::nullopt;
    if (isAt(text, colon + 2, '/') && colon + 3 < text.size() &&
        names_.canBegin[static_cast<unsigned char>(text[colon + 3])]) {
      const std::size_t start = startOfScheme(text, from, colon);
      const std::size_t second =
          start == kNoMatch ? kNoMatch : fromLabel(text, colon + 3);
      if (second != kNoMatch) return linkAt(text, start, colon + 1, second);
    }
    ++colon;
  }
}

// The alternatives below are tried in the order of the pattern: the first that
// leads to an end is the match, as in any backtracking matcher.

// "(?:beta|NAME|USER)?" and the rest. A run of user characters is given back
// one by one; none of them begins another link, so that all links of a text
// look at a character only a few times.
std::size_t TrackingLinkMatcher::fromLabel(std::string_view text,
                                           std::size_t at) const {
  for (const CaselessPattern& label : names_.labels) {
    const std::size_t labelEnd = label.end(text, at);
    if (labelEnd == kNoMatch) continue;
    const std::size_t end = fromDot(text, labelEnd);
    if (end != kNoMatch) return end;
  }
  if (user_.empty()) {
    for (std::size_t run = endOfUserRun(text, at); run > at; --run) {
      const std::size_t end = fromDot(text, run);
      if (end != kNoMatch) return end;
    }
  } else if (const std::size_t userEnd = endOfLiteral(text, at, user_);
             userEnd != kNoMatch) {
    const std::size_t end = fromDot(text, userEnd);
    if (end != kNoMatch) return end;
  }
  return fromDot(text, at);
}

// "\.?" and the rest.
std::size_t TrackingLinkMatcher::fromDot(std::string_view text,
                                         std::size_t at) const {
  if (isAt(text, at, '.')) {
    const std::size_t end = fromDomain(text, at + 1);
    if (end != kNoMatch) return end;
  }
  return fromDomain(text, at);
}

// "(?:NAME|...)\.(?:ENDING|...)/" and the rest.
std::size_t TrackingLinkMatcher::fromDomain(std::string_view text,
                                            std::size_t at) const {
  for (const CaselessPattern& domain : names_.domains) {
    const std::size_t dot = domain.end(text, at);
    if (dot == kNoMatch || !isAt(text, dot, '.')) continue;
    for (const CaselessPattern& ending : names_.endings) {
      const std::size_t slash = ending.end(text, dot + 1);
      if (slash == kNoMatch || !isAt(text, slash, '/')) continue;
      const std::size_t end = fromPath(text, slash + 1);
      if (end != kNoMatch) return end;
    }
  }
  return kNoMatch;
}

// "(?:USER|b/USER|p/USER|b2|p2|e2)/" and the rest.
std::size_t TrackingLinkMatcher::fromPath(std::string_view text,
                                          std::size_t at) const {
  std::size_t end = fromUserSegment(text, at);
  if (end != kNoMatch) return end;
  for (const std::string_view opening : {"b/", "p/"}) {
    const std::size_t user = endOfLiteral(text, at, opening);
    if (user == kNoMatch) continue;
    end = fromUserSegment(text, user);
    if (end != kNoMatch) return end;
  }
  for (const std::string_view segment : {"b2", "p2", "e2"}) {
    const std::size_t slash = endOfLiteral(text, at, segment);
    if (slash != kNoMatch && isAt(text, slash, '/')) {
      return secondOfItem(text, slash + 1);
    }
  }
  return kNoMatch;
}

// "USER/" and the rest. Of a run only the whole can be followed by a slash.
std::size_t TrackingLinkMatcher::fromUserSegment(std::string_view text,
                                                 std::size_t at) const {
  const std::size_t slash =
      user_.empty() ? endOfUserRun(text, at) : endOfLiteral(text, at, user_);
  if (slash == kNoMatch || slash == at || !isAt(text, slash, '/')) {
    return kNoMatch;
  }
  return secondOfItem(text, slash + 1);
}

}  // namespace quillhaven::strings::internal
