// The product's user defaults.
#ifndef QUILLHAVEN_IDENTITY_PRODUCT_DEFAULTS_H_
#define QUILLHAVEN_IDENTITY_PRODUCT_DEFAULTS_H_

#include <optional>
#include <string_view>

#include "quillhaven/platform/files/user_defaults.h"
#include "quillhaven/platform/url/uuid.h"

namespace quillhaven::identity {

// Returns the defaults of the running component: inside the Mail application
// the suite of the plug-in, whose settings are not Mail's, else the standard
// defaults. Determined on first use and kept. When the suite cannot be opened
// the log says so, and the standard defaults serve. Thread-safe.
[[nodiscard]] platform::UserDefaults& currentUserDefaults();

// Returns the UUID whose canonical text is stored under `key`, or nothing.
// Thread-safe.
[[nodiscard]] std::optional<platform::Uuid> uuid(
    const platform::UserDefaults& defaults, std::string_view key);

}  // namespace quillhaven::identity

#endif  // QUILLHAVEN_IDENTITY_PRODUCT_DEFAULTS_H_
