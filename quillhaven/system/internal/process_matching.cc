#include "quillhaven/system/internal/process_matching.h"

#include <algorithm>

#include "quillhaven/platform/text/utf8.h"
#include "quillhaven/system/argument_vector.h"

namespace quillhaven::system::internal {
namespace {

using platform::ProcessRecord;
using platform::ProcessTable;

std::optional<std::vector<std::string>> readArguments(
    const ProcessTable& table, std::int32_t processIdentifier) {
  const auto buffer = table.argumentBuffer(processIdentifier);
  if (!buffer) return std::nullopt;
  return parseArgumentVector(*buffer);
}

// Returns the processes whose record passes `fits`, and whose argument vector
// has a first element that passes `isWanted`. The vector is read only then.
template <typename Fits, typename IsWanted>
std::vector<std::int32_t> matching(const ProcessTable& table, const Fits& fits,
                                   const IsWanted& isWanted) {
  std::vector<std::int32_t> identifiers;
  const auto records = table.records();
  if (!records) return identifiers;
  for (const ProcessRecord& record : *records) {
    if (!fits(record)) continue;
    const auto arguments = readArguments(table, record.processIdentifier);
    if (arguments && !arguments->empty() && isWanted(arguments->front())) {
      identifiers.push_back(record.processIdentifier);
    }
  }
  return identifiers;
}

constexpr auto kEvery = [](const ProcessRecord&) { return true; };

// Removes and returns what follows the last slash of `path`; the slash goes as
// well. Of a path without one, everything.
std::string_view takeLastComponent(std::string_view& path) {
  const std::size_t slash = path.rfind('/');
  const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
  const std::string_view component = path.substr(start);
  path = path.substr(0, start == 0 ? 0 : slash);
  return component;
}

// True when the last components of `path` are `bundleName`, "Contents", "MacOS"
// and any name.
bool isInBundle(std::string_view path, std::string_view bundleName) {
  if (std::count(path.begin(), path.end(), '/') < 3) return false;
  takeLastComponent(path);
  if (takeLastComponent(path) != "MacOS") return false;
  if (takeLastComponent(path) != "Contents") return false;
  return takeLastComponent(path) == bundleName;
}

// The name of a file as the platform's path operations give it: slashes at the
// end do not count, unless there is nothing else.
std::string_view fileName(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path == "/" ? path : takeLastComponent(path);
}

}  // namespace

std::int32_t parentProcessID(const ProcessTable& table,
                             std::int32_t processIdentifier) {
  const auto record = table.record(processIdentifier);
  return record ? record->parentProcessIdentifier : -1;
}

std::optional<std::vector<std::string>> argumentsOf(
    const ProcessTable& table, std::int32_t processIdentifier) {
  if (!table.mayBeProcess(processIdentifier)) return std::nullopt;
  return readArguments(table, processIdentifier);
}

// What callers hand over becomes text as arguments do, so that a name that is
// no UTF-8 is still found.
std::vector<std::int32_t> identifiersForPath(const ProcessTable& table,
                                             std::string_view path) {
  const std::string wanted = platform::repairedUTF8(path);
  return matching(table, kEvery,
                  [&](std::string_view first) { return first == wanted; });
}

std::vector<std::int32_t> identifiersForBundleName(
    const ProcessTable& table, std::string_view bundleName) {
  const std::string wanted = platform::repairedUTF8(bundleName);
  return matching(table, kEvery, [&](std::string_view first) {
    return isInBundle(first, wanted);
  });
}

std::vector<std::int32_t> identifiersForName(const ProcessTable& table,
                                             std::string_view name) {
  const std::string wanted = platform::repairedUTF8(name);
  // The kernel cuts command names anywhere, so bytes are compared.
  const auto fits = [&](const ProcessRecord& record) {
    return name.starts_with(record.commandName);
  };
  return matching(table, fits, [&](std::string_view first) {
    return fileName(first) == wanted;
  });
}

}  // namespace quillhaven::system::internal
