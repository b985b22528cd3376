#include "quillhaven/identity/quillhaven_error.h"

#include <iterator>
#include <utility>

#include "quillhaven/identity/product_configuration.h"
#include "quillhaven/platform/base/localization.h"

namespace quillhaven::identity {
namespace {

using platform::localizationKey;
using platform::localizedString;
using platform::localizedStringWithFormat;

struct ErrorInfo {
  std::string description;
  std::optional<std::string> suggestion;
};

ErrorInfo errorInfo(const QuillhavenError::AppSpecificPasswordMissing& error) {
  // The host is a value of its own, so that one translation serves every
  // deployment.
  return {localizedString("App-specific password missing."),
          localizedStringWithFormat(
              "Please generate an app-specific password for %1$@ on %2$@.",
              {error.account, productConfiguration().accountManagementHost})};
}

ErrorInfo errorInfo(const QuillhavenError::ServerConfigInvalid& error) {
  std::optional<std::string> suggestion;
  if (error.parameter && error.username) {
    suggestion = localizedStringWithFormat(
        "Parameter %1$@ is invalid for account with username %2$@.",
        {*error.parameter, *error.username});
  } else if (error.parameter) {
    suggestion = localizedStringWithFormat("Parameter %@ is invalid.",
                                           {*error.parameter});
  } else if (error.username) {
    suggestion = localizedStringWithFormat("For account with username %@.",
                                           {*error.username});
  }
  return {localizedString("Server configuration invalid."), suggestion};
}

ErrorInfo errorInfo(const QuillhavenError::InvalidCredentials& error) {
  return {localizedString("Credentials are missing."),
          localizedStringWithFormat("Could not obtain password or OAuth token "
                                    "for account with username %@.",
                                    {error.username})};
}

ErrorInfo errorInfo(const QuillhavenError::Custom& error) {
  return {error.description, error.suggestion};
}

// The texts of the cases without values, in their order. "Message-id" and
// "Email id" differ in form because translations are looked up by them:
// deliberate.
constexpr struct {
  const char* description;
  const char* suggestion;  // null: the general one
} kPlainTexts[] = {
    {localizationKey("Not authenticated."), localizationKey("Please log in.")},
    {localizationKey("This action is not part of your currently active plan."),
     localizationKey("If you need this action, consider upgrading your "
                     "subscription.")},
    {localizationKey("Unknown action."), nullptr},
    {localizationKey("Cache invalid."), nullptr},
    {localizationKey("Message-id missing."), nullptr},
    {localizationKey("Email id missing."), nullptr},
    {localizationKey("Database-id missing."), nullptr},
    {localizationKey("Task id missing."), nullptr},
    {localizationKey("Contact id missing."), nullptr},
    {localizationKey("Context missing."), nullptr},
    {localizationKey("Updating push notification user identifier failed."),
     localizationKey("Cannot update push notification user identifier without "
                     "an APN identifier.")},
    {localizationKey("Automation missing."), nullptr},
    {localizationKey("Item is not owned by the user."), nullptr},
    {localizationKey("Your password and confirmation password do not match."),
     nullptr},
    {localizationKey("An unknown error occurred."), nullptr},
};

using Case = QuillhavenError::Case;
constexpr std::size_t kFirstPlain = 4;

static_assert(std::variant_size_v<Case> ==
              kFirstPlain + std::size(kPlainTexts));

template <int code>
ErrorInfo errorInfo(const QuillhavenError::Plain<code>&) {
  static_assert(std::is_same_v<std::variant_alternative_t<code, Case>,
                               QuillhavenError::Plain<code>>,
                "a case stands at the place of its code");
  const auto& texts = kPlainTexts[code - kFirstPlain];
  ErrorInfo info{localizedString(texts.description), std::nullopt};
  if (texts.suggestion != nullptr) {
    info.suggestion = localizedString(texts.suggestion);
  }
  return info;
}

platform::ErrorTexts textsOf(const Case& errorCase) {
  ErrorInfo info =
      std::visit([](const auto& error) { return errorInfo(error); }, errorCase);
  if (!info.suggestion) {
    info.suggestion = localizedString(
        "Please try again later or contact the Quillhaven Support.");
  }
  platform::ErrorTexts texts;
  texts.errorDescription = std::move(info.description);
  texts.recoverySuggestion = std::move(info.suggestion);
  return texts;
}

}  // namespace

QuillhavenError::QuillhavenError(Case errorCase)
    : LocalizedError("QuillhavenUtilities.QuillhavenError",
                     static_cast<int>(errorCase.index()), textsOf(errorCase)),
      case_(std::move(errorCase)) {}

QuillhavenError QuillhavenError::appSpecificPasswordMissing(
    std::string account) {
  return QuillhavenError(AppSpecificPasswordMissing{std::move(account)});
}

QuillhavenError QuillhavenError::serverConfigInvalid(
    std::optional<std::string> username, std::optional<std::string> parameter) {
  return QuillhavenError(
      ServerConfigInvalid{std::move(username), std::move(parameter)});
}

QuillhavenError QuillhavenError::invalidCredentials(std::string username) {
  return QuillhavenError(InvalidCredentials{std::move(username)});
}

QuillhavenError QuillhavenError::custom(std::string description,
                                        std::optional<std::string> suggestion) {
  return QuillhavenError(Custom{std::move(description), std::move(suggestion)});
}

QuillhavenError QuillhavenError::notAuthenticated() {
  return QuillhavenError(NotAuthenticated{});
}

QuillhavenError QuillhavenError::notInPlan() {
  return QuillhavenError(NotInPlan{});
}

QuillhavenError QuillhavenError::unknownAction() {
  return QuillhavenError(UnknownAction{});
}

QuillhavenError QuillhavenError::cacheInvalid() {
  return QuillhavenError(CacheInvalid{});
}

QuillhavenError QuillhavenError::missingMessageID() {
  return QuillhavenError(MissingMessageID{});
}

QuillhavenError QuillhavenError::missingEmailID() {
  return QuillhavenError(MissingEmailID{});
}

QuillhavenError QuillhavenError::missingDatabaseID() {
  return QuillhavenError(MissingDatabaseID{});
}

QuillhavenError QuillhavenError::missingTaskID() {
  return QuillhavenError(MissingTaskID{});
}

QuillhavenError QuillhavenError::missingContactID() {
  return QuillhavenError(MissingContactID{});
}

QuillhavenError QuillhavenError::missingContext() {
  return QuillhavenError(MissingContext{});
}

QuillhavenError QuillhavenError::missingAPNIdentifier() {
  return QuillhavenError(MissingAPNIdentifier{});
}

QuillhavenError QuillhavenError::missingAutomation() {
  return QuillhavenError(MissingAutomation{});
}

QuillhavenError QuillhavenError::notOwnedByMe() {
  return QuillhavenError(NotOwnedByMe{});
}

QuillhavenError QuillhavenError::confirmationPasswordDoesNotMatch() {
  return QuillhavenError(ConfirmationPasswordDoesNotMatch{});
}

QuillhavenError QuillhavenError::unknown() {
  return QuillhavenError(Unknown{});
}

}  // namespace quillhaven::identity
