#include "cli/keychain_command.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "cli/command.h"
#include "cli/output.h"
#include "cli/secret_input.h"
#include "quillhaven/identity/keychain.h"
#include "quillhaven/platform/keychain/sealed_file_keychain.h"

namespace quillhaven::cli {
namespace {

using identity::Keychain;
using identity::KeychainError;
using platform::SecretBytes;

constexpr const char* kOperationList =
    "save, update, get, exists, remove, reset or lock-unlock";

struct KeychainOptions {
  bool isWhich = false;
  bool hasExtras = false;
  std::string operation;
  std::optional<std::string> service;
  std::optional<std::string> account;
  bool isSynchronizable = false;
};

// A sealed file that a host made with a passphrase asks for it here.
void askForPassphrases() {
  const auto backend = platform::keychainBackend();
  if (backend->name() != platform::kSealedFileName) return;
  platform::SealedFileOptions options;
  options.folder = platform::defaultSealedFileFolder();
  options.askPassphrase = [](bool) {
    return askAtTerminal("Passphrase of the keychain: ");
  };
  platform::setKeychainBackend(platform::makeSealedFileKeychain(options));
}

int writeLine(const std::string& line, int status) {
  Output output(STDOUT_FILENO);
  output.append(line + "\n");
  return finish(output, status);
}

int wrongUsage(std::string_view reason) {
  writeDiagnostics(diagnostic(reason) +
                   "Try \"quillhaven keychain --help\".\n");
  return kWrongUsage;
}

int save(Keychain& keychain, const KeychainOptions& options) {
  const auto password = readSecret();
  if (!password) return kFailed;
  const auto text = platform::viewOf(*password);
  if (options.operation == "save") {
    keychain.save(text, options.account, options.isSynchronizable);
  } else {
    keychain.update(text, options.account, options.isSynchronizable);
  }
  return kDone;
}

int get(Keychain& keychain, const KeychainOptions& options) {
  auto password = keychain.password(options.account, options.isSynchronizable);
  if (!password) {
    writeDiagnostics(diagnostic("there is no such password"));
    return kFailed;
  }
  const int status = writeSecret(*password);
  platform::wipe(*password);
  return status;
}

int exists(Keychain& keychain, const KeychainOptions& options) {
  const bool isThere =
      keychain.existsPassword(options.account, options.isSynchronizable);
  return writeLine(isThere ? "true" : "false", isThere ? kDone : kFailed);
}

int runOperation(const KeychainOptions& options) {
  Keychain keychain(options.service.value_or(""));
  const std::string& operation = options.operation;
  if (operation == "save" || operation == "update") {
    return save(keychain, options);
  }
  if (operation == "get") return get(keychain, options);
  if (operation == "exists") return exists(keychain, options);
  if (operation == "remove") {
    keychain.removePassword(options.account, options.isSynchronizable);
  } else if (operation == "reset") {
    keychain.reset();
  } else {
    keychain.lockUnLock();
  }
  return kDone;
}

bool isOperation(std::string_view text) {
  constexpr std::string_view kOperations[] = {
      "save", "update", "get", "exists", "remove", "reset", "lock-unlock"};
  return std::ranges::find(kOperations, text) != std::end(kOperations);
}

std::string reasonOf(const KeychainError& error) {
  if (error == KeychainError::passwordEncoding()) {
    return "the password is not valid UTF-8";
  }
  return error.description();
}

int keychain(const KeychainOptions& options) {
  // Whatever it is, it may be a password: it is not shown.
  if (options.hasExtras) {
    return wrongUsage(
        "unexpected argument; a password is read from standard input");
  }
  if (options.isWhich) {
    return writeLine(std::string(platform::keychainBackend()->name()), kDone);
  }
  if (options.operation.empty()) return wrongUsage("name an OPERATION");
  if (!isOperation(options.operation)) {
    return wrongUsage(std::string("OPERATION is none of ") + kOperationList);
  }
  const bool isOfService = options.operation != "lock-unlock";
  if (isOfService && !options.service) return wrongUsage("name a --service");
  if (options.operation == "reset" &&
      (options.account || options.isSynchronizable)) {
    return wrongUsage(
        "reset deletes all passwords of the service; leave out --account and "
        "--synchronizable");
  }
  forbidCoreDumps();
  try {
    askForPassphrases();
    return runOperation(options);
  } catch (const KeychainError& error) {
    writeDiagnostics(diagnostic(reasonOf(error)));
    return kFailed;
  }
}

void addOptions(Command& command, KeychainOptions& options) {
  // Not by oneOf(), which shows what it refuses.
  command.argument("OPERATION", options.operation, kOperationList);
  command.option("--service", "S", options.service,
                 "the service that the passwords belong to");
  command.option("--account", "A", options.account,
                 "the account; default: the name of the service");
  command.flag("--synchronizable", options.isSynchronizable,
               "the synchronizable password instead of the local one");
  command.flag("--which", options.isWhich,
               "name the store that passwords are kept in");
}

}  // namespace

void addKeychainCommand(CommandLine& line) {
  Command command = line.addCommand(
      "keychain",
      "Keep passwords in the user's keychain: the desktop's keychain service, "
      "or a sealed file where there is none.");
  const auto options = std::make_shared<KeychainOptions>();
  addOptions(command, *options);
  command.takesExtras(options->hasExtras);
  command.footer(
      "save adds a password, update replaces one; both read it from standard "
      "input, all of\nit but a final line break. get prints it. exists prints "
      "true or false; a local\npassword is never said to exist. reset deletes "
      "all passwords of the service.\nlock-unlock locks the default keychain "
      "and asks for its password.\n\n"
      "Examples:\n"
      "  quillhaven keychain --service org.example.mail save --account anna\n"
      "  quillhaven keychain --service org.example.mail get --account anna\n"
      "  quillhaven keychain --which\n\n"
      "The variable QUILLHAVEN_KEYCHAIN chooses the store: secret-service or "
      "sealed-file.\n\n"
      "Exit status: 0 done, 1 the work failed or the answer is no, 2 wrong "
      "usage.");
  command.does([options] { return keychain(*options); });
}

}  // namespace quillhaven::cli
