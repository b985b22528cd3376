// The operations of `quillhaven eval` on typed errors.
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "cli/eval_error_answer.h"
#include "cli/eval_operation.h"
#include "quillhaven/identity/keychain_error.h"
#include "quillhaven/identity/quillhaven_error.h"

namespace quillhaven::cli {
namespace {

using identity::KeychainError;
using identity::QuillhavenError;
using AssociatedValues = std::vector<std::optional<std::string_view>>;

// Returns the value at `at` for a parameter that may be absent or not.
template <typename Parameter>
Parameter valueAt(const AssociatedValues& values, std::size_t at) {
  if (values[at]) return std::string(*values[at]);
  if constexpr (std::is_same_v<Parameter, std::string>) {
    throw EvalError("associated value " + std::to_string(at + 1) +
                    " must be a string (got null)");
  } else {
    return std::nullopt;
  }
}

// Calls the function that makes an error of one case with its values.
template <typename... Parameters, std::size_t... places>
QuillhavenError made(QuillhavenError (*make)(Parameters...),
                     const AssociatedValues& values,
                     std::index_sequence<places...>) {
  return make(valueAt<Parameters>(values, places)...);
}

template <typename... Parameters>
QuillhavenError made(QuillhavenError (*make)(Parameters...),
                     std::optional<AssociatedValues> values) {
  constexpr std::size_t kCount = sizeof...(Parameters);
  if (!values) values.emplace(kCount);  // all absent
  if (values->size() != kCount) {
    throw EvalError("the case has " + std::to_string(kCount) +
                    " associated values (got " +
                    std::to_string(values->size()) + ")");
  }
  return made(make, *values, std::index_sequence_for<Parameters...>());
}

template <auto make>
QuillhavenError madeFrom(std::optional<AssociatedValues> values) {
  return made(make, std::move(values));
}

constexpr struct {
  std::string_view name;
  QuillhavenError (*make)(std::optional<AssociatedValues> values);
} kQuillhavenErrors[] = {
    {"appSpecificPasswordMissing",
     madeFrom<QuillhavenError::appSpecificPasswordMissing>},
    {"serverConfigInvalid", madeFrom<QuillhavenError::serverConfigInvalid>},
    {"invalidCredentials", madeFrom<QuillhavenError::invalidCredentials>},
    {"custom", madeFrom<QuillhavenError::custom>},
    {"notAuthenticated", madeFrom<QuillhavenError::notAuthenticated>},
    {"notInPlan", madeFrom<QuillhavenError::notInPlan>},
    {"unknownAction", madeFrom<QuillhavenError::unknownAction>},
    {"cacheInvalid", madeFrom<QuillhavenError::cacheInvalid>},
    {"missingMessageID", madeFrom<QuillhavenError::missingMessageID>},
    {"missingEmailID", madeFrom<QuillhavenError::missingEmailID>},
    {"missingDatabaseID", madeFrom<QuillhavenError::missingDatabaseID>},
    {"missingTaskID", madeFrom<QuillhavenError::missingTaskID>},
    {"missingContactID", madeFrom<QuillhavenError::missingContactID>},
    {"missingContext", madeFrom<QuillhavenError::missingContext>},
    {"missingAPNIdentifier", madeFrom<QuillhavenError::missingAPNIdentifier>},
    {"missingAutomation", madeFrom<QuillhavenError::missingAutomation>},
    {"notOwnedByMe", madeFrom<QuillhavenError::notOwnedByMe>},
    {"confirmationPasswordDoesNotMatch",
     madeFrom<QuillhavenError::confirmationPasswordDoesNotMatch>},
    {"unknown", madeFrom<QuillhavenError::unknown>},
};

void quillhavenError(const Arguments& arguments, JsonWriter& result) {
  const std::string_view name = arguments.string("case");
  for (const auto& known : kQuillhavenErrors) {
    if (known.name != name) continue;
    const auto error =
        known.make(arguments.optionalStrings("associatedValues"));
    result.beginObject();
    writeError(error, result);
    result.endObject();
    return;
  }
  throw unknownCase(name);
}

KeychainError keychainErrorFrom(const Arguments& arguments) {
  const std::string_view name = arguments.string("case");
  if (name == "status") return KeychainError::status(arguments.int32("status"));
  if (name == "passwordEncoding") return KeychainError::passwordEncoding();
  if (name == "canSaveButNotRead") return KeychainError::canSaveButNotRead();
  throw unknownCase(name);
}

void keychainError(const Arguments& arguments, JsonWriter& result) {
  const KeychainError error = keychainErrorFrom(arguments);
  result.beginObject();
  writeError(error, result);
  result.key("description");
  result.value(error.description());
  result.endObject();
}

constexpr EvalOperation kOperations[] = {
    {"quillhavenError", quillhavenError},
    {"keychainError", keychainError},
};

}  // namespace

std::span<const EvalOperation> errorOperations() { return kOperations; }

}  // namespace quillhaven::cli
