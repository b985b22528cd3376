// How desktop entries (freedesktop.org) are started.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_DESKTOP_COMMAND_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_DESKTOP_COMMAND_H_

#include <optional>
#include <string>
#include <vector>

namespace quillhaven::platform::internal {

struct DesktopCommand {
  std::vector<std::string> command;  // an absolute path first, then arguments
  std::string currentDirectory;      // empty: none of its own
};

// Reads the entry at `path`, its field codes replaced as for a start without
// files. Nothing for one that is damaged, is no application, or whose program
// is missing or may not be executed.
[[nodiscard]] std::optional<DesktopCommand> readDesktopCommand(
    const std::string& path);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_DESKTOP_COMMAND_H_
