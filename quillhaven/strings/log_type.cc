#include "quillhaven/strings/log_type.h"

#include <string>

#include "quillhaven/platform/base/localized_error.h"

namespace quillhaven::strings {
namespace {

using platform::LogType;

constexpr std::string_view kDomain = "NSURLErrorDomain";

// Settings and servers know the types by these numbers.
static_assert(static_cast<int>(LogType::kDefault) == 2);
static_assert(static_cast<int>(LogType::kError) == 3);

class URLErrorCategory : public std::error_category {
 public:
  [[nodiscard]] const char* name() const noexcept override {
    return kDomain.data();
  }

  [[nodiscard]] std::string message(int code) const override {
    switch (static_cast<URLError>(code)) {
      case URLError::kCancelled:
        return "loading was cancelled";
      case URLError::kNotConnectedToInternet:
        return "there is no internet connection";
    }
    return "loading a URL failed (" + std::to_string(code) + ")";
  }
};

LogType logTypeOf(int code) {
  const auto error = static_cast<URLError>(code);
  return error == URLError::kCancelled ||
                 error == URLError::kNotConnectedToInternet
             ? LogType::kDefault
             : LogType::kError;
}

}  // namespace

const std::error_category& urlErrorCategory() noexcept {
  static const URLErrorCategory category;
  return category;
}

std::error_code make_error_code(URLError error) noexcept {
  return {static_cast<int>(error), urlErrorCategory()};
}

LogType logType(std::string_view domain, int code) {
  return domain == kDomain ? logTypeOf(code) : LogType::kError;
}

// By name: a host may bring the category of the same name from elsewhere.
LogType logType(const std::error_code& error) {
  return logType(error.category().name(), error.value());
}

LogType logType(const std::exception& error) {
  if (const auto* const typed =
          dynamic_cast<const platform::LocalizedError*>(&error)) {
    return logType(typed->domain(), typed->errorCode());
  }
  const auto* const failure = dynamic_cast<const std::system_error*>(&error);
  return failure != nullptr ? logType(failure->code()) : LogType::kError;
}

}  // namespace quillhaven::strings
