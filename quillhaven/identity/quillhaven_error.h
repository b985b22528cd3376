// The general error of the product's services and account layer.
#ifndef QUILLHAVEN_IDENTITY_QUILLHAVEN_ERROR_H_
#define QUILLHAVEN_IDENTITY_QUILLHAVEN_ERROR_H_

#include <optional>
#include <string>
#include <variant>

#include "quillhaven/platform/base/localized_error.h"

namespace quillhaven::identity {

// Thrown by the product's components and shown by its hosts. Each case is a
// type of this class and has a function of its name that makes the error:
//   throw QuillhavenError::invalidCredentials("ann");
// Its code is its place in `Case`. Every error has a description and a recovery
// suggestion, the general one where its case has none. Immutable.
class QuillhavenError : public platform::LocalizedError {
 public:
  struct AppSpecificPasswordMissing {
    std::string account;
    bool operator==(const AppSpecificPasswordMissing&) const = default;
  };
  struct ServerConfigInvalid {
    std::optional<std::string> username;
    std::optional<std::string> parameter;
    bool operator==(const ServerConfigInvalid&) const = default;
  };
  struct InvalidCredentials {
    std::string username;
    bool operator==(const InvalidCredentials&) const = default;
  };
  // Texts of the caller, shown as they are: neither translated nor formatted.
  struct Custom {
    std::string description;
    std::optional<std::string> suggestion;
    bool operator==(const Custom&) const = default;
  };
  // A case without values; any two of the same code are equal.
  template <int code>
  struct Plain {
    bool operator==(const Plain&) const = default;
  };
  using NotAuthenticated = Plain<4>;
  using NotInPlan = Plain<5>;
  using UnknownAction = Plain<6>;
  using CacheInvalid = Plain<7>;
  using MissingMessageID = Plain<8>;
  using MissingEmailID = Plain<9>;
  using MissingDatabaseID = Plain<10>;
  using MissingTaskID = Plain<11>;
  using MissingContactID = Plain<12>;
  using MissingContext = Plain<13>;
  using MissingAPNIdentifier = Plain<14>;
  using MissingAutomation = Plain<15>;
  using NotOwnedByMe = Plain<16>;
  using ConfirmationPasswordDoesNotMatch = Plain<17>;
  using Unknown = Plain<18>;

  using Case = std::variant<
      AppSpecificPasswordMissing, ServerConfigInvalid, InvalidCredentials,
      Custom, NotAuthenticated, NotInPlan, UnknownAction, CacheInvalid,
      MissingMessageID, MissingEmailID, MissingDatabaseID, MissingTaskID,
      MissingContactID, MissingContext, MissingAPNIdentifier, MissingAutomation,
      NotOwnedByMe, ConfirmationPasswordDoesNotMatch, Unknown>;

  explicit QuillhavenError(Case errorCase);

  // Names the deployment's account-management host, so that this is a use of
  // productConfiguration().
  static QuillhavenError appSpecificPasswordMissing(std::string account);
  static QuillhavenError serverConfigInvalid(
      std::optional<std::string> username,
      std::optional<std::string> parameter);
  static QuillhavenError invalidCredentials(std::string username);
  static QuillhavenError custom(
      std::string description,
      std::optional<std::string> suggestion = std::nullopt);
  static QuillhavenError notAuthenticated();
  static QuillhavenError notInPlan();
  static QuillhavenError unknownAction();
  static QuillhavenError cacheInvalid();
  static QuillhavenError missingMessageID();
  static QuillhavenError missingEmailID();
  static QuillhavenError missingDatabaseID();
  static QuillhavenError missingTaskID();
  static QuillhavenError missingContactID();
  static QuillhavenError missingContext();
  static QuillhavenError missingAPNIdentifier();
  static QuillhavenError missingAutomation();
  static QuillhavenError notOwnedByMe();
  static QuillhavenError confirmationPasswordDoesNotMatch();
  static QuillhavenError unknown();

  [[nodiscard]] const Case& errorCase() const noexcept { return case_; }

  friend bool operator==(const QuillhavenError& a, const QuillhavenError& b) {
    return a.case_ == b.case_;
  }

 private:
  Case case_;
};

}  // namespace quillhaven::identity

#endif  // QUILLHAVEN_IDENTITY_QUILLHAVEN_ERROR_H_
