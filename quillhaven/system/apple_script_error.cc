#include "quillhaven/system/apple_script_error.h"

#include <cstdint>
#include <cstdio>
#include <utility>

#include "quillhaven/platform/base/localization.h"

namespace quillhaven::system {
namespace {

using platform::ErrorTexts;
using platform::ErrorUserInfo;
using platform::localizationKey;
using platform::localizedString;

constexpr const char* kExecutionFailed =
    localizationKey("AppleScript execution failed");

ErrorTexts textsOf(const AppleScriptError::UserCanceled&) {
  return {.errorDescription = localizedString("User canceled")};
}

ErrorTexts textsOf(
    const AppleScriptError::AppleScriptObjectInitialization& error) {
  return {.errorDescription = localizedString(kExecutionFailed),
          .recoverySuggestion =
              localizedString("AppleScript object could not be initialized "
                              "for source: ") +
              error.source};
}

ErrorTexts textsOf(const AppleScriptError::ExecutionError& error) {
  return {.errorDescription = localizedString(kExecutionFailed),
          .recoverySuggestion = error.briefMessage};
}

ErrorTexts textsOf(const AppleScriptError::Base64Encoding&) {
  return {.errorDescription = localizedString("Base64 script encoding failed")};
}

std::string jsonString(std::string_view text) {
  std::string json = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      json.append("\\").push_back(c);
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      json += escape;
    } else {
      json.push_back(c);
    }
  }
  return json + '"';
}

struct AsJson {
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::int64_t value) const {
    return std::to_string(value);
  }
  std::string operator()(double value) const { return std::to_string(value); }
  std::string operator()(const std::string& value) const {
    return jsonString(value);
  }
};

std::string jsonObject(const platform::ScriptErrorDictionary& dictionary) {
  std::string json = "{";
  for (const auto& [key, value] : dictionary) {
    if (json.size() > 1) json += ", ";
    json += jsonString(key) + ": " + std::visit(AsJson(), value);
  }
  return json + '}';
}

ErrorUserInfo userInfoOf(const AppleScriptError::Case& errorCase) {
  const auto* const error =
      std::get_if<AppleScriptError::ExecutionError>(&errorCase);
  if (error == nullptr) return {};
  return {
      {std::string(kErrorDictionaryKey), jsonObject(error->errorDictionary)}};
}

}  // namespace

AppleScriptError::AppleScriptError(Case errorCase)
    : LocalizedError(
          kAppleScriptErrorDomain, static_cast<int>(errorCase.index()) + 1,
          std::visit([](const auto& error) { return textsOf(error); },
                     errorCase),
          userInfoOf(errorCase)),
      case_(std::move(errorCase)) {}

AppleScriptError AppleScriptError::userCanceled() {
  return AppleScriptError(UserCanceled{});
}

AppleScriptError AppleScriptError::appleScriptObjectInitialization(
    std::string source) {
  return AppleScriptError(AppleScriptObjectInitialization{std::move(source)});
}

AppleScriptError AppleScriptError::executionError(
    std::string briefMessage, platform::ScriptErrorDictionary errorDictionary) {
  return AppleScriptError(
      ExecutionError{std::move(briefMessage), std::move(errorDictionary)});
}

AppleScriptError AppleScriptError::base64Encoding() {
  return AppleScriptError(Base64Encoding{});
}

}  // namespace quillhaven::system
