// What an application is made of: app bundles and desktop entries.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_APPLICATION_LOCATION_H_
#define QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_APPLICATION_LOCATION_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/process/process_table.h"

namespace quillhaven::platform::internal {

// Which application: a bundle or a desktop entry.
struct ApplicationLocation {
  std::string path;  // absolute
  std::optional<std::string> identifier;
};

// How it is started.
struct LaunchPlan {
  ApplicationLocation location;
  std::string executable;
  std::vector<std::string> arguments;
  std::string currentDirectory;
  std::map<std::string, std::string, std::less<>> environment;  // in addition
};

// Reads how to start the bundle or desktop entry at `path`, with `arguments`
// after its own. Throws ApplicationLaunchError.
[[nodiscard]] LaunchPlan launchPlanFor(
    const std::string& path, const std::vector<std::string>& arguments);

// Returns the path with its links resolved, so that two can be compared.
[[nodiscard]] std::string comparablePath(const std::string& path);

// Tells which application a process is. Keeps the identifiers of the bundles it
// has seen. One thread at a time.
class ApplicationFinder {
 public:
  // Nothing for a process that is none, is gone or belongs to another user.
  [[nodiscard]] std::optional<ApplicationLocation> locationOf(
      std::int32_t processIdentifier);

  [[nodiscard]] const ProcessTable& table() const { return table_; }

 private:
  [[nodiscard]] std::optional<ApplicationLocation> bundleAround(
      const std::string& executable);
  [[nodiscard]] std::optional<ApplicationLocation> bundleOf(
      std::int32_t processIdentifier);
  [[nodiscard]] std::optional<ApplicationLocation> desktopEntryOf(
      std::int32_t processIdentifier) const;

  const ProcessTable table_;
  std::map<std::string, ApplicationLocation> bundles_;  // by executable
};

// Returns the path of the desktop entry "IDENTIFIER.desktop" among the
// installed ones, or nothing.
[[nodiscard]] std::optional<std::string> desktopEntryWithIdentifier(
    std::string_view identifier);

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_PROCESS_INTERNAL_APPLICATION_LOCATION_H_
