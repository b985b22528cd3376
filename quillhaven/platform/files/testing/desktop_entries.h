// Entries of the desktop's "autostart" folder, for tests.
#ifndef QUILLHAVEN_PLATFORM_FILES_TESTING_DESKTOP_ENTRIES_H_
#define QUILLHAVEN_PLATFORM_FILES_TESTING_DESKTOP_ENTRIES_H_

#include <cstdlib>
#include <string>
#include <string_view>

#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform::testing {

// Returns an entry called `name` with these further lines.
inline std::string desktopEntry(std::string_view name,
                                std::string_view lines = {}) {
  std::string entry = "[Desktop Entry]\nType=Application\nName=";
  return entry.append(name).append("\n").append(lines);
}

// Makes an application with a program that writes its path and its arguments,
// each in a line, to the file "started" beside its bundle. Returns the path of
// the bundle.
inline std::string writeApplication(const TemporaryFolder& folder,
                                    const std::string& name,
                                    std::string_view identifier,
                                    const std::string& program = "Program") {
  const auto escaped = [](std::string_view text) {
    std::string xml;
    for (const char c : text) {
      c == '&'   ? xml.append("&amp;")
      : c == '<' ? xml.append("&lt;")
                 : xml.append(1, c);
    }
    return xml;
  };
  std::string information = "<plist><dict>";
  if (!identifier.empty()) {
    information.append("<key>CFBundleIdentifier</key><string>")
        .append(escaped(identifier))
        .append("</string>");
  }
  information.append("<key>CFBundleExecutable</key><string>")
      .append(escaped(program))
      .append("</string></dict></plist>");
  folder.write(name + "/Contents/Info.plist", information);
  const std::string script =
      folder.write(name + "/Contents/MacOS/" + program,
                   "#!/bin/sh\n"
                   "started=\"${0%/*}/../../../started\"\n"
                   "printf '%s\\n' \"$0\" \"$@\" >\"$started.part\"\n"
                   "mv \"$started.part\" \"$started\"\n");
  std::filesystem::permissions(script, std::filesystem::perms(0755));
  return folder.path(name);
}

// False when desktop-file-validate, where it is installed, finds a fault in the
// file.
inline bool isValidDesktopEntry(const std::string& path) {
  const std::string command =
      "command -v desktop-file-validate >/dev/null || exit 0; "
      "desktop-file-validate '" +
      path + "' >&2";
  return std::system(command.c_str()) == 0;
}

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_FILES_TESTING_DESKTOP_ENTRIES_H_
