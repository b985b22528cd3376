#include "quillhaven/platform/base/paths.h"

#include <cstddef>

namespace quillhaven::platform {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Appends `path` to `tidy`, slashes in a row as one.
void appendTidily(std::string& tidy, std::string_view path) {
  for (const char c : path) {
    if (c != '/' || !tidy.ends_with('/')) tidy += c;
  }
}

void removeTrailingSlash(std::string& tidy) {
  if (tidy.size() > 1 && tidy.ends_with('/')) tidy.pop_back();
}

// The path without slashes in a row or at its end, "/" aside.
std::string tidied(std::string_view path) {
  std::string tidy;
  tidy.reserve(path.size());
  appendTidily(tidy, path);
  removeTrailingSlash(tidy);
  return tidy;
}

std::size_t startOfLastName(std::string_view tidyPath) {
  return tidyPath == "/" ? 0 : tidyPath.rfind('/') + 1;  // npos + 1 is 0
}

// Returns the position of the period before the extension, or kNone.
std::size_t periodOfExtension(std::string_view tidyPath) {
  const std::size_t period = tidyPath.rfind('.');
  if (period == kNone || period <= startOfLastName(tidyPath)) return kNone;
  return period + 1 == tidyPath.size() ? kNone : period;
}

}  // namespace

std::string lastPathComponent(std::string_view path) {
  std::string tidy = tidied(path);
  return tidy.erase(0, startOfLastName(tidy));
}

std::string pathExtension(std::string_view path) {
  const std::string tidy = tidied(path);
  const std::size_t period = periodOfExtension(tidy);
  return period == kNone ? std::string() : tidy.substr(period + 1);
}

std::string deletingPathExtension(std::string_view path) {
  std::string tidy = tidied(path);
  const std::size_t period = periodOfExtension(tidy);
  if (period != kNone) tidy.resize(period);
  return tidy;
}

std::string deletingLastPathComponent(std::string_view path) {
  std::string tidy = tidied(path);
  if (tidy == "/") return tidy;
  tidy.resize(startOfLastName(tidy));
  removeTrailingSlash(tidy);
  return tidy;
}

std::string appendingPathComponent(std::string_view path,
                                   std::string_view component) {
  std::string tidy;
  tidy.reserve(path.size() + component.size() + 1);
  appendTidily(tidy, path);
  if (!tidy.empty() && !component.empty()) appendTidily(tidy, "/");
  appendTidily(tidy, component);
  removeTrailingSlash(tidy);
  return tidy;
}

std::vector<std::string> pathComponents(std::string_view path) {
  std::vector<std::string> components;
  if (path.starts_with('/')) components.emplace_back("/");
  for (std::size_t start = path.find_first_not_of('/'); start != kNone;) {
    const std::size_t end = path.find('/', start);
    components.emplace_back(path.substr(start, end - start));
    if (end == kNone) break;
    start = path.find_first_not_of('/', end);
    if (start == kNone) components.emplace_back("/");
  }
  return components;
}

std::string path(std::span<const std::string_view> withComponents) {
  std::string joined;
  for (const std::string_view component : withComponents) {
    if (!joined.empty()) appendTidily(joined, "/");
    appendTidily(joined, component);
  }
  return joined;
}

}  // namespace quillhaven::platform
