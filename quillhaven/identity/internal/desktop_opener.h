// Opens URLs with what the user's desktop has for them.
#ifndef QUILLHAVEN_IDENTITY_INTERNAL_DESKTOP_OPENER_H_
#define QUILLHAVEN_IDENTITY_INTERNAL_DESKTOP_OPENER_H_

#include <string>

namespace quillhaven::identity::internal {

// Starts xdg-open with `url` and does not wait for it, nor for the browser it
// may become. Returns false if it cannot be found or started. Thread-safe.
bool openWithDesktop(const std::string& url);

}  // namespace quillhaven::identity::internal

#endif  // QUILLHAVEN_IDENTITY_INTERNAL_DESKTOP_OPENER_H_
