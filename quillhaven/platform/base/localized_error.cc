#include "quillhaven/platform/base/localized_error.h"

#include "quillhaven/platform/base/localization.h"

namespace quillhaven::platform {
namespace {

ErrorUserInfo userInfoOf(const ErrorTexts& texts) {
  ErrorUserInfo info;
  const auto add = [&info](std::string_view key,
                           const std::optional<std::string>& text) {
    if (text) info.emplace(key, *text);
  };
  add(kLocalizedDescriptionKey, texts.errorDescription);
  add(kLocalizedFailureReasonKey, texts.failureReason);
  add(kLocalizedRecoverySuggestionKey, texts.recoverySuggestion);
  add(kHelpAnchorKey, texts.helpAnchor);
  return info;
}

std::string defaultDescription(std::string_view domain, int code) {
  return localizedStringWithFormat(
      "The operation couldn’t be completed. (%1$@ error %2$i.)",
      {domain, code});
}

}  // namespace

struct LocalizedError::Content {
  std::string domain;
  int code;
  ErrorTexts texts;
  std::string localizedDescription;
  ErrorUserInfo userInfo;
};

LocalizedError::LocalizedError(std::string_view domain, int code,
                               ErrorTexts texts)
    : LocalizedError(domain, code, texts, userInfoOf(texts)) {}

LocalizedError::LocalizedError(std::string_view domain, int code,
                               ErrorTexts texts, ErrorUserInfo userInfo) {
  std::string description = texts.errorDescription
                                ? *texts.errorDescription
                                : defaultDescription(domain, code);
  content_ = std::make_shared<const Content>(
      Content{std::string(domain), code, std::move(texts),
              std::move(description), std::move(userInfo)});
}

// A copy, never a move, so that what was moved from can still be asked.
LocalizedError::LocalizedError(const LocalizedError&) noexcept = default;
LocalizedError& LocalizedError::operator=(const LocalizedError&) noexcept =
    default;
LocalizedError::~LocalizedError() = default;

const std::string& LocalizedError::domain() const noexcept {
  return content_->domain;
}

int LocalizedError::errorCode() const noexcept { return content_->code; }

const std::optional<std::string>& LocalizedError::errorDescription()
    const noexcept {
  return content_->texts.errorDescription;
}

const std::optional<std::string>& LocalizedError::failureReason()
    const noexcept {
  return content_->texts.failureReason;
}

const std::optional<std::string>& LocalizedError::recoverySuggestion()
    const noexcept {
  return content_->texts.recoverySuggestion;
}

const std::optional<std::string>& LocalizedError::helpAnchor() const noexcept {
  return content_->texts.helpAnchor;
}

const std::string& LocalizedError::localizedDescription() const noexcept {
  return content_->localizedDescription;
}

const std::string& LocalizedError::description() const noexcept {
  const auto& own = content_->texts.logDescription;
  return own ? *own : content_->localizedDescription;
}

const char* LocalizedError::what() const noexcept {
  return description().c_str();
}

const ErrorUserInfo& LocalizedError::userInfo() const noexcept {
  return content_->userInfo;
}

}  // namespace quillhaven::platform
