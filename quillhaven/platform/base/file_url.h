// "file" URLs (RFC 8089) and the paths they name.
#ifndef QUILLHAVEN_PLATFORM_BASE_FILE_URL_H_
#define QUILLHAVEN_PLATFORM_BASE_FILE_URL_H_

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::platform {

// Returns the "file:///..." URL of `path`: made absolute against the current
// folder, lexically normalised, every byte outside RFC 3986's path characters
// percent-escaped. Links are not resolved and nothing need exist there.
[[nodiscard]] std::string fileURLFromPath(std::string_view path);

// Returns the path that a "file" URL names, or nothing if `url` is not one: the
// scheme differs in more than letter case, the host is neither empty nor
// "localhost", an escape is malformed or stands for a NUL.
[[nodiscard]] std::optional<std::string> pathFromFileURL(std::string_view url);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_FILE_URL_H_
