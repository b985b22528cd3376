#include "cli/file_commands.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/output.h"
#include "quillhaven/platform/files/bundle.h"
#include "quillhaven/platform/files/login_items.h"
#include "quillhaven/system/file_manager.h"
#include "quillhaven/system/launch_on_startup.h"

namespace quillhaven::cli {
namespace {

using platform::Bundle;
using platform::LoginItem;
using platform::LoginItemList;

int showNextPath(const std::string& path) {
  Output output(STDOUT_FILENO);
  std::string text = system::nextAvailablePath(path) + "\n";
  if (output.isTerminal()) text = replacingTerminalControls(text);
  output.append(text);
  return finish(output, kDone);
}

bool isRegistered(const Bundle& bundle) {
  const auto list = LoginItemList::open();
  if (!list) return false;
  const auto items = list->items();
  return std::any_of(items.begin(), items.end(), [&](const LoginItem& item) {
    return item.isEnabled() && item.resolve().path == bundle.bundlePath();
  });
}

int setLoginItem(const std::string& path, bool isEnabled) {
  const auto bundle = Bundle::bundleWithPath(path);
  if (!bundle) {
    writeDiagnostics(diagnostic(path, "no folder is there"));
    return kFailed;
  }
  system::QHSetLaunchOnStartup(isEnabled, *bundle);
  // The operation itself reports nothing.
  if (isRegistered(*bundle) == isEnabled) return kDone;
  std::string reason =
      isEnabled ? "could not be added" : "could not be removed";
  if (!isEnabled && !bundle->bundleIdentifier()) {
    reason += "; it has no identifier to be recognised by";
  }
  writeDiagnostics(diagnostic(path, reason));
  return kFailed;
}

}  // namespace

void addNextPathCommand(CommandLine& line) {
  Command command =
      line.addCommand("next-path",
                      "Print a path where nothing is yet: PATH itself, or the "
                      "first free one of "
                      "those with\n-1, -2 ... before the extension.");
  const auto path = std::make_shared<std::string>();
  command.argument("PATH", *path, "where a file is to be saved").required();
  command.takesPaths();
  command.footer(
      std::string("Somebody else may take the path before you do.\n\n"
                  "Example:\n"
                  "  cp -n report.pdf \"$(quillhaven next-path "
                  "~/Documents/report.pdf)\"\n\n") +
      kExitStatusHelp);
  command.does([path] { return showNextPath(*path); });
}

void addLoginItemCommand(CommandLine& line) {
  struct Options {
    std::string action;
    std::string bundle;
  };
  Command command = line.addCommand(
      "login-item",
      "Start an application, hidden, when the user logs in, or no longer.");
  const auto options = std::make_shared<Options>();
  command
      .argument("ACTION", options->action,
                "enable: add it, and remove other copies and stale entries of "
                "the product;\ndisable: remove it and all its copies")
      .required()
      .oneOf({"enable", "disable"});
  command.argument("BUNDLE", options->bundle, "folder of the application")
      .required();
  command.takesPaths();
  command.footer(
      "Entries are kept in ~/.config/autostart; those of other applications "
      "stay.\n\n"
      "Example:\n"
      "  quillhaven login-item enable ~/Applications/Quillhaven.app\n\n"
      "Exit status: 0 done, 1 there is no such folder or the entries cannot be "
      "changed,\n2 wrong usage.");
  command.does([options] {
    return setLoginItem(options->bundle, options->action == "enable");
  });
}

}  // namespace quillhaven::cli
