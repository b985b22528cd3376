#include "quillhaven/platform/files/bundle.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include "quillhaven/platform/files/internal/loaded_libraries.h"

namespace quillhaven::platform {
namespace {

namespace fs = std::filesystem;

constexpr char kExecutableLink[] = "/proc/self/exe";
// What the system adds to the path of an executable that was unlinked.
constexpr std::string_view kDeletedMark = " (deleted)";

std::string absolutePath(std::string_view path) {
  std::error_code error;
  fs::path absolute = fs::absolute(fs::path(path), error);
  if (error) absolute = fs::path(path);
  std::string text = absolute.lexically_normal().string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

bool isContentsOf(const fs::path& contents, const fs::path& file) {
  if (contents.filename() != "Contents") return false;
  std::error_code ignored;
  return file.parent_path() == contents / "MacOS" ||
         fs::exists(contents / "Info.plist", ignored);
}

}  // namespace

struct Bundle::Contents {
  explicit Contents(std::string atPath) : path(std::move(atPath)) {}

  std::optional<PropertyList::Dictionary> readInformation() const {
    if (path.empty()) return std::nullopt;
    auto read = propertyListFromFile(
        std::string(path).append("/").append(kInfoPropertyListPath));
    if (!read || read->dictionary() == nullptr) return std::nullopt;
    return std::get<PropertyList::Dictionary>(std::move(read->value()));
  }

  const PropertyList::Dictionary& information() {
    std::call_once(once, [this] {
      if (auto read = readInformation()) kept = std::move(*read);
    });
    return kept;
  }

  const std::string path;
  std::once_flag once;
  PropertyList::Dictionary kept;  // written once, under `once`
};

Bundle::Bundle() : contents_(std::make_shared<Contents>("")) {}

Bundle::Bundle(std::string_view path)
    : contents_(std::make_shared<Contents>(path.empty() ? std::string()
                                                        : absolutePath(path))) {
}

std::optional<Bundle> Bundle::bundleWithPath(std::string_view path) {
  std::error_code ignored;
  if (!fs::is_directory(fs::path(path), ignored)) return std::nullopt;
  return Bundle(path);
}

std::optional<Bundle> Bundle::bundleContaining(const std::string& path) {
  std::error_code error;
  fs::path file = fs::canonical(path, error);
  if (error) file = absolutePath(path);
  for (fs::path folder = file.parent_path(); folder.has_relative_path();
       folder = folder.parent_path()) {
    if (isContentsOf(folder, file))
      return Bundle(folder.parent_path().string());
  }
  return std::nullopt;
}

std::string Bundle::executablePath() {
  std::error_code error;
  std::string path = fs::read_symlink(kExecutableLink, error).string();
  if (path.ends_with(kDeletedMark) && !fs::exists(path, error)) {
    path.resize(path.size() - kDeletedMark.size());
  }
  return path;
}

const Bundle& Bundle::mainBundle() {
  static const Bundle& bundle =
      *std::make_unique<Bundle>([] {
         const std::string executable = executablePath();
         if (executable.empty()) return Bundle();
         const auto around = bundleContaining(executable);
         return around ? *around
                       : Bundle(fs::path(executable).parent_path().string());
       }())
           .release();
  return bundle;
}

std::vector<Bundle> Bundle::loadedBundles() {
  std::vector<Bundle> bundles = {mainBundle()};
  for (const std::string& library : internal::loadedLibraryPaths()) {
    const auto around = bundleContaining(library);
    if (!around) continue;
    const bool isKnown =
        std::any_of(bundles.begin(), bundles.end(), [&](const Bundle& bundle) {
          return bundle.bundlePath() == around->bundlePath();
        });
    if (!isKnown) bundles.push_back(*around);
  }
  return bundles;
}

std::optional<Bundle> Bundle::loadedBundleWithIdentifier(
    std::string_view identifier) {
  for (Bundle& bundle : loadedBundles()) {
    if (bundle.bundleIdentifier() == identifier) return std::move(bundle);
  }
  return std::nullopt;
}

std::optional<Bundle> Bundle::bundleDefining(const char* symbol) {
  const auto object = internal::objectDefining(symbol);
  if (!object) return std::nullopt;
  return *object == kExecutableLink ? mainBundle() : bundleContaining(*object);
}

const std::string& Bundle::bundlePath() const { return contents_->path; }

std::optional<std::string_view> Bundle::bundleIdentifier() const {
  return infoString(kBundleIdentifierKey);
}

const PropertyList::Dictionary& Bundle::infoDictionary() const {
  return contents_->information();
}

std::optional<std::string_view> Bundle::infoString(std::string_view key) const {
  const auto& information = infoDictionary();
  const auto found = information.find(key);
  return found == information.end() ? std::nullopt : found->second.string();
}

std::optional<PropertyList::Dictionary> Bundle::readInfoDictionary() const {
  return contents_->readInformation();
}

}  // namespace quillhaven::platform
