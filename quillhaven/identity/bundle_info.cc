#include "quillhaven/identity/bundle_info.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <system_error>
#include <utility>

#include "quillhaven/identity/internal/product_log.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/base/localization.h"

namespace quillhaven::identity {
namespace {

using platform::Bundle;
using platform::LogType;
using platform::PropertyList;

constexpr std::pair<Environment, std::string_view> kEnvironments[] = {
    {Environment::debug, "Debug"},
    {Environment::alpha, "Alpha"},
    {Environment::beta, "Beta"},
    {Environment::release, "Release"}};

constexpr std::pair<std::string_view, std::string_view> kUserAgentPrefixes[] = {
    {applicationBundleIdentifier, "QuillhavenApp/"},
    {agentBundleIdentifier, "QuillhavenAgent/"},
    {pluginBundleIdentifier, "QuillhavenPlugin/"},
    {smtpRelayBundleIdentifier, "SMTPRelay/"}};

// The plug-in's principal class: a symbol with C linkage, else the type of a
// C++ class.
constexpr const char* kPrincipalClassSymbols[] = {"LFMailBundle",
                                                  "_ZTI12LFMailBundle"};

std::string unknown() { return platform::localizedString("Unknown"); }

// Only the letters of ASCII matter: no other character turns into one of those
// in the identifiers when its case changes.
bool hasIdentifier(const Bundle& bundle, std::string_view lowerCase) {
  const auto identifier = bundle.bundleIdentifier();
  return identifier &&
         platform::equalsIgnoringASCIICase(*identifier, lowerCase);
}

std::optional<PropertyList> uncachedValue(const Bundle& bundle,
                                          std::string_view key) {
  auto information = uncachedInfoDictionary(bundle);
  if (!information) return std::nullopt;
  const auto found = information->find(key);
  if (found == information->end()) return std::nullopt;
  return std::move(found->second);
}

bool uncachedFlag(const Bundle& bundle, std::string_view key) {
  const auto value = uncachedValue(bundle, key);
  return value && value->boolean().value_or(false);
}

std::string nameFromPath(std::string_view path) {
  if (path.empty()) platform::fatalError("a bundle without a path has no name");
  std::string_view last = path.substr(path.find_last_of('/') + 1);
  if (last.empty()) return std::string(path);
  const std::size_t dot = last.find_last_of('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == last.size()) {
    return std::string(last);
  }
  return std::string(last.substr(0, dot));
}

// The prefix goes by the identifier to the letter, unlike the predicates above:
// deliberate.
std::string userAgentProduct(const Bundle& bundle) {
  const auto identifier = bundle.bundleIdentifier();
  for (const auto& [known, prefix] : kUserAgentPrefixes) {
    if (identifier == known) {
      return std::string(prefix) + quillhavenVersionString(bundle);
    }
  }
  return name(bundle) + "/" + shortVersionString(bundle);
}

void logLoader() {
  const auto loader =
      Bundle::loadedBundleWithIdentifier(loaderBundleIdentifier);
  if (!loader) return;
  const auto signature = loader->infoString(Key::loaderPluginSignature);
  if (!signature) return;
  internal::productLog().log(LogType::kDefault,
                             "Loaded by Quillhaven Loader Plugin " +
                                 std::string(*signature) + " (" +
                                 versionString(*loader) + ")");
}

}  // namespace

std::string_view rawValue(Environment environment) {
  for (const auto& [known, value] : kEnvironments) {
    if (known == environment) return value;
  }
  platform::fatalError("an environment has no such value");
}

bool isMailBundle(const Bundle& bundle) {
  return hasIdentifier(bundle, mailBundleIdentifier);
}

bool isPluginBundle(const Bundle& bundle) {
  return hasIdentifier(bundle, pluginBundleIdentifier);
}

bool isAppBundle(const Bundle& bundle) {
  return hasIdentifier(bundle, applicationBundleIdentifier);
}

bool isLoaderBundle(const Bundle& bundle) {
  return hasIdentifier(bundle, loaderBundleIdentifier);
}

bool isLegacyQuillhaven(const Bundle& bundle) {
  return bundle.bundleIdentifier() == legacyApplicationBundleIdentifier;
}

std::optional<Environment> environment(const Bundle& bundle) {
  const auto value = bundle.infoString(Key::quillhavenEnvironment);
  for (const auto& [known, rawValue] : kEnvironments) {
    if (value == rawValue) return known;
  }
  return std::nullopt;
}

std::string name(const Bundle& bundle) {
  for (const auto key : {Key::bundleDisplayName, Key::bundleName}) {
    if (const auto value = bundle.infoString(key)) return std::string(*value);
  }
  return nameFromPath(bundle.bundlePath());
}

std::string shortVersionString(const Bundle& bundle) {
  const auto value = bundle.infoString(Key::bundleShortVersionString);
  return value ? std::string(*value) : unknown();
}

std::string versionString(const Bundle& bundle) {
  const auto value = bundle.infoString(Key::bundleVersion);
  return value ? std::string(*value) : unknown();
}

std::string quillhavenVersionString(const Bundle& bundle) {
  const auto value = bundle.infoString(Key::quillhavenVersionString);
  return value ? std::string(*value) : shortVersionString(bundle);
}

std::string longVersionString(const Bundle& bundle) {
  return quillhavenVersionString(bundle) + " (" + versionString(bundle) + ")";
}

std::int64_t buildNumber(const Bundle& bundle) {
  return buildNumber(versionString(bundle));
}

std::int64_t buildNumber(std::string_view versionString) {
  constexpr std::int64_t kNone = -1;
  if (versionString.starts_with('+')) {
    versionString.remove_prefix(1);
    if (versionString.starts_with('-')) return kNone;
  }
  std::int64_t number = 0;
  const char* const end = versionString.data() + versionString.size();
  const auto read = std::from_chars(versionString.data(), end, number);
  return read.ec == std::errc() && read.ptr == end ? number : kNone;
}

std::optional<PropertyList::Dictionary> uncachedInfoDictionary(
    const Bundle& bundle) {
  if (bundle.bundlePath().empty()) {
    platform::fatalError("a bundle without a path has no property list");
  }
  return bundle.readInfoDictionary();
}

bool isMacAppStoreVersion(const Bundle& bundle) {
  return uncachedFlag(bundle, Key::macAppStore);
}

bool isWideframe(const Bundle& bundle) {
  return uncachedFlag(bundle, Key::wideframe);
}

std::optional<std::int64_t> mailExtensionVersionID(const Bundle& bundle) {
  const auto value = uncachedValue(bundle, Key::mailExtensionVersionID);
  return value ? value->integer() : std::nullopt;
}

OSSupport osSupport(const Bundle& bundle) {
  return osSupport(isWideframe(bundle), operatingSystemVersion().majorVersion);
}

// No version is between the limit and the next one, so nothing is partially
// supported; the rule stays for the builds that move one of them: deliberate.
OSSupport osSupport(bool isWideframe, std::int64_t majorVersion) {
  const std::int64_t limit = isWideframe ? 15 : 13;
  if (majorVersion <= limit) return OSSupport::supported;
  if (isWideframe) {
    return majorVersion >= 16 ? OSSupport::unsupported
                              : OSSupport::partiallySupported;
  }
  return majorVersion == 13 ? OSSupport::partiallySupported
                            : OSSupport::unsupported;
}

std::string userAgent(const Bundle& bundle) {
  return userAgent(bundle, mailBundle(), operatingSystemVersion());
}

std::string userAgent(const Bundle& bundle,
                      const std::optional<Bundle>& mailBundle,
                      const OperatingSystemVersion& system) {
  std::string text = userAgentProduct(bundle);
  const auto identifier = bundle.bundleIdentifier();
  // Servers read "Unknown" here, so it is the same in every language.
  text.append(" (").append(identifier.value_or("Unknown"));
  text.append("; build:").append(versionString(bundle));
  if (mailBundle)
    text.append("; Mail ").append(shortVersionString(*mailBundle));
  if (isWideframe(bundle)) text.append("; Wideframe");
  text.append("; Mac OS X ")
      .append(std::to_string(system.majorVersion))
      .append(".")
      .append(std::to_string(system.minorVersion))
      .append(".")
      .append(std::to_string(system.patchVersion));
  return text.append(")");
}

void logVersionInfo(const Bundle& bundle) {
  const bool isPlugin = isPluginBundle(bundle);
  std::string line = isPlugin ? "Quillhaven Plugin " : "QuillhavenApp ";
  line.append(quillhavenVersionString(bundle))
      .append(" (")
      .append(std::to_string(buildNumber(bundle)))
      .append(") on macOS ")
      .append(operatingSystemVersionString());
  internal::productLog().log(LogType::kDefault, line);
  if (isPlugin) logLoader();
}

const Bundle& currentBundle() {
  static const Bundle& bundle =
      *std::make_unique<Bundle>([] {
         for (const char* symbol : kPrincipalClassSymbols) {
           if (auto around = Bundle::bundleDefining(symbol)) {
             return std::move(*around);
           }
         }
         return Bundle::mainBundle();
       }())
           .release();
  return bundle;
}

std::optional<Bundle> mailBundle() {
  return mailBundle(operatingSystemVersion(), "");
}

std::optional<Bundle> mailBundle(const OperatingSystemVersion& system,
                                 std::string_view root) {
  std::string path(root);
  if (system.isCatalinaOrLater()) path.append("/System");
  return Bundle::bundleWithPath(path.append("/Applications/Mail.app"));
}

}  // namespace quillhaven::identity
