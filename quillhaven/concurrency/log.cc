#include "quillhaven/concurrency/log.h"

#include <memory>

#include "quillhaven/concurrency/internal/log_subsystem.h"
#include "quillhaven/identity/bundle_info.h"

namespace quillhaven::concurrency {
namespace internal {

platform::Logger logOfBundle(const std::optional<std::string>& identifier) {
  // U+24C6, CIRCLED LATIN CAPITAL LETTER Q
  constexpr const char* kCategory = "\xE2\x93\x86 General";
  return {identifier.value_or("com.quillhaven.app"), kCategory};
}

}  // namespace internal

namespace {

std::optional<std::string> currentBundleIdentifier() {
  const auto identifier = identity::currentBundle().bundleIdentifier();
  if (!identifier) return std::nullopt;
  return std::string(*identifier);
}

}  // namespace

const platform::Logger& Log() {
  // Still there for what is logged while the process ends.
  static const platform::Logger& logger =
      *std::make_unique<const platform::Logger>(
           internal::logOfBundle(currentBundleIdentifier()))
           .release();
  return logger;
}

}  // namespace quillhaven::concurrency
