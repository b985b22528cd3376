#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <unordered_set>

#include "quillhaven/identity/keychain_error.h"
#include "quillhaven/identity/quillhaven_error.h"

namespace quillhaven::identity {
namespace {

constexpr std::string_view kGeneral =
    "Please try again later or contact the Quillhaven Support.";

TEST(QuillhavenError, HasCodeAndTextsInEveryCase) {
  using Error = QuillhavenError;
  const struct {
    Error error;
    std::string_view description;
    std::string_view suggestion = kGeneral;
  } cases[] = {
      // In the order of their codes.
      {Error::appSpecificPasswordMissing("ann@mail.example"),
       "App-specific password missing.",
       "Please generate an app-specific password for ann@mail.example on "
       "account.example."},
      {Error::serverConfigInvalid({}, {}), "Server configuration invalid."},
      {Error::invalidCredentials("ann"), "Credentials are missing.",
       "Could not obtain password or OAuth token for account with username "
       "ann."},
      {Error::custom("X %@"), "X %@"},
      {Error::notAuthenticated(), "Not authenticated.", "Please log in."},
      {Error::notInPlan(),
       "This action is not part of your currently active plan.",
       "If you need this action, consider upgrading your subscription."},
      {Error::unknownAction(), "Unknown action."},
      {Error::cacheInvalid(), "Cache invalid."},
      {Error::missingMessageID(), "Message-id missing."},
      {Error::missingEmailID(), "Email id missing."},
      {Error::missingDatabaseID(), "Database-id missing."},
      {Error::missingTaskID(), "Task id missing."},
      {Error::missingContactID(), "Contact id missing."},
      {Error::missingContext(), "Context missing."},
      {Error::missingAPNIdentifier(),
       "Updating push notification user identifier failed.",
       "Cannot update push notification user identifier without an APN "
       "identifier."},
      {Error::missingAutomation(), "Automation missing."},
      {Error::notOwnedByMe(), "Item is not owned by the user."},
      {Error::confirmationPasswordDoesNotMatch(),
       "Your password and confirmation password do not match."},
      {Error::unknown(), "An unknown error occurred."},
  };
  int code = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.description);
    EXPECT_EQ(c.error.errorCode(), code++);
    EXPECT_EQ(c.error.domain(), "QuillhavenUtilities.QuillhavenError");
    EXPECT_EQ(c.error.errorDescription(), c.description);
    EXPECT_EQ(c.error.recoverySuggestion(), c.suggestion);
    EXPECT_EQ(c.error.failureReason(), std::nullopt);
    EXPECT_EQ(c.error.helpAnchor(), std::nullopt);
    EXPECT_EQ(c.error.userInfo().size(), 2u);
    for (const auto& other : cases) {
      EXPECT_EQ(c.error == other.error, &c == &other);
    }
  }
  EXPECT_EQ(code, 19);
}

TEST(QuillhavenError, BuildsSuggestionsFromItsValues) {
  using Error = QuillhavenError;
  const struct {
    Error error;
    std::string_view suggestion;
  } cases[] = {
      {Error::serverConfigInvalid({}, "port"), "Parameter port is invalid."},
      {Error::serverConfigInvalid("ann", "port"),
       "Parameter port is invalid for account with username ann."},
      {Error::serverConfigInvalid("ann", {}), "For account with username ann."},
      {Error::serverConfigInvalid("", ""),  // present, though empty
       "Parameter  is invalid for account with username ."},
      {Error::serverConfigInvalid("%1$@", "%@"),
       "Parameter %@ is invalid for account with username %1$@."},
      {Error::custom("X", "Y"), "Y"},
      {Error::custom("X", ""), ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.error.recoverySuggestion(), c.suggestion);
    for (const auto& other : cases) {
      EXPECT_EQ(c.error == other.error, &c == &other) << c.suggestion;
    }
  }
  EXPECT_EQ(Error::serverConfigInvalid("ann", "port"),
            Error::serverConfigInvalid("ann", "port"));
  EXPECT_NE(Error::invalidCredentials("ann"), Error::invalidCredentials("bo"));
}

