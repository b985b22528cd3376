// Blocks that run once in the life of the process.
#ifndef QUILLHAVEN_CONCURRENCY_ONCE_H_
#define QUILLHAVEN_CONCURRENCY_ONCE_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <source_location>
#include <string_view>

namespace quillhaven::concurrency {

// Runs `block` the first time that `token` is seen in the process. Blocks run
// one after the other, under a lock that the same thread may take again, so
// they must be short: within a block, its own token does nothing and another
// runs at once. A token whose block has thrown counts as seen. Thread-safe.
void once(std::string_view token, const std::function<void()>& block);

// The same for a token of "file:function:line:context", so that each call site
// runs once, or once a context. An absent context is the empty one.
void once(std::string_view file, std::string_view function, std::uint32_t line,
          std::optional<std::string_view> context,
          const std::function<void()>& block);

// The same with the caller's own file, function and line.
void once(
    const std::function<void()>& block,
    std::optional<std::string_view> context = std::nullopt,
    const std::source_location& location = std::source_location::current());

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_ONCE_H_
