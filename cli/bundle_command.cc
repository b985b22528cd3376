// `quillhaven bundle`: shows what the library knows of a bundle.
#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "cli/command.h"
#include "cli/identity_commands.h"
#include "cli/json_writer.h"
#include "cli/output.h"
#include "quillhaven/identity/bundle_info.h"

namespace quillhaven::cli {
namespace {

using platform::Bundle;

// One property of a bundle; an absent value is of no other type.
using Value = std::variant<std::monostate, bool, std::int64_t, std::string>;
using Properties = std::vector<std::pair<std::string_view, Value>>;

template <typename Text>
Value textOrNone(const std::optional<Text>& text) {
  return text ? Value(std::string(*text)) : Value();
}

std::string_view supportOf(const Bundle& bundle) {
  switch (identity::osSupport(bundle)) {
    case identity::OSSupport::supported:
      return "supported";
    case identity::OSSupport::partiallySupported:
      return "partiallySupported";
    case identity::OSSupport::unsupported:
      break;
  }
  return "unsupported";
}

std::optional<std::string_view> environmentOf(const Bundle& bundle) {
  const auto environment = identity::environment(bundle);
  if (!environment) return std::nullopt;
  return identity::rawValue(*environment);
}

Properties propertiesOf(const Bundle& bundle) {
  using namespace identity;
  const auto versionID = mailExtensionVersionID(bundle);
  return {
      {"path", bundle.bundlePath()},
      {"identifier", textOrNone(bundle.bundleIdentifier())},
      {"name", identity::name(bundle)},
      {"environment", textOrNone(environmentOf(bundle))},
      {"shortVersionString", shortVersionString(bundle)},
      {"quillhavenVersionString", quillhavenVersionString(bundle)},
      {"versionString", versionString(bundle)},
      {"longVersionString", longVersionString(bundle)},
      {"buildNumber", identity::buildNumber(bundle)},
      {"isMailBundle", isMailBundle(bundle)},
      {"isPluginBundle", isPluginBundle(bundle)},
      {"isAppBundle", isAppBundle(bundle)},
      {"isLoaderBundle", isLoaderBundle(bundle)},
      {"isLegacyQuillhaven", isLegacyQuillhaven(bundle)},
      {"isMacAppStoreVersion", isMacAppStoreVersion(bundle)},
      {"isWideframe", isWideframe(bundle)},
      {"mailExtensionVersionID", versionID ? Value(*versionID) : Value()},
      {"osSupport", std::string(supportOf(bundle))},
      {"userAgent", userAgent(bundle)},
  };
}

std::string jsonOf(const Properties& properties) {
  std::string text;
  JsonWriter json(text, JsonWriter::Layout::kIndented);
  json.beginObject();
  for (const auto& [name, value] : properties) {
    json.key(name);
    if (const auto* truth = std::get_if<bool>(&value)) {
      json.value(*truth);
    } else if (const auto* number = std::get_if<std::int64_t>(&value)) {
      json.value(*number);
    } else if (const auto* string = std::get_if<std::string>(&value)) {
      json.value(*string);
    } else {
      json.null();
    }
  }
  json.endObject();
  return text + "\n";
}

// A property a line; those without a value are left out.
std::string linesOf(const Properties& properties) {
  std::string text;
  for (const auto& [name, value] : properties) {
    if (std::holds_alternative<std::monostate>(value)) continue;
    text.append(name).append(": ");
    if (const auto* truth = std::get_if<bool>(&value)) {
      text.append(*truth ? "true" : "false");
    } else if (const auto* number = std::get_if<std::int64_t>(&value)) {
      text.append(std::to_string(*number));
    } else {
      text.append(std::get<std::string>(value));
    }
    text.push_back('\n');
  }
  return text;
}

int showBundle(const std::string& path, bool isJson) {
  const auto bundle = Bundle::bundleWithPath(path);
  if (!bundle) {
    writeDiagnostics(diagnostic(path, "no folder is there"));
    return kFailed;
  }
  if (!bundle->readInfoDictionary()) {
    writeDiagnostics(
        diagnostic(path, "Contents/Info.plist cannot be read as a dictionary"));
  }
  const Properties properties = propertiesOf(*bundle);
  Output output(STDOUT_FILENO);
  std::string text = isJson ? jsonOf(properties) : linesOf(properties);
  if (output.isTerminal()) text = replacingTerminalControls(text);
  output.append(text);
  return finish(output, kDone);
}

}  // namespace

void addBundleCommand(CommandLine& line) {
  struct Options {
    std::string path;
    bool isJson = false;
  };
  Command command = line.addCommand(
      "bundle",
      "Show what is known of a bundle: component, versions, channel, the "
      "systems it\nsupports.");
  const auto options = std::make_shared<Options>();
  command.argument("PATH", options->path, "folder of the bundle").required();
  command.flag("--json", options->isJson,
               "one JSON object instead of a property a line");
  command.takesPaths();
  command.footer(
      std::string(
          "A property without a value has no line; it is null in JSON. A "
          "folder "
          "without a\nreadable Contents/Info.plist is shown with what stands "
          "in "
          "for its values.\nQUILLHAVEN_OS_VERSION in the environment is taken "
          "for the running system's\nversion.\n\nExample:\n  "
          "QUILLHAVEN_OS_VERSION=14.5 quillhaven bundle --json "
          "/Applications/Mail.app\n\n") +
      kExitStatusHelp);
  command.does(
      [options] { return showBundle(options->path, options->isJson); });
}

}  // namespace quillhaven::cli
