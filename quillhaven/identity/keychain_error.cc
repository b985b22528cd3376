#include "quillhaven/identity/keychain_error.h"

#include "quillhaven/identity/internal/keychain_status.h"
#include "quillhaven/platform/base/localization.h"

namespace quillhaven::identity {
namespace {

using platform::ErrorTexts;
using platform::localizationKey;
using platform::localizedString;
using platform::localizedStringWithFormat;

constexpr const char* kUnknownReason = localizationKey("Unknown reason");

// Without "the": translations hold this form and that of QuillhavenError.
std::string generalSuggestion() {
  return localizedString(
      "Please try restarting your Mac or contact Quillhaven Support.");
}

ErrorTexts textsOf(const KeychainError::Status& error) {
  const char* const message = internal::keychainStatusKey(error.code);
  ErrorTexts texts;
  if (message != nullptr) texts.failureReason = localizedString(message);
  texts.logDescription = "Keychain Error: (" + std::to_string(error.code) +
                         ") -- " + (message ? message : "Unknown");
  switch (error.code) {
    case internal::kUserCanceled:
      texts.errorDescription = localizedString(
          "Quillhaven needs your permission to access the keychain.");
      texts.recoverySuggestion =
          localizedString("Please grant access next time.");
      break;
    case internal::kAuthFailed:
      texts.errorDescription =
          localizedString("Unable to access the default keychain.");
      texts.recoverySuggestion = localizedString(
          "Quillhaven will lock your default keychain to try and solve this "
          "issue. Please unlock it again when prompted.");
      break;
    case internal::kInvalidOwnerEdit:
      texts.errorDescription = localizedString("Malformed keychain item.");
      texts.recoverySuggestion = localizedString(
          "Please make sure you have only one version of Quillhaven on your "
          "Mac and that it's named \"Quillhaven\".\n\nIn Keychain Access, "
          "search for \"com.quillhaven\" and delete all items that come "
          "up.\n\nQuit and restart Quillhaven and Mail. You'll have to log in "
          "to Quillhaven again.");
      break;
    default:
      texts.errorDescription =
          localizedStringWithFormat("Keychain Error (%i)", {error.code});
      texts.recoverySuggestion = generalSuggestion();
  }
  return texts;
}

ErrorTexts textsWithoutStatus(std::string_view logStart) {
  ErrorTexts texts;
  texts.errorDescription = localizedString("Keychain Error");
  texts.failureReason = localizedString(kUnknownReason);
  texts.recoverySuggestion = generalSuggestion();
  texts.logDescription =
      std::string(logStart).append(" -- ").append(kUnknownReason);
  return texts;
}

ErrorTexts textsOf(const KeychainError::PasswordEncoding&) {
  return textsWithoutStatus("Unknown Keychain Error");
}

ErrorTexts textsOf(const KeychainError::CanSaveButNotRead&) {
  return textsWithoutStatus("Keychain Error: Can save but not read");
}

// The code is the status or, for the others, the place in the variant.
int codeOf(const KeychainError::Case& errorCase) {
  const auto* const status = std::get_if<KeychainError::Status>(&errorCase);
  return status != nullptr ? status->code : static_cast<int>(errorCase.index());
}

}  // namespace

std::optional<std::string> keychainStatusMessage(std::int32_t status) {
  const char* const message = internal::keychainStatusKey(status);
  if (message == nullptr) return std::nullopt;
  return message;
}

KeychainError::KeychainError(Case errorCase)
    : LocalizedError(
          "QuillhavenUtilities.KeychainError", codeOf(errorCase),
          std::visit([](const auto& error) { return textsOf(error); },
                     errorCase)),
      case_(errorCase) {}

KeychainError KeychainError::status(std::int32_t code) {
  return KeychainError(Status{code});
}

KeychainError KeychainError::passwordEncoding() {
  return KeychainError(PasswordEncoding{});
}

KeychainError KeychainError::canSaveButNotRead() {
  return KeychainError(CanSaveButNotRead{});
}

}  // namespace quillhaven::identity

std::size_t std::hash<quillhaven::identity::KeychainError>::operator()(
    const quillhaven::identity::KeychainError& error) const noexcept {
  // Status 1 and the case of code 1 differ in their places alone.
  return std::hash<int>()(error.errorCode()) * 3 + error.errorCase().index();
}
