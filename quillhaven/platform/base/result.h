// The outcome of work that may fail: a value or a failure.
#ifndef QUILLHAVEN_PLATFORM_BASE_RESULT_H_
#define QUILLHAVEN_PLATFORM_BASE_RESULT_H_

#include <cstddef>
#include <optional>
#include <utility>
#include <variant>

namespace quillhaven::platform {

// Holds one of the two, which may be of the same type; work without a value
// uses std::monostate. A value type like what it holds.
template <typename Value, typename Failure>
class [[nodiscard]] Result {
 public:
  static Result success(Value value) {
    return Result(std::in_place_index<kValue>, std::move(value));
  }
  static Result failure(Failure failure) {
    return Result(std::in_place_index<kFailure>, std::move(failure));
  }

  [[nodiscard]] bool isSuccess() const { return outcome_.index() == kValue; }

  // Copies of what it holds, or nothing; a result that is about to go gives it
  // away instead.
  [[nodiscard]] std::optional<Value> value() const& {
    return copyOf<kValue, Value>();
  }
  [[nodiscard]] std::optional<Value> value() && {
    return moved<kValue, Value>();
  }
  [[nodiscard]] std::optional<Failure> error() const& {
    return copyOf<kFailure, Failure>();
  }
  [[nodiscard]] std::optional<Failure> error() && {
    return moved<kFailure, Failure>();
  }

  friend bool operator==(const Result&, const Result&) = default;

 private:
  static constexpr std::size_t kValue = 0;
  static constexpr std::size_t kFailure = 1;

  template <std::size_t kIndex, typename Held>
  Result(std::in_place_index_t<kIndex> index, Held&& held)
      : outcome_(index, std::forward<Held>(held)) {}

  template <std::size_t kIndex, typename Held>
  [[nodiscard]] std::optional<Held> copyOf() const {
    const Held* const held = std::get_if<kIndex>(&outcome_);
    return held == nullptr ? std::nullopt : std::optional<Held>(*held);
  }
  template <std::size_t kIndex, typename Held>
  [[nodiscard]] std::optional<Held> moved() {
    Held* const held = std::get_if<kIndex>(&outcome_);
    return held == nullptr ? std::nullopt
                           : std::optional<Held>(std::move(*held));
  }

  std::variant<Value, Failure> outcome_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_RESULT_H_
