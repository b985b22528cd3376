// A host in German: main() chooses the language, as a host does.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "quillhaven/identity/keychain_error.h"
#include "quillhaven/identity/quillhaven_error.h"
#include "quillhaven/platform/base/localization.h"

namespace quillhaven::identity {
namespace {

TEST(GermanHost, SeesGermanTexts) {
  platform::setTranslationsFolder(QUILLHAVEN_BUILT_LOCALE_DIR);
  const auto plain = QuillhavenError::missingDatabaseID();
  EXPECT_EQ(plain.errorDescription(), "Die Datenbank-ID fehlt.");
  EXPECT_EQ(plain.recoverySuggestion(),
            "Bitte versuchen Sie es später erneut oder wenden Sie sich an den "
            "Quillhaven-Support.");

  // The translation names the second value first.
  EXPECT_EQ(
      QuillhavenError::serverConfigInvalid("ann", "port").recoverySuggestion(),
      "Für den Account mit dem Benutzernamen ann ist der Parameter port "
      "ungültig.");
  EXPECT_EQ(
      QuillhavenError::appSpecificPasswordMissing("ann").recoverySuggestion(),
      "Bitte erstellen Sie auf account.example ein anwendungsspezifisches "
      "Passwort für ann.");
  // What the caller wrote is not looked up.
  EXPECT_EQ(QuillhavenError::custom("Unknown action.").errorDescription(),
            "Unknown action.");

  const auto missing = KeychainError::status(-25300);
  EXPECT_EQ(missing.errorDescription(), "Schlüsselbundfehler (-25300)");
  EXPECT_EQ(missing.failureReason(),
            "Dieses Objekt gibt es im Schlüsselbund nicht.");
  EXPECT_EQ(missing.description(),  // logs stay in English
            "Keychain Error: (-25300) -- There is no such item in the "
            "keychain.");
}

TEST(GermanHost, SeesTheKeysWithoutACatalogue) {
  platform::setTranslationsFolder("/nonexistent");
  EXPECT_EQ(QuillhavenError::unknownAction().errorDescription(),
            "Unknown action.");
  platform::setTranslationsFolder(QUILLHAVEN_BUILT_LOCALE_DIR);
  EXPECT_EQ(QuillhavenError::unknownAction().errorDescription(),
            "Unbekannte Aktion.");
  EXPECT_EQ(platform::localizedString("no such key"), "no such key");
  EXPECT_EQ(platform::localizedString(""), "");
}

}  // namespace
}  // namespace quillhaven::identity

int main(int argc, char** argv) {
  ::setenv("LANGUAGE", "de", 1);
  // In the locale "C" gettext does not look at LANGUAGE.
  if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) return 1;
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
