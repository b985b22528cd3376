#include "cli/command_line.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <utility>

#include "cli/command.h"
#include "cli/input_sources.h"
#include "cli/output.h"
#include "cli/verbatim_arguments.h"

namespace quillhaven::cli {

// What CLI11 does not keep of a command.
struct Command::Record {
  std::string name;
  bool takesPaths = false;
  bool* hasExtras = nullptr;
  std::function<int()> work;
  std::function<void()> check;
};

struct CommandLine::State {
  State(const std::string& name, const std::string& description)
      : app(description, name) {}

  CLI::App app;
  std::vector<std::unique_ptr<Command::Record>> records;
  Command::Record* named = nullptr;  // the one that the line asks for
};

namespace {

int showHelp(const std::string& text) {
  Output output(STDOUT_FILENO);
  output.append(text);
  return finish(output, kDone);
}

// The name of the command that the line got to, for a hint.
std::string commandNamed(const CLI::App& app) {
  std::string name = app.get_name();
  for (const CLI::App* command : app.get_subcommands()) {
    name.append(" ").append(command->get_name());
  }
  return name;
}

int reportWrongUsage(const CLI::App& app, const std::string& reason) {
  writeDiagnostics(diagnostic(reason) + "Try \"" + commandNamed(app) +
                   " --help\".\n");
  return kWrongUsage;
}

std::string reasonOf(const CLI::App& app, const CLI::ParseError& error) {
  if (app.get_subcommands().empty() && !app.remaining().empty()) {
    return "unknown command or option \"" + app.remaining().front() + "\"";
  }
  return error.what();
}

// Returns `path` with its folder where CLI11 would not read it as a path: it
// takes "[a]" for a list written out, and hands what stands after "--" to the
// parent command.
std::string withFolder(const std::string& path, bool isAfterMark) {
  const bool isBracketed = path.starts_with('[') && path.ends_with(']');
  const bool isLikeOption =
      isAfterMark && path.starts_with('-') && path != kStandardInputPath;
  return isBracketed || isLikeOption ? "./" + path : path;
}

// Returns the arguments from the last to the first, as CLI11 reads them.
std::vector<std::string> argumentsFrom(int argc, const char* const* argv,
                                       bool arePaths) {
  std::vector<std::string> arguments;
  bool isAfterMark = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (arePaths && !isAfterMark && argument == "--") {
      isAfterMark = true;
    } else {
      arguments.push_back(arePaths ? withFolder(argument, isAfterMark)
                                   : argument);
    }
  }
  arguments = markVerbatimArguments(std::move(arguments));
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

}  // namespace

Option Option::required() {
  option_->required();
  return *this;
}

Option Option::oneOf(std::vector<std::string> values) {
  option_->check(CLI::IsMember(std::move(values)).description(""));
  return *this;
}

Option Option::refuses(std::function<std::string(const std::string&)> fault) {
  option_->check(CLI::Validator(
      [fault = std::move(fault)](const std::string& text) {
        return fault(text);
      },
      ""));
  return *this;
}

Option Option::excludes(Option other) {
  option_->excludes(other.option_);
  return *this;
}

Option Command::option(const std::string& name, const std::string& valueName,
                       std::string& value, const std::string& description) {
  return Option(
      app_->add_option(name, value, description)->type_name(valueName));
}

Option Command::option(const std::string& name, const std::string& valueName,
                       std::optional<std::string>& value,
                       const std::string& description) {
  return Option(
      app_->add_option(name, value, description)->type_name(valueName));
}

Option Command::flag(const std::string& name, bool& value,
                     const std::string& description) {
  return Option(app_->add_flag(name, value, description));
}

Option Command::argument(const std::string& name, std::string& value,
                         const std::string& description) {
  return option(name, "", value, description);
}

Option Command::argument(const std::string& name,
                         std::optional<std::string>& value,
                         const std::string& description) {
  return option(name, "", value, description);
}

Option Command::argument(const std::string& name, std::int32_t& value,
                         const std::string& description) {
  return Option(app_->add_option(name, value, description)->type_name(""));
}

Option Command::argument(const std::string& name,
                         std::vector<std::string>& values,
                         const std::string& description) {
  return Option(app_->add_option(name, values, description)->type_name(""));
}

Command Command::takesPaths() {
  record_->takesPaths = true;
  return *this;
}

Command Command::takesExtras(bool& hasExtras) {
  app_->allow_extras();
  record_->hasExtras = &hasExtras;
  return *this;
}

Command Command::footer(const std::string& text) {
  app_->footer(text);
  return *this;
}

void Command::does(std::function<int()> work, std::function<void()> check) {
  record_->work = std::move(work);
  record_->check = std::move(check);
}

CommandLine::CommandLine(const std::string& name, const std::string& version,
                         const std::string& description,
                         const std::string& footer)
    : state_(std::make_unique<State>(name, description)) {
  state_->app.set_version_flag("--version", name + " " + version);
  state_->app.require_subcommand(1);
  state_->app.footer(footer);
}

CommandLine::~CommandLine() = default;

Command CommandLine::addCommand(const std::string& name,
                                const std::string& description) {
  CLI::App* const app = state_->app.add_subcommand(name, description);
  state_->records.push_back(std::make_unique<Command::Record>());
  Command::Record* const record = state_->records.back().get();
  record->name = name;
  app->callback([state = state_.get(), app, record] {
    if (record->hasExtras != nullptr) {
      *record->hasExtras = app->remaining_size() > 0;
    }
    if (record->check) record->check();
    state->named = record;
  });
  return Command(app, record);
}

int CommandLine::run(int argc, const char* const* argv) {
  CLI::App& app = state_->app;
  if (argc <= 1) {
    writeDiagnostics(app.help());
    return kWrongUsage;
  }
  const bool arePaths =
      std::any_of(state_->records.begin(), state_->records.end(),
                  [command = std::string_view(argv[1])](const auto& record) {
                    return record->takesPaths && record->name == command;
                  });
  try {
    app.parse(argumentsFrom(argc, argv, arePaths));
  } catch (const CLI::CallForHelp&) {
    return showHelp(app.help());  // of the command named, if any
  } catch (const CLI::CallForVersion& version) {
    return showHelp(std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& error) {
    return reportWrongUsage(app, reasonOf(app, error));
  } catch (const UsageError& error) {
    return reportWrongUsage(app, error.what());
  }
  return state_->named->work();
}

}  // namespace quillhaven::cli
