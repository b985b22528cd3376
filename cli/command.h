// What every command of the program shares: how it joins the command line, and
// its exit statuses.
#ifndef QUILLHAVEN_CLI_COMMAND_H_
#define QUILLHAVEN_CLI_COMMAND_H_

#include <stdexcept>
#include <string>

namespace quillhaven::cli {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;

// The last lines of the help of a command without statuses of its own.
inline constexpr const char kExitStatusHelp[] =
    "Exit status: 0 done, 1 the work failed, 2 wrong usage.";

// A broken rule of the library, thrown instead of stopping the process once
// throwFatalErrors() was called.
class FatalError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// Makes the library throw FatalError, so that a command can report it and go on
// with its next input.
void throwFatalErrors();

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_COMMAND_H_
