// What a developer writes where a server is asked for: a URL or a path.
#ifndef QUILLHAVEN_DEVTOOLS_INTERNAL_SERVER_ADDRESS_H_
#define QUILLHAVEN_DEVTOOLS_INTERNAL_SERVER_ADDRESS_H_

#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::devtools::internal {

// A URL with or without a scheme.
struct ServerAddress {
  std::string absoluteString;  // the text, illegal characters percent-escaped
  bool hasScheme = false;
  bool isFileURL = false;
  // The decoded path of a file URL on this machine or of a URL without a
  // scheme, if it is not empty; absent for all others.
  std::optional<std::string> path;

  // Whether this may lie on this machine, so that its path must be readable.
  [[nodiscard]] bool isLocal() const { return isFileURL || !hasScheme; }

  bool operator==(const ServerAddress&) const = default;
};

// Returns the address that `text` (valid UTF-8) is. Characters that no URL may
// hold, blanks among them, are percent-escaped, so that a path can be written
// as it is. Nothing for empty text and for what is no URL even then.
[[nodiscard]] std::optional<ServerAddress> serverAddressFromText(
    std::string_view text);

// Whether the file or folder at `path` exists and this process may read it.
[[nodiscard]] bool isReadable(const std::string& path);

// The URL of a folder: that of its path, with a slash at the end, against which
// the names of its files resolve.
[[nodiscard]] std::string folderURLFromPath(const std::string& path);

}  // namespace quillhaven::devtools::internal

#endif  // QUILLHAVEN_DEVTOOLS_INTERNAL_SERVER_ADDRESS_H_
