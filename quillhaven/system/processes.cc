#include "quillhaven/system/processes.h"

#include "quillhaven/system/internal/process_matching.h"

namespace quillhaven::system {

using platform::ProcessTable;

std::int32_t GetParentProcessID(std::int32_t processIdentifier) {
  return internal::parentProcessID(ProcessTable(), processIdentifier);
}

std::optional<std::vector<platform::ProcessRecord>> runningApplications() {
  return ProcessTable().records();
}

std::optional<std::vector<std::string>> arguments(
    std::int32_t processIdentifier) {
  return internal::argumentsOf(ProcessTable(), processIdentifier);
}

std::vector<std::int32_t> processIdentifiersForPath(std::string_view path) {
  return internal::identifiersForPath(ProcessTable(), path);
}

std::vector<std::int32_t> processIdentifiersForBundleName(
    std::string_view bundleName) {
  return internal::identifiersForBundleName(ProcessTable(), bundleName);
}

std::vector<std::int32_t> processIdentifiersForName(std::string_view name) {
  return internal::identifiersForName(ProcessTable(), name);
}

}  // namespace quillhaven::system
