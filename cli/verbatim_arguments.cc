#include "cli/verbatim_arguments.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace quillhaven::cli {
namespace {

constexpr char kMark = '=';

struct RunningCommand {
  std::string_view name;
  bool takesRest;  // its first word ends the options, as that of env(1) does
};
constexpr RunningCommand kRunningCommands[] = {
    {"run", true},
    {"shell", false},
};

// Options of these commands whose value is the next argument.
constexpr std::string_view kOptionsWithValue[] = {
    "--blocking-mode", "--elevation-program", "--prompt"};

bool isOption(std::string_view argument) {
  return argument.size() > 1 && argument.starts_with('-');
}

bool hasValueBehind(std::string_view option) {
  return std::find(std::begin(kOptionsWithValue), std::end(kOptionsWithValue),
                   option) != std::end(kOptionsWithValue);
}

}  // namespace

std::vector<std::string> markVerbatimArguments(
    std::vector<std::string> arguments) {
  const auto* const command = std::find_if(
      std::begin(kRunningCommands), std::end(kRunningCommands),
      [&arguments](const RunningCommand& known) {
        return !arguments.empty() && known.name == arguments.front();
      });
  if (command == std::end(kRunningCommands)) return arguments;
  std::vector<std::string> marked = {arguments.front()};
  bool isVerbatim = false;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    std::string& argument = arguments[i];
    if (!isVerbatim && argument == "--") {
      isVerbatim = true;
    } else if (!isVerbatim && isOption(argument)) {
      const bool takesNext = hasValueBehind(argument);
      marked.push_back(std::move(argument));
      if (takesNext && i + 1 < arguments.size()) {
        // In one argument, so that a value may look like an option.
        marked.back().append("=").append(arguments[++i]);
      }
    } else {
      isVerbatim = isVerbatim || command->takesRest;
      marked.push_back(kMark + argument);
    }
  }
  return marked;
}

std::vector<std::string> unmarkedArguments(std::vector<std::string> words) {
  for (std::string& word : words) word.erase(0, 1);
  return words;
}

}  // namespace quillhaven::cli
