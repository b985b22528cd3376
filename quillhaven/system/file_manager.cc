#include "quillhaven/system/file_manager.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>

#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/base/paths.h"
#include "quillhaven/platform/files/folders.h"

namespace quillhaven::system {
namespace {

constexpr std::string_view kScheme = "file:";

std::optional<std::string> urlOfFolder(const std::string& path) {
  if (path.empty()) return std::nullopt;
  return platform::fileURLFromPath(path);
}

// True when a file can be seen there; links are followed.
bool isSomethingAt(const std::string& path) {
  // The call would take the text up to the NUL for the path.
  if (path.find('\0') != std::string::npos) return false;
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

// Where the path of a "file" URL begins.
std::size_t startOfPath(std::string_view url) {
  const bool hasHost = url.substr(kScheme.size()).starts_with("//");
  return hasHost ? url.find('/', kScheme.size() + 2) : kScheme.size();
}

// Where a number goes into a "file" URL: before the first period of the last
// name, at its end if it has none.
std::size_t positionOfNumber(std::string_view url) {
  const std::size_t start = startOfPath(url) + 1;
  std::size_t end = std::min(url.size(), url.find_first_of("?#"));
  while (end > start && url[end - 1] == '/') --end;
  std::size_t at = url.rfind('/', end - 1) + 1;
  for (; at < end; ++at) {
    const std::string_view rest = url.substr(at);
    if (rest.starts_with('.') || rest.starts_with("%2E") ||
        rest.starts_with("%2e")) {
      break;
    }
  }
  return at;
}

bool isSomethingAtURL(std::string_view url) {
  auto path = platform::pathFromFileURL(url);
  if (!path) return false;
  while (path->size() > 1 && path->ends_with('/')) path->pop_back();
  return isSomethingAt(*path);
}

}  // namespace

std::optional<std::string> documentDirectoryURL() {
  return urlOfFolder(platform::documentsFolder());
}

std::optional<std::string> applicationSupportDirectoryURL() {
  return urlOfFolder(platform::dataFolder());
}

std::string supportFilesDirectoryURL(std::string_view forBundleIdentifier,
                                     bool create) {
  const std::string support = platform::dataFolder();
  if (support.empty()) {
    throw FileManagerError::applicationSupportDirectoryMissing();
  }
  const std::string path =
      platform::appendingPathComponent(support, forBundleIdentifier);
  if (create && !isSomethingAt(path)) {
    if (const int error = platform::makeFolder(path)) {
      throw FileOperationError(FileOperationError::Operation::createFolder,
                               path,
                               std::error_code(error, std::generic_category()));
    }
  }
  return platform::fileURLFromPath(path);
}

std::optional<std::string> supportFilesDirectoryURL(
    std::string_view forBundleIdentifier, bool create,
    platform::ErrorSlot* error) {
  try {
    return supportFilesDirectoryURL(forBundleIdentifier, create);
  } catch (const FileManagerError& thrown) {
    static_cast<void>(platform::failWith(error, thrown));
  } catch (const FileOperationError& thrown) {
    static_cast<void>(platform::failWith(error, thrown));
  }
  return std::nullopt;
}

std::string nextAvailablePath(std::string_view path) {
  std::string candidate(path);
  if (!isSomethingAt(candidate)) return candidate;
  const std::string rest = platform::deletingPathExtension(path);
  const std::string extension = platform::pathExtension(path);
  for (long number = 1;; ++number) {
    candidate = rest;
    candidate.append("-")
        .append(std::to_string(number))
        .append(".")
        .append(extension);
    if (!isSomethingAt(candidate)) return candidate;
  }
}

std::string urlByAppendingNumberSuffixIfNeeded(std::string_view url) {
  std::string candidate(url);
  if (!isSomethingAtURL(candidate)) return candidate;
  const std::size_t position = positionOfNumber(url);
  for (long number = 2;; ++number) {
    candidate = url;
    candidate.insert(position, "%20" + std::to_string(number));
    if (!isSomethingAtURL(candidate)) return candidate;
  }
}

std::string homeDirectoryOutsideSandbox() {
  return platform::accountHomeFolder().value_or("/");
}

void setAttributes(const platform::FileAttributes& attributes,
                   const std::string& ofItemAtPath, bool recursively) {
  try {
    if (recursively) {
      platform::setFileAttributesRecursively(attributes, ofItemAtPath);
    } else {
      platform::setFileAttributes(attributes, ofItemAtPath);
    }
  } catch (const std::filesystem::filesystem_error& error) {
    throw FileOperationError(FileOperationError::Operation::setAttributes,
                             error.path1().string(), error.code());
  }
}

}  // namespace quillhaven::system
