// Bundles: folders that hold a program, a plug-in or a library together with
// its information property list, Contents/Info.plist.
#ifndef QUILLHAVEN_PLATFORM_FILES_BUNDLE_H_
#define QUILLHAVEN_PLATFORM_FILES_BUNDLE_H_

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::platform {

// Below the path of a bundle.
inline constexpr std::string_view kInfoPropertyListPath = "Contents/Info.plist";

// The key of a bundle's identifier in its information dictionary.
inline constexpr std::string_view kBundleIdentifierKey = "CFBundleIdentifier";

// One bundle. The information dictionary is read on first use and kept from
// then on; copies share it. Missing and damaged dictionaries are empty.
// Thread-safe.
class Bundle {
 public:
  // A bundle without a path, identifier or information.
  Bundle();

  // The bundle at `path`, whatever is there; a relative path counts from the
  // current folder.
  explicit Bundle(std::string_view path);

  // The bundle at `path`, or nothing if no folder is there.
  [[nodiscard]] static std::optional<Bundle> bundleWithPath(
      std::string_view path);

  // The bundle around the file at `path`: the parent of the nearest folder
  // "Contents" above it that holds an information property list or, in its
  // folder "MacOS", the file. Nothing if there is none. Links are resolved.
  [[nodiscard]] static std::optional<Bundle> bundleContaining(
      const std::string& path);

  // The bundle around the executable of the process; outside of any, the folder
  // of the executable, which has no identifier. Determined once.
  [[nodiscard]] static const Bundle& mainBundle();

  // The bundles of the process: the main one, then those around the libraries
  // that are loaded now, in the order of loading, each once.
  [[nodiscard]] static std::vector<Bundle> loadedBundles();

  // The one of loadedBundles() with this identifier.
  [[nodiscard]] static std::optional<Bundle> loadedBundleWithIdentifier(
      std::string_view identifier);

  // The bundle around the library or executable that defines `symbol`, among
  // all that are loaded now, whether other libraries may use its symbols or
  // not. Nothing if none does, or if that lies in no bundle.
  [[nodiscard]] static std::optional<Bundle> bundleDefining(const char* symbol);

  // The path of the executable of the process, with links resolved; empty where
  // the system does not tell.
  [[nodiscard]] static std::string executablePath();

  // Absolute, without a slash at its end; empty for a bundle without a path.
  [[nodiscard]] const std::string& bundlePath() const;

  // The string under kBundleIdentifierKey, valid as long as a copy of the
  // bundle lives.
  [[nodiscard]] std::optional<std::string_view> bundleIdentifier() const;

  [[nodiscard]] const PropertyList::Dictionary& infoDictionary() const;

  // The string under `key` in that dictionary, valid as long as a copy lives.
  [[nodiscard]] std::optional<std::string_view> infoString(
      std::string_view key) const;

  // Reads the information property list from the disk and leaves what is kept
  // as it is. Nothing if it cannot be read as a dictionary.
  [[nodiscard]] std::optional<PropertyList::Dictionary> readInfoDictionary()
      const;

 private:
  struct Contents;

  std::shared_ptr<Contents> contents_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_BUNDLE_H_
