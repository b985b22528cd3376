#include "quillhaven/platform/process/internal/desktop_command.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <string_view>
#include <utility>

#include "quillhaven/platform/run_loop/internal/glib_pointers.h"

namespace quillhaven::platform::internal {
namespace {

// What a terminal program is called by, whichever is installed.
constexpr const char* kTerminal = "x-terminal-emulator";

std::string textOf(GDesktopAppInfo* entry, const char* key) {
  const GStringPtr value(::g_desktop_app_info_get_string(entry, key));
  return value ? value.get() : "";
}

// What stands for a field code in an argument. There are no files to name.
std::string replacementFor(char code, GDesktopAppInfo* entry,
                           const std::string& path) {
  switch (code) {
    case '%':
      return "%";
    case 'c':
      return ::g_app_info_get_name(G_APP_INFO(entry));
    case 'k':
      return path;
    default:  // files, and codes that are no longer in use
      return "";
  }
}

void appendExpanded(std::string_view argument, GDesktopAppInfo* entry,
                    const std::string& path,
                    std::vector<std::string>& command) {
  if (argument == "%i") {
    const std::string icon = textOf(entry, G_KEY_FILE_DESKTOP_KEY_ICON);
    if (icon.empty()) return;
    command.emplace_back("--icon");
    command.push_back(icon);
    return;
  }
  std::string expanded;
  for (std::size_t i = 0; i < argument.size(); ++i) {
    if (argument[i] != '%') {
      expanded.push_back(argument[i]);
    } else if (++i < argument.size()) {
      expanded.append(replacementFor(argument[i], entry, path));
    }
  }
  const bool isOnlyACode = argument.size() == 2 && argument.front() == '%';
  if (!isOnlyACode || !expanded.empty()) command.push_back(std::move(expanded));
}

// Replaces the program by its path; false if there is none.
bool findProgram(std::string& program) {
  const GStringPtr path(::g_find_program_in_path(program.c_str()));
  if (path) program = path.get();
  return path != nullptr;
}

}  // namespace

std::optional<DesktopCommand> readDesktopCommand(const std::string& path) {
  // Null also when what "Exec" or "TryExec" names cannot be executed.
  const GObjectPtr<GDesktopAppInfo> entry(
      ::g_desktop_app_info_new_from_filename(path.c_str()));
  if (!entry || ::g_desktop_app_info_get_is_hidden(entry.get())) {
    return std::nullopt;
  }
  const char* const line =
      ::g_app_info_get_commandline(G_APP_INFO(entry.get()));
  GStringListPtr words;
  gint count = 0;
  if (line == nullptr ||
      !::g_shell_parse_argv(line, &count, Receive(words), nullptr)) {
    return std::nullopt;
  }
  DesktopCommand read;
  if (::g_desktop_app_info_get_boolean(entry.get(),
                                       G_KEY_FILE_DESKTOP_KEY_TERMINAL)) {
    read.command = {kTerminal, "-e"};
  }
  for (gint i = 0; i < count; ++i) {
    appendExpanded(words.get()[i], entry.get(), path, read.command);
  }
  if (read.command.empty() || !findProgram(read.command.front())) {
    return std::nullopt;
  }
  read.currentDirectory = textOf(entry.get(), G_KEY_FILE_DESKTOP_KEY_PATH);
  return read;
}

}  // namespace quillhaven::platform::internal
