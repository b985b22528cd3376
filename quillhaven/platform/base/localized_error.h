// The base of every typed error: domain, code and the texts that a host shows
// in an alert without knowing the error's cases.
#ifndef QUILLHAVEN_PLATFORM_BASE_LOCALIZED_ERROR_H_
#define QUILLHAVEN_PLATFORM_BASE_LOCALIZED_ERROR_H_

#include <concepts>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quillhaven::platform {

// Further facts about an error, by key. The keys of the texts that every error
// can carry follow; hosts hand them on to their alerts.
using ErrorUserInfo = std::map<std::string, std::string, std::less<>>;

inline constexpr std::string_view kLocalizedDescriptionKey =
    "NSLocalizedDescription";
inline constexpr std::string_view kLocalizedFailureReasonKey =
    "NSLocalizedFailureReason";
inline constexpr std::string_view kLocalizedRecoverySuggestionKey =
    "NSLocalizedRecoverySuggestion";
inline constexpr std::string_view kHelpAnchorKey = "NSHelpAnchor";

// The texts of an error, each absent unless given.
struct ErrorTexts {
  std::optional<std::string> errorDescription = {};    // what went wrong
  std::optional<std::string> failureReason = {};       // why
  std::optional<std::string> recoverySuggestion = {};  // what the user can do
  std::optional<std::string> helpAnchor = {};          // page of the help book
  std::optional<std::string> logDescription = {};  // for logs, not localized
};

// What an operation of the library throws, or leaves in an ErrorSlot. One class
// derives from it per error enumeration; a variant inside holds the case with
// its values, by which two errors are compared:
//
//   class TapError : public platform::LocalizedError {
//    public:
//     struct Dry {
//       bool operator==(const Dry&) const = default;
//     };
//     struct Jammed {
//       std::string tap;
//       bool operator==(const Jammed&) const = default;
//     };
//     using Case = std::variant<Dry, Jammed>;
//
//     explicit TapError(Case errorCase)
//         : LocalizedError("Example.TapError",
//                          static_cast<int>(errorCase.index()),
//                          textsOf(errorCase)),
//           case_(std::move(errorCase)) {}
//
//     static TapError dry() { return TapError(Dry{}); }
//     static TapError jammed(std::string tap) {
//       return TapError(Jammed{std::move(tap)});
//     }
//
//     const Case& errorCase() const { return case_; }
//     friend bool operator==(const TapError& a, const TapError& b) {
//       return a.case_ == b.case_;
//     }
//
//    private:
//     static platform::ErrorTexts textsOf(const Case& errorCase);
//     Case case_;
//   };
//
//   throw TapError::jammed("kitchen");
//
// An error without texts leaves textsOf() out, one whose cases have no values
// takes an enumeration in place of the variant. The texts are those of the
// language at the time the error is made. Copies share them, so copying this
// part never fails; it is protected, so that no error loses its case on the
// way. Immutable, thus thread-safe but for assignment.
class LocalizedError : public std::exception {
 public:
  ~LocalizedError() override;

  // Which enumeration the error belongs to, such as
  // "QuillhavenUtilities.KeychainError".
  [[nodiscard]] const std::string& domain() const noexcept;
  // The number of the case within the domain.
  [[nodiscard]] int errorCode() const noexcept;

  [[nodiscard]] const std::optional<std::string>& errorDescription()
      const noexcept;
  [[nodiscard]] const std::optional<std::string>& failureReason()
      const noexcept;
  [[nodiscard]] const std::optional<std::string>& recoverySuggestion()
      const noexcept;
  [[nodiscard]] const std::optional<std::string>& helpAnchor() const noexcept;

  // Returns the description or, where the error has none, a sentence that names
  // its domain and code. For users.
  [[nodiscard]] const std::string& localizedDescription() const noexcept;
  // Returns the text for logs: the error's own or localizedDescription().
  [[nodiscard]] const std::string& description() const noexcept;
  // The same, for whoever knows only std::exception.
  [[nodiscard]] const char* what() const noexcept override;

  // Returns what the error was made with or, by default, its texts that are
  // present, under the keys above.
  [[nodiscard]] const ErrorUserInfo& userInfo() const noexcept;

 protected:
  LocalizedError(std::string_view domain, int code, ErrorTexts texts = {});
  // For an error with a user info of its own, which may be empty.
  LocalizedError(std::string_view domain, int code, ErrorTexts texts,
                 ErrorUserInfo userInfo);
  LocalizedError(const LocalizedError&) noexcept;
  LocalizedError& operator=(const LocalizedError&) noexcept;

 private:
  struct Content;
  std::shared_ptr<const Content> content_;  // never null
};

// Where an entry point that says no instead of throwing leaves its error,
// whole:
//
//   bool openTap(std::string_view name, ErrorSlot* error) {
//     return failWith(error, TapError::jammed(std::string(name)));
//   }
//
//   ErrorSlot error;
//   if (!openTap("kitchen", &error)) show(error->localizedDescription());
//   if (const auto* tap = error.as<TapError>()) ...
//
// Such a parameter may be null, for callers that want no error. One thread at a
// time.
class ErrorSlot {
 public:
  template <std::derived_from<LocalizedError> Error>
  void fill(Error error) {
    error_ = std::make_shared<const Error>(std::move(error));
  }
  void clear() noexcept { error_.reset(); }

  // True when an error is there; the operators below need one.
  explicit operator bool() const noexcept { return error_ != nullptr; }
  const LocalizedError& operator*() const noexcept { return *error_; }
  const LocalizedError* operator->() const noexcept { return error_.get(); }

  // Returns the error as its own type, or null when there is none or one of
  // another type. Lives until the slot changes.
  template <std::derived_from<LocalizedError> Error>
  [[nodiscard]] const Error* as() const noexcept {
    return dynamic_cast<const Error*>(error_.get());
  }

 private:
  std::shared_ptr<const LocalizedError> error_;
};

// Fills `slot` unless it is null; returns false for the caller to return.
template <std::derived_from<LocalizedError> Error>
bool failWith(ErrorSlot* slot, Error error) {
  if (slot != nullptr) slot->fill(std::move(error));
  return false;
}

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_LOCALIZED_ERROR_H_
