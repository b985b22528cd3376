// `quillhaven defaults`: reads and changes user defaults.
#include <unistd.h>

#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/identity_commands.h"
#include "cli/output.h"
#include "cli/property_list_json.h"
#include "quillhaven/identity/product_defaults.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::cli {
namespace {

using platform::PropertyList;
using platform::UserDefaults;

struct DefaultsOptions {
  std::optional<std::string> suite;
  std::string action;
  std::optional<std::string> key;
  std::optional<std::string> value;
  std::string type = "string";
  bool isJson = false;
};

int reportMissing(const std::string& key) {
  writeDiagnostics(diagnostic(key, "there is no such value"));
  return kFailed;
}

int readDefaults(const UserDefaults& defaults, const DefaultsOptions& options) {
  std::string text;
  if (!options.key) {
    JsonWriter json(text, JsonWriter::Layout::kIndented);
    writePropertyList(json, defaults.dictionaryRepresentation());
  } else {
    const auto value = defaults.object(*options.key);
    if (!value) return reportMissing(*options.key);
    if (options.isJson) {
      JsonWriter json(text);
      writePropertyList(json, *value);
    } else {
      text = textFromPropertyList(*value);
    }
  }
  Output output(STDOUT_FILENO);
  if (output.isTerminal()) text = replacingTerminalControls(text);
  output.append(text + "\n");
  return finish(output, kDone);
}

int writeDefaults(UserDefaults& defaults, const DefaultsOptions& options) {
  if (!platform::isValidUTF8(*options.key) ||
      !platform::isValidUTF8(*options.value)) {
    writeDiagnostics(diagnostic("key and value must be UTF-8"));
    return kWrongUsage;
  }
  auto value = propertyListFromText(*options.value, options.type);
  if (!value) {
    writeDiagnostics(
        diagnostic(*options.value, "no value of type " + options.type));
    return kWrongUsage;
  }
  defaults.set(*options.key, std::move(*value));
  return kDone;
}

int deleteDefaults(UserDefaults& defaults, const DefaultsOptions& options) {
  bool wasThere = false;
  defaults.update([&](PropertyList::Dictionary& values) {
    wasThere = values.erase(*options.key) > 0;
  });
  return wasThere ? kDone : reportMissing(*options.key);
}

int runDefaults(const DefaultsOptions& options) {
  auto defaults = options.suite
                      ? UserDefaults::suite(*options.suite)
                      : std::optional(identity::currentUserDefaults());
  if (!defaults) {
    writeDiagnostics(diagnostic(*options.suite, "the suite cannot be opened"));
    return kFailed;
  }
  try {
    if (options.action == "read") return readDefaults(*defaults, options);
    if (options.action == "write") return writeDefaults(*defaults, options);
    return deleteDefaults(*defaults, options);
  } catch (const std::system_error& error) {
    writeDiagnostics(
        diagnostic(defaults->path(), std::strerror(error.code().value())));
    return kFailed;
  }
}

// What an action needs and does not take.
void requireArguments(const DefaultsOptions& options) {
  const bool isWrite = options.action == "write";
  if (!options.key && options.action != "read") {
    throw UsageError("KEY is required");
  }
  if (!options.value && isWrite) throw UsageError("VALUE is required");
  if (options.value && !isWrite) {
    throw UsageError("The following argument was not expected: " +
                     *options.value);
  }
}

}  // namespace

void addDefaultsCommand(CommandLine& line) {
  Command command = line.addCommand(
      "defaults", "Read and change user defaults, one property list a suite.");
  const auto options = std::make_shared<DefaultsOptions>();
  command.option("--suite", "NAME", options->suite,
                 "the suite, such as com.quillhaven.mailplugin; default: the "
                 "standard defaults\nof this program");
  command
      .option("--type", "TYPE", options->type,
              "how write reads VALUE: string (the default), bool, int, "
              "real, data (Base64),\ndate (2026-11-21T08:30:00Z) or json")
      .oneOf(std::vector<std::string>(std::begin(kPropertyListTypes),
                                      std::end(kPropertyListTypes)));
  command.flag("--json", options->isJson, "read prints JSON");
  command.argument("ACTION", options->action, "read, write or delete")
      .required()
      .oneOf({"read", "write", "delete"});
  command.argument(
      "KEY", options->key,
      "the value's name; read without it shows all values as JSON");
  command.argument("VALUE", options->value, "what write stores");
  command.footer(
      "read prints text, data and dates as they are and lists as JSON. A VALUE "
      "that starts\nwith - stands behind --.\n\nExamples:\n  quillhaven "
      "defaults --suite com.quillhaven.mailplugin write --type bool Seen "
      "true\n  quillhaven defaults --suite com.quillhaven.mailplugin read "
      "Seen\n\nExit status: 0 done, 1 there is no such value, or the defaults "
      "cannot be read or\nwritten, 2 wrong usage.");
  command.does([options] { return runDefaults(*options); },
               [options] { requireArguments(*options); });
}

}  // namespace quillhaven::cli
