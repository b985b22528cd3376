#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "cli/eval_command.h"
#include "cli/json_writer.h"

namespace quillhaven::cli {
namespace {

constexpr std::string_view kGeneral =
    "Please try again later or contact the Quillhaven Support.";
constexpr std::string_view kRestart =
    "Please try restarting your Mac or contact Quillhaven Support.";

TEST(EvalErrors, MakesEveryQuillhavenError) {
  const struct {
    std::string_view arguments;
    int code;
    std::string_view description, suggestion = kGeneral;
  } cases[] = {
      {R"("appSpecificPasswordMissing","associatedValues":["ann"])", 0,
       "App-specific password missing.",
       "Please generate an app-specific password for ann on account.example."},
      {R"("serverConfigInvalid")", 1, "Server configuration invalid."},
      {R"("serverConfigInvalid","associatedValues":[null,null])", 1,
       "Server configuration invalid."},
      {R"("serverConfigInvalid","associatedValues":["ann",null])", 1,
       "Server configuration invalid.", "For account with username ann."},
      {R"("serverConfigInvalid","associatedValues":["ann","port"])", 1,
       "Server configuration invalid.",
       "Parameter port is invalid for account with username ann."},
      {R"("invalidCredentials","associatedValues":["ann"])", 2,
       "Credentials are missing.",
       "Could not obtain password or OAuth token for account with username "
       "ann."},
      {R"("custom","associatedValues":["X",null])", 3, "X"},
      {R"("custom","associatedValues":["X","Y"])", 3, "X", "Y"},
      {R"("notAuthenticated","associatedValues":[])", 4, "Not authenticated.",
       "Please log in."},
      {R"("notInPlan","associatedValues":null)", 5,
       "This action is not part of your currently active plan.",
       "If you need this action, consider upgrading your subscription."},
      {R"("unknownAction")", 6, "Unknown action."},
      {R"("cacheInvalid")", 7, "Cache invalid."},
      {R"("missingMessageID")", 8, "Message-id missing."},
      {R"("missingEmailID")", 9, "Email id missing."},
      {R"("missingDatabaseID")", 10, "Database-id missing."},
      {R"("missingTaskID")", 11, "Task id missing."},
      {R"("missingContactID")", 12, "Contact id missing."},
      {R"("missingContext")", 13, "Context missing."},
      {R"("missingAPNIdentifier")", 14,
       "Updating push notification user identifier failed.",
       "Cannot update push notification user identifier without an APN "
       "identifier."},
      {R"("missingAutomation")", 15, "Automation missing."},
      {R"("notOwnedByMe")", 16, "Item is not owned by the user."},
      {R"("confirmationPasswordDoesNotMatch")", 17,
       "Your password and confirmation password do not match."},
      {R"("unknown")", 18, "An unknown error occurred."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    std::string expected = R"({"result":{"code":)" + std::to_string(c.code) +
                           R"(,"errorDescription":)";
    appendJsonString(expected, c.description);
    appendJsonString(expected.append(R"(,"recoverySuggestion":)"),
                     c.suggestion);
    expected.append(R"(,"failureReason":null,"helpAnchor":null,)"
                    R"("domain":"QuillhavenUtilities.QuillhavenError"}})");
    EXPECT_EQ(evalAnswer(R"({"op":"quillhavenError","case":)" +
                         std::string(c.arguments) + "}"),
              expected);
  }
}

TEST(EvalErrors, MakesEveryKeychainError) {
  const struct {
    std::string_view arguments, code, description;
    std::optional<std::string_view> reason;
    std::string_view log;
  } cases[] = {
      {R"("status","status":-25300)", "-25300", "Keychain Error (-25300)",
       "There is no such item in the keychain.",
       "Keychain Error: (-25300) -- There is no such item in the keychain."},
      {R"("status","status":2147483647)", "2147483647",
       "Keychain Error (2147483647)", std::nullopt,
       "Keychain Error: (2147483647) -- Unknown"},
      {R"("status","status":-2147483648)", "-2147483648",
       "Keychain Error (-2147483648)", std::nullopt,
       "Keychain Error: (-2147483648) -- Unknown"},
      {R"("passwordEncoding")", "1", "Keychain Error", "Unknown reason",
       "Unknown Keychain Error -- Unknown reason"},
      {R"("canSaveButNotRead","status":null)", "2", "Keychain Error",
       "Unknown reason",
       "Keychain Error: Can save but not read -- Unknown reason"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    std::string expected;
    JsonWriter writer(expected);
    writer.beginObject();
    writer.key("result");
    writer.beginObject();
    writer.key("code");
    writer.literal(c.code);
    writer.key("errorDescription");
    writer.value(c.description);
    writer.key("recoverySuggestion");
    writer.value(kRestart);
    writer.key("failureReason");
    writer.value(c.reason);
    writer.key("helpAnchor");
    writer.null();
    writer.key("domain");
    writer.value("QuillhavenUtilities.KeychainError");
    writer.key("description");
    writer.value(c.log);
    writer.endObject();
    writer.endObject();
    EXPECT_EQ(evalAnswer(R"({"op":"keychainError","case":)" +
                         std::string(c.arguments) + "}"),
              expected);
  }
}

TEST(EvalErrors, ExplainsWrongCasesAndValues) {
  const std::string kList =
      "argument \"associatedValues\" must be a list of strings and nulls (got ";
  const std::string kStatus =
      "argument \"status\" must be an integer from -2147483648 to 2147483647 "
      "(got ";
  const struct {
    std::string_view line;
    std::string error;
  } cases[] = {
      {R"("quillhavenError")", "argument \"case\" is missing"},
      {R"("quillhavenError","case":4)",
       "argument \"case\" must be a string (got number)"},
      {R"("quillhavenError","case":"Unknown")", "there is no case \"Unknown\""},
      {R"("quillhavenError","case":"unknown","associatedValues":["x"])",
       "the case has 0 associated values (got 1)"},
      {R"("quillhavenError","case":"custom","associatedValues":["x"])",
       "the case has 2 associated values (got 1)"},
      {R"("quillhavenError","case":"custom","associatedValues":[null,"y"])",
       "associated value 1 must be a string (got null)"},
      {R"("quillhavenError","case":"invalidCredentials")",
       "associated value 1 must be a string (got null)"},
      {R"("quillhavenError","case":"custom","associatedValues":["x",7])",
       kList + "number)"},
      {R"("quillhavenError","case":"custom","associatedValues":"x")",
       kList + "string)"},
      {R"("keychainError","case":"unknown")", "there is no case \"unknown\""},
      {R"("keychainError","case":"status")", "argument \"status\" is missing"},
      {R"("keychainError","case":"status","status":null)", kStatus + "null)"},
      {R"("keychainError","case":"status","status":1.5)", kStatus + "1.5)"},
      {R"("keychainError","case":"status","status":2147483648)",
       kStatus + "2147483648)"},
      {R"("keychainError","case":"status","status":-2147483649)",
       kStatus + "-2147483649)"},
      {R"("keychainError","case":"status","status":18446744073709551615)",
       kStatus + "18446744073709551615)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    std::string expected = R"({"error":)";
    appendJsonString(expected, c.error);
    EXPECT_EQ(evalAnswer(R"({"op":)" + std::string(c.line) + "}"),
              expected + "}");
  }
}

}  // namespace
}  // namespace quillhaven::cli
