// Reads and writes secrets without leaving copies of them behind.
#ifndef QUILLHAVEN_CLI_SECRET_INPUT_H_
#define QUILLHAVEN_CLI_SECRET_INPUT_H_

#include <optional>
#include <string_view>

#include "quillhaven/platform/keychain/secret_bytes.h"

namespace quillhaven::cli {

// More is no password.
inline constexpr std::size_t kMaximumSecretSize = std::size_t{16} << 20;

// Keeps what this process holds out of core dumps and away from debuggers of
// other processes, to the end of the process.
void forbidCoreDumps();

// Reads all of standard input; a final line break ("\n" or "\r\n") is kept off.
// At a terminal, reads one line that is not shown, after a prompt. Nothing when
// reading fails or there is more than kMaximumSecretSize, which it reports.
std::optional<platform::SecretBytes> readSecret();

// Asks at the terminal of this process, whatever standard input is. Nothing
// when there is none or the answer is the end of input.
std::optional<platform::SecretBytes> askAtTerminal(std::string_view prompt);

// Writes `secret` and a line feed to standard output; returns the exit status.
int writeSecret(std::string_view secret);

}  // namespace quillhaven::cli

#endif  // QUILLHAVEN_CLI_SECRET_INPUT_H_
