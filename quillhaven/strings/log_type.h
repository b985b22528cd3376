// Under which type of the log an error belongs.
#ifndef QUILLHAVEN_STRINGS_LOG_TYPE_H_
#define QUILLHAVEN_STRINGS_LOG_TYPE_H_

#include <exception>
#include <string_view>
#include <system_error>

#include "quillhaven/platform/base/log.h"

namespace quillhaven::strings {

// Failures of loading a URL, which are everyday matters. The numbers are those
// of the platform's URL-loading error domain.
enum class URLError {
  kCancelled = -999,
  kNotConnectedToInternet = -1009,
};

// The category of URLError, called "NSURLErrorDomain". A host that loads URLs
// reports its failures in it; other codes of the platform's are welcome too.
[[nodiscard]] const std::error_category& urlErrorCategory() noexcept;
[[nodiscard]] std::error_code make_error_code(URLError error) noexcept;

// Returns the type under which an error goes to the log: kDefault (2) for the
// two failures of URLError, kError (3) for every other error. The errno of a
// cancelled call or an absent network is such another one.
[[nodiscard]] platform::LogType logType(std::string_view domain, int code);
[[nodiscard]] platform::LogType logType(const std::error_code& error);
// The domain and code of a LocalizedError count, or the code of a
// std::system_error; any other exception gives kError.
[[nodiscard]] platform::LogType logType(const std::exception& error);

}  // namespace quillhaven::strings

template <>
struct std::is_error_code_enum<quillhaven::strings::URLError> : std::true_type {
};

#endif  // QUILLHAVEN_STRINGS_LOG_TYPE_H_
