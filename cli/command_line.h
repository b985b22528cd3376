// The program's command line: its commands, their options and arguments, and
// what each does. Stands on CLI11, which only command_line.cc includes: that
// header takes ten seconds and more in every source that does.
#ifndef QUILLHAVEN_CLI_COMMAND_LINE_H_
#define QUILLHAVEN_CLI_COMMAND_LINE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {  // NOLINT(readability-identifier-naming): its own name
class App;
class Option;
}  // namespace CLI

namespace quillhaven::cli {

// A command line that breaks a rule of its command; the text says which.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One option, flag or argument of a command; a handle, valid as long as the
// command line is.
class Option {
 public:
  Option required();

  // Refuses every other value.
  Option oneOf(std::vector<std::string> values);

  // Refuses a value for which `fault` returns a text, which says why.
  Option refuses(std::function<std::string(const std::string&)> fault);

  // Refuses both in one line.
  Option excludes(Option other);

 private:
  friend class Command;
  explicit Option(CLI::Option* option) : option_(option) {}

  CLI::Option* option_;
};

// One command; a handle, valid as long as the command line is. The variables
// that values are left in must live until the command has run: keep them in
// what its work captures.
class Command {
 public:
  // An option with a value, such as "--suite", whose value help calls
  // `valueName`.
  Option option(const std::string& name, const std::string& valueName,
                std::string& value, const std::string& description);
  Option option(const std::string& name, const std::string& valueName,
                std::optional<std::string>& value,
                const std::string& description);

  // An option without a value.
  Option flag(const std::string& name, bool& value,
              const std::string& description);

  // An argument, found by its place; `name` is what help calls it. The last may
  // take a list.
  Option argument(const std::string& name, std::string& value,
                  const std::string& description);
  Option argument(const std::string& name, std::optional<std::string>& value,
                  const std::string& description);
  Option argument(const std::string& name, std::int32_t& value,
                  const std::string& description);
  Option argument(const std::string& name, std::vector<std::string>& values,
                  const std::string& description);

  // The arguments are paths: they are taken as they are, also in brackets and,
  // behind "--", with a leading dash.
  Command takesPaths();

  // Takes arguments too many without a word and says with `hasExtras` whether
  // there are any.
  Command takesExtras(bool& hasExtras);

  // The end of the command's help: what else there is to know, examples, exit
  // statuses.
  Command footer(const std::string& text);

  // What the command does; `work` returns the exit status. `check`, if any,
  // runs before and throws UsageError for a line that breaks a rule.
  void does(std::function<int()> work, std::function<void()> check = nullptr);

 private:
  friend class CommandLine;
  struct Record;
  Command(CLI::App* app, Record* record) : app_(app), record_(record) {}

  CLI::App* app_;
  Record* record_;
};

class CommandLine {
 public:
  // `footer` ends the help of the program itself.
  CommandLine(const std::string& name, const std::string& version,
              const std::string& description, const std::string& footer);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine();

  Command addCommand(const std::string& name, const std::string& description);

  // Reads the arguments of main(), runs the command that they name and returns
  // the exit status. Shows help and version where they ask for it; says on
  // standard error what is wrong with them.
  int run(int argc, const char* const* argv);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_COMMAND_LINE_H_
