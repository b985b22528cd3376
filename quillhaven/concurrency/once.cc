#include "quillhaven/concurrency/once.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>

namespace quillhaven::concurrency {
namespace {

struct Tracker {
  std::recursive_mutex lock;
  std::unordered_set<std::string> tokens;  // guarded by lock
};

Tracker& tracker() {
  // Still there for blocks that run while the process ends.
  static Tracker& shared = *std::make_unique<Tracker>().release();
  return shared;
}

}  // namespace

void once(std::string_view token, const std::function<void()>& block) {
  Tracker& seen = tracker();
  const std::lock_guard guard(seen.lock);
  if (seen.tokens.emplace(token).second) block();
}

void once(std::string_view file, std::string_view function, std::uint32_t line,
          std::optional<std::string_view> context,
          const std::function<void()>& block) {
  std::string token;
  token.append(file).append(":").append(function).append(":");
  token.append(std::to_string(line)).append(":");
  token.append(context.value_or(std::string_view()));
  once(token, block);
}

void once(const std::function<void()>& block,
          std::optional<std::string_view> context,
          const std::source_location& location) {
  once(location.file_name(), location.function_name(), location.line(), context,
       block);
}

}  // namespace quillhaven::concurrency
