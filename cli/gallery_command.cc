// `quillhaven gallery`: runs the program that shows the user interface.
#include "cli/gallery_command.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "cli/command.h"
#include "cli/output.h"
#include "quillhaven/platform/files/bundle.h"

namespace quillhaven::cli {
namespace {

constexpr char kProgram[] = "quillhaven-gallery";

// Returns the program beside this one, as in a build folder, or else where it
// is installed; empty if it is in neither place.
std::string galleryProgram() {
  const std::filesystem::path folder =
      std::filesystem::path(platform::Bundle::executablePath()).parent_path();
  for (const std::filesystem::path& place :
       {folder, folder / ".." / QUILLHAVEN_LIBEXEC / "quillhaven"}) {
    const std::string path = place / kProgram;
    if (access(path.c_str(), X_OK) == 0) return path;
  }
  return {};
}

// Becomes the gallery; returns only when that fails.
int showGallery(const std::optional<std::string>& pictures) {
  std::string program = galleryProgram();
  if (program.empty()) {
    writeDiagnostics(
        diagnostic("the gallery (quillhaven-gallery) is not "
                   "installed"));
    return kFailed;
  }
  std::string folder = pictures.value_or("");
  const std::array<char*, 3> arguments = {
      program.data(), pictures ? folder.data() : nullptr, nullptr};
  std::signal(SIGPIPE, SIG_DFL);
  execv(program.c_str(), arguments.data());
  writeDiagnostics(
      diagnostic(program + ": " + std::generic_category().message(errno)));
  return kFailed;
}

}  // namespace

void addGalleryCommand(CommandLine& line) {
  Command command = line.addCommand(
      "gallery",
      "Show every view of the user interface in a window, with the Develop "
      "menu.");
  const auto pictures = std::make_shared<std::optional<std::string>>();
  command.option("--screenshot", "DIR", *pictures,
                 "write PNG files of all of it into this folder instead, "
                 "without a display");
  command.footer(
      std::string("The folder is made where it is missing. Each picture is "
                  "there in a light and a\ndark appearance (-dark) and at one "
                  "and two pixels a point (@2x).\n\n"
                  "Example:\n  quillhaven gallery --screenshot pictures\n\n") +
      kExitStatusHelp);
  command.does([pictures] { return showGallery(*pictures); },
               [pictures] {
                 if (*pictures && (*pictures)->empty()) {
                   throw UsageError("--screenshot needs a folder");
                 }
               });
}

}  // namespace quillhaven::cli
