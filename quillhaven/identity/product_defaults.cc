#include "quillhaven/identity/product_defaults.h"

#include <memory>
#include <string>
#include <utility>

#include "quillhaven/identity/bundle_info.h"
#include "quillhaven/identity/internal/product_log.h"

namespace quillhaven::identity {
namespace {

platform::UserDefaults openCurrent() {
  const auto& main = platform::Bundle::mainBundle();
  if (main.bundleIdentifier() == mailBundleIdentifier) {
    if (auto suite = platform::UserDefaults::suite(pluginBundleIdentifier)) {
      return std::move(*suite);
    }
    // The misspelt word is what support looks for in logs: deliberate.
    internal::productLog().log(platform::LogType::kError,
                               "Couldn't iniatilize UserDefaults for suite \"" +
                                   std::string(pluginBundleIdentifier) +
                                   "\". Falling back to \"standard\"");
  }
  return platform::UserDefaults::standard();
}

}  // namespace

platform::UserDefaults& currentUserDefaults() {
  static platform::UserDefaults& defaults =
      *std::make_unique<platform::UserDefaults>(openCurrent()).release();
  return defaults;
}

std::optional<platform::Uuid> uuid(const platform::UserDefaults& defaults,
                                   std::string_view key) {
  const auto text = defaults.stringForKey(key);
  return text ? platform::Uuid::fromString(*text) : std::nullopt;
}

}  // namespace quillhaven::identity
