#include "cli/digest_command.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/command.h"
#include "cli/output.h"
#include "cli/whole_input.h"
#include "quillhaven/platform/base/ascii.h"
#include "quillhaven/platform/base/unique_fd.h"
#include "quillhaven/strings/digest_stream.h"
#include "quillhaven/strings/encodings.h"

namespace quillhaven::cli {
namespace {

using strings::DigestStream;
using strings::HMACAlgorithm;

constexpr std::size_t kPieceSize = std::size_t{256} * 1024;

struct DigestOptions {
  std::string algorithm;
  std::optional<std::string> key;
  std::string file{kStandardInputPath};
};

HMACAlgorithm algorithmNamed(std::string_view name) {
  if (name == "md5") return HMACAlgorithm::MD5;
  return name == "sha1" ? HMACAlgorithm::SHA1 : HMACAlgorithm::SHA256;
}

// Returns the bytes that pairs of hexadecimal digits stand for.
std::optional<std::string> bytesFromHex(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int high = platform::hexDigitValue(digits[i]);
    const int low = platform::hexDigitValue(digits[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<char>(high * 16 + low));
  }
  return bytes;
}

// Feeds all of `input` to `stream`, a piece at a time, or says why it cannot.
bool appendInput(const Input& input, DigestStream& stream) {
  platform::UniqueFd file;
  int fd = STDIN_FILENO;
  if (input.kind == Input::Kind::kFile) {
    fd = ::open(input.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    file.reset(fd);
  }
  std::string piece(kPieceSize, '\0');
  while (true) {
    const auto count =
        fd < 0 ? std::nullopt : readSome(fd, piece.data(), piece.size());
    if (!count) {
      writeDiagnostics(diagnostic(displayName(input), errorText(errno)));
      return false;
    }
    if (*count == 0) return true;
    stream.append(strings::bytesOf(std::string_view(piece).substr(0, *count)));
  }
}

int digest(const DigestOptions& options) {
  const HMACAlgorithm algorithm = algorithmNamed(options.algorithm);
  std::optional<DigestStream> stream;
  if (!options.key) {
    stream.emplace(algorithm);
  } else if (const auto key = bytesFromHex(*options.key)) {
    stream.emplace(algorithm, strings::bytesOf(*key));
  } else {
    // The key stays untold: standard error may go to a log.
    writeDiagnostics(
        diagnostic("--hmac-key: not an even number of hexadecimal digits"));
    return kWrongUsage;
  }
  if (!appendInput(inputNamed(options.file), *stream)) return kFailed;
  return writeWhole(strings::hexDigest(stream->finish()) + "\n");
}

}  // namespace

void addDigestCommand(CommandLine& line) {
  Command command = line.addCommand(
      "digest", "Print the digest or HMAC of a file as hexadecimal digits.");
  const auto options = std::make_shared<DigestOptions>();
  command.argument("ALGORITHM", options->algorithm, "md5, sha1 or sha256")
      .required()
      .oneOf({"md5", "sha1", "sha256"});
  command.option("--hmac-key", "HEX", options->key,
                 "print the HMAC with this key; other users can see the "
                 "arguments of a program");
  addFileArgument(command, options->file, "what to digest, of any size");
  command.footer(
      std::string("Examples:\n"
                  "  quillhaven digest sha256 message.eml\n"
                  "  printf 'what do ya want for nothing?' |\n"
                  "      quillhaven digest md5 --hmac-key 4a656665\n\n") +
      "Exit status: 0 done, 1 the file cannot be read, 2 wrong usage.");
  command.does([options] { return digest(*options); });
}

}  // namespace quillhaven::cli
