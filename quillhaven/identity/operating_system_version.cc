#include "quillhaven/identity/operating_system_version.h"

#include <sys/utsname.h>

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <system_error>

namespace quillhaven::identity {
namespace {

constexpr char kVariable[] = "QUILLHAVEN_OS_VERSION";
constexpr std::string_view kVersionKey = "VERSION_ID=";

std::mutex& versionLock() {
  static std::mutex lock;
  return lock;
}

// Guarded by versionLock().
std::optional<OperatingSystemVersion>& hostVersion() {
  static std::optional<OperatingSystemVersion> version;
  return version;
}

// The value may stand in quotes.
std::optional<OperatingSystemVersion> versionInRelease(const char* path) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    std::string_view value = line;
    if (!value.starts_with(kVersionKey)) continue;
    value.remove_prefix(kVersionKey.size());
    if (value.starts_with('"') || value.starts_with('\'')) {
      value.remove_prefix(1);
    }
    return operatingSystemVersionFromText(value);
  }
  return std::nullopt;
}

OperatingSystemVersion defaultVersion() {
  if (const char* const named = std::getenv(kVariable)) {
    if (const auto version = operatingSystemVersionFromText(named)) {
      return *version;
    }
  }
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    if (const auto version = versionInRelease(path)) return *version;
  }
  return {};
}

}  // namespace

std::optional<OperatingSystemVersion> operatingSystemVersionFromText(
    std::string_view text) {
  OperatingSystemVersion version;
  const char* at = text.data();
  const char* const end = at + text.size();
  bool isFirst = true;
  for (std::int64_t* part :
       {&version.majorVersion, &version.minorVersion, &version.patchVersion}) {
    if (at == end || *at == '-') break;
    const auto read = std::from_chars(at, end, *part);
    if (read.ec != std::errc()) break;
    isFirst = false;
    at = read.ptr;
    if (at == end || *at != '.') break;
    ++at;
  }
  if (isFirst) return std::nullopt;
  return version;
}

void setOperatingSystemVersion(std::optional<OperatingSystemVersion> version) {
  const std::lock_guard guard(versionLock());
  hostVersion() = version;
}

OperatingSystemVersion operatingSystemVersion() {
  {
    const std::lock_guard guard(versionLock());
    if (hostVersion()) return *hostVersion();
  }
  static const OperatingSystemVersion version = defaultVersion();
  return version;
}

std::string operatingSystemVersionString() {
  const OperatingSystemVersion version = operatingSystemVersion();
  std::string text = "Version " + std::to_string(version.majorVersion) + "." +
                     std::to_string(version.minorVersion);
  if (version.patchVersion != 0) {
    text.append(".").append(std::to_string(version.patchVersion));
  }
  utsname system{};
  if (::uname(&system) == 0) {
    text.append(" (Build ").append(system.release).append(")");
  }
  return text;
}

}  // namespace quillhaven::identity