constexpr std::string_view kRestart =
    "Please try restarting your Mac or contact Quillhaven Support.";

TEST(KeychainError, HasCodeAndTextsInEveryCase) {
  using Error = KeychainError;
  const struct {
    Error error;
    int code;
    std::string_view description, suggestion;
    std::optional<std::string> reason;
    std::string_view log;
  } cases[] = {
      {Error::status(-128), -128,
       "Quillhaven needs your permission to access the keychain.",
       "Please grant access next time.", "The user declined.",
       "Keychain Error: (-128) -- The user declined."},
      {Error::status(-25293), -25293, "Unable to access the default keychain.",
       "Quillhaven will lock your default keychain to try and solve this "
       "issue. Please unlock it again when prompted.",
       "The user name or the passphrase is wrong.",
       "Keychain Error: (-25293) -- The user name or the passphrase is wrong."},
      {Error::status(-25244), -25244, "Malformed keychain item.",
       "Please make sure you have only one version of Quillhaven on your Mac "
       "and that it's named \"Quillhaven\".\n\n"
       "In Keychain Access, search for \"com.quillhaven\" and delete all items "
       "that come up.\n\n"
       "Quit and restart Quillhaven and Mail. You'll have to log in to "
       "Quillhaven again.",
       "The owner of the item may not be changed.",
       "Keychain Error: (-25244) -- The owner of the item may not be changed."},
      {Error::status(-25300), -25300, "Keychain Error (-25300)", kRestart,
       "There is no such item in the keychain.",
       "Keychain Error: (-25300) -- There is no such item in the keychain."},
      {Error::status(1), 1, "Keychain Error (1)", kRestart, std::nullopt,
       "Keychain Error: (1) -- Unknown"},
      {Error::status(std::numeric_limits<std::int32_t>::min()),
       std::numeric_limits<int>::min(), "Keychain Error (-2147483648)",
       kRestart, std::nullopt, "Keychain Error: (-2147483648) -- Unknown"},
      {Error::passwordEncoding(), 1, "Keychain Error", kRestart,
       "Unknown reason", "Unknown Keychain Error -- Unknown reason"},
      {Error::canSaveButNotRead(), 2, "Keychain Error", kRestart,
       "Unknown reason",
       "Keychain Error: Can save but not read -- Unknown reason"},
  };
  std::unordered_set<Error> seen;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.log);
    EXPECT_EQ(c.error.errorCode(), c.code);
    EXPECT_EQ(c.error.domain(), "QuillhavenUtilities.KeychainError");
    EXPECT_EQ(c.error.errorDescription(), c.description);
    EXPECT_EQ(c.error.recoverySuggestion(), c.suggestion);
    EXPECT_EQ(c.error.failureReason(), c.reason);
    EXPECT_EQ(c.error.helpAnchor(), std::nullopt);
    EXPECT_EQ(c.error.description(), c.log);
    EXPECT_EQ(c.error.userInfo().contains("NSLocalizedFailureReason"),
              c.reason.has_value());
    EXPECT_TRUE(seen.insert(c.error).second);  // equal to none before
  }
  EXPECT_TRUE(seen.contains(Error::status(-25300)));
}

TEST(KeychainStatusMessage, IsThereForDocumentedCodesOnly) {
  const struct {
    std::int32_t status;
    bool isKnown;
  } cases[] = {
      {1, false},      {0, true},      {-1, false},     {-50, true},
      {-25290, false}, {-25291, true}, {-25299, true},  {-25307, true},
      {-25308, true},  {-25320, true}, {-25321, false}, {-34018, true},
      {-34019, false}, {-34020, true}, {-34021, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(keychainStatusMessage(c.status).has_value(), c.isKnown)
        << c.status;
  }
}

}  // namespace
}  // namespace quillhaven::identity
