// What the product knows of its bundles: which component one is, which build,
// made for which channel, and which systems it supports.
#ifndef QUILLHAVEN_IDENTITY_BUNDLE_INFO_H_
#define QUILLHAVEN_IDENTITY_BUNDLE_INFO_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/identity/operating_system_version.h"
#include "quillhaven/platform/files/bundle.h"

namespace quillhaven::identity {

// NOLINTBEGIN(readability-identifier-naming): names that the product fixes
inline constexpr std::string_view mailBundleIdentifier = "com.apple.mail";
inline constexpr std::string_view pluginBundleIdentifier =
    "com.quillhaven.mailplugin";
inline constexpr std::string_view loaderBundleIdentifier =
    "com.quillhaven.mailpluginloader";
inline constexpr std::string_view undoSendPluginBundleIdentifier =
    "com.quillhaven.undosendplugin";
inline constexpr std::string_view applicationBundleIdentifier =
    "com.quillhaven.app";
inline constexpr std::string_view agentBundleIdentifier =
    "com.quillhaven.agent";
inline constexpr std::string_view extensionBundleIdentifier =
    "com.quillhaven.app.mailextension";
inline constexpr std::string_view smtpRelayBundleIdentifier =
    "com.quillhaven.smtprelay";
inline constexpr std::string_view legacyApplicationBundleIdentifier =
    "com.loamfield.QuillHaven";
inline constexpr std::string_view testBundleIdentifier =
    "com.quillhaven.QuillhavenTests";
inline constexpr std::string_view quillhavenUtilitiesBundleIdentifier =
    "com.quillhaven.QuillhavenUtilities";

// Keys of information property lists.
struct Key {
  static constexpr std::string_view bundleName = "CFBundleName";
  static constexpr std::string_view bundleDisplayName = "CFBundleDisplayName";
  static constexpr std::string_view bundleShortVersionString =
      "CFBundleShortVersionString";
  static constexpr std::string_view bundleVersion = "CFBundleVersion";
  static constexpr std::string_view loaderPluginSignature =
      "LoaderPluginSignature";
  static constexpr std::string_view quillhavenVersionString =
      "QuillhavenVersion";
  static constexpr std::string_view quillhavenEnvironment =
      "QuillhavenEnvironment";
  static constexpr std::string_view macAppStore = "MacAppStore";
  static constexpr std::string_view wideframe = "Wideframe";
  static constexpr std::string_view mailExtensionVersionID =
      "QHExtensionVersionID";
};
// NOLINTEND(readability-identifier-naming)

// The distribution channel that a bundle was built for.
enum class Environment { debug, alpha, beta, release };

// Returns "Debug", "Alpha", "Beta" or "Release".
[[nodiscard]] std::string_view rawValue(Environment environment);

enum class OSSupport { supported, partiallySupported, unsupported };

// Everything below is thread-safe. Missing keys, and values of another type
// than expected, never fail: each operation says what it returns for them.

// True when the identifier of the bundle, in lower case, is that of the Mail
// application, the plug-in, the application or the loader plug-in.
[[nodiscard]] bool isMailBundle(const platform::Bundle& bundle);
[[nodiscard]] bool isPluginBundle(const platform::Bundle& bundle);
[[nodiscard]] bool isAppBundle(const platform::Bundle& bundle);
[[nodiscard]] bool isLoaderBundle(const platform::Bundle& bundle);

// True when the identifier is exactly that of the application's predecessor.
[[nodiscard]] bool isLegacyQuillhaven(const platform::Bundle& bundle);

// Returns the environment that the bundle names in exactly one of the four
// spellings, or nothing.
[[nodiscard]] std::optional<Environment> environment(
    const platform::Bundle& bundle);

// Returns the display name, else the bundle name, else the last component of
// the path without its extension. A bundle without a path that gets to the last
// is a fatal error.
[[nodiscard]] std::string name(const platform::Bundle& bundle);

// Each returns "Unknown" in the user's language when its key is missing.
[[nodiscard]] std::string shortVersionString(const platform::Bundle& bundle);
[[nodiscard]] std::string versionString(const platform::Bundle& bundle);

// Returns the product's own version, else shortVersionString().
[[nodiscard]] std::string quillhavenVersionString(
    const platform::Bundle& bundle);

// Returns both: "7.2 (1234)".
[[nodiscard]] std::string longVersionString(const platform::Bundle& bundle);

// Returns versionString() as a number, -1 if it is none: a sign, then decimal
// digits, within 64 bits.
[[nodiscard]] std::int64_t buildNumber(const platform::Bundle& bundle);
[[nodiscard]] std::int64_t buildNumber(std::string_view versionString);

// Reads the information property list from the disk on each call, so that a
// build installed meanwhile is seen. Nothing if it cannot be read as a
// dictionary. A bundle without a path is a fatal error, here and in the next
// four.
[[nodiscard]] std::optional<platform::PropertyList::Dictionary>
uncachedInfoDictionary(const platform::Bundle& bundle);

// Flags of that dictionary: false, or nothing, unless it holds a boolean, or an
// integer, under the key.
[[nodiscard]] bool isMacAppStoreVersion(const platform::Bundle& bundle);
[[nodiscard]] bool isWideframe(const platform::Bundle& bundle);
[[nodiscard]] std::optional<std::int64_t> mailExtensionVersionID(
    const platform::Bundle& bundle);

// Returns how well the build gets on with the running system. The second form
// is the rule, for a system's major version.
[[nodiscard]] OSSupport osSupport(const platform::Bundle& bundle);
[[nodiscard]] OSSupport osSupport(bool isWideframe, std::int64_t majorVersion);

// Returns how the bundle names itself to servers, such as
//   QuillhavenPlugin/7.2 (com.quillhaven.mailplugin; build:1234; Mail 16.0; Mac
//   OS X 14.5.0)
// in one line. The second form names another Mail application, if any, and
// another system than those of this machine.
[[nodiscard]] std::string userAgent(const platform::Bundle& bundle);
[[nodiscard]] std::string userAgent(
    const platform::Bundle& bundle,
    const std::optional<platform::Bundle>& mailBundle,
    const OperatingSystemVersion& system);

// Writes to the log which build runs on which system and, for the plug-in, who
// loaded it.
void logVersionInfo(const platform::Bundle& bundle);

// Removes the mark of downloaded files from the bundle and everything inside.
// Returns false as soon as one cannot be removed and leaves the rest as it is;
// true also when nothing is there. Links inside are not descended into, but the
// mark of the file that one leads to is removed.
[[nodiscard]] bool dequarantine(const platform::Bundle& bundle);

// Returns the bundle of the running component: the one around the plug-in's
// principal class LFMailBundle if that is loaded, else the main bundle.
// Determined on first use and kept. The class is found as a symbol of that name
// with C linkage, or as a C++ class of that name, outside any namespace, that
// has virtual functions; the library must export it.
[[nodiscard]] const platform::Bundle& currentBundle();

// Returns the bundle of the system's Mail application, or nothing if it is not
// there: in /Applications before 10.15, in /System/Applications from then on.
// The second form is for another system, whose folders lie below `root`.
[[nodiscard]] std::optional<platform::Bundle> mailBundle();
[[nodiscard]] std::optional<platform::Bundle> mailBundle(
    const OperatingSystemVersion& system, std::string_view root);

}  // namespace quillhaven::identity

#endif  // QUILLHAVEN_IDENTITY_BUNDLE_INFO_H_
