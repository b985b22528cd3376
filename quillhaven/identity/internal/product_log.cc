#include "quillhaven/identity/internal/product_log.h"

#include "quillhaven/identity/bundle_info.h"

namespace quillhaven::identity::internal {

const platform::Logger& productLog() {
  static const platform::Logger logger(
      currentBundle().bundleIdentifier().value_or(applicationBundleIdentifier),
      "Identity");
  return logger;
}

}  // namespace quillhaven::identity::internal
