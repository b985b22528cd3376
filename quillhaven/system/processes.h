// Answers questions about other processes without asking them: which run, where
// from, with which arguments and as whose children.
#ifndef QUILLHAVEN_SYSTEM_PROCESSES_H_
#define QUILLHAVEN_SYSTEM_PROCESSES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/process/process_table.h"

// Every call looks anew and keeps nothing. A process that ends meanwhile, or
// that may not be looked at, is not in a result; nothing is printed. All
// functions may be called from any thread.
namespace quillhaven::system {

// Returns the parent of a process, or -1 when there is no such process. The
// first process has the parent 0.
[[nodiscard]] std::int32_t GetParentProcessID(std::int32_t processIdentifier);

// Returns the records of all processes by ascending process ID, or nothing when
// the kernel refuses.
[[nodiscard]] std::optional<std::vector<platform::ProcessRecord>>
runningApplications();

// Returns the argument vector of a process as parseArgumentVector() reads it,
// "argv[0]" first; nothing when there is no such process, or it has none any
// more (a zombie) or never had (a thread of the kernel).
[[nodiscard]] std::optional<std::vector<std::string>> arguments(
    std::int32_t processIdentifier);

// The three below return process IDs in ascending order, none when there is no
// match or the process table cannot be read.

// Those whose "argv[0]" is exactly `path`.
[[nodiscard]] std::vector<std::int32_t> processIdentifiersForPath(
    std::string_view path);

// Those whose executable lies directly in the folder Contents/MacOS of a bundle
// of this name, extension included: "Mail.app" finds the process that was
// started as ".../Mail.app/Contents/MacOS/Mail" or with any other last name.
[[nodiscard]] std::vector<std::int32_t> processIdentifiersForBundleName(
    std::string_view bundleName);

// Those whose executable file has exactly this name, which the last component
// of "argv[0]" says. Of processes whose command name (the start of the file's
// name) does not fit the arguments are not read: one that renamed itself is not
// found.
[[nodiscard]] std::vector<std::int32_t> processIdentifiersForName(
    std::string_view name);

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_PROCESSES_H_
