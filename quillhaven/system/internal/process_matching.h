// The questions of processes.h, put to any process table.
#ifndef QUILLHAVEN_SYSTEM_INTERNAL_PROCESS_MATCHING_H_
#define QUILLHAVEN_SYSTEM_INTERNAL_PROCESS_MATCHING_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/process/process_table.h"

namespace quillhaven::system::internal {

[[nodiscard]] std::int32_t parentProcessID(const platform::ProcessTable& table,
                                           std::int32_t processIdentifier);
[[nodiscard]] std::optional<std::vector<std::string>> argumentsOf(
    const platform::ProcessTable& table, std::int32_t processIdentifier);
[[nodiscard]] std::vector<std::int32_t> identifiersForPath(
    const platform::ProcessTable& table, std::string_view path);
[[nodiscard]] std::vector<std::int32_t> identifiersForBundleName(
    const platform::ProcessTable& table, std::string_view bundleName);
[[nodiscard]] std::vector<std::int32_t> identifiersForName(
    const platform::ProcessTable& table, std::string_view name);

}  // namespace quillhaven::system::internal

#endif  // QUILLHAVEN_SYSTEM_INTERNAL_PROCESS_MATCHING_H_
