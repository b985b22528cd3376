// One value behind a lock of its own.
#ifndef QUILLHAVEN_CONCURRENCY_ATOMIC_H_
#define QUILLHAVEN_CONCURRENCY_ATOMIC_H_

#include <concepts>
#include <functional>
#include <memory>
#include <utility>

#include "quillhaven/concurrency/unfair_lock.h"

namespace quillhaven::concurrency {

// Keeps a value that several threads read and write. Reading gives a copy. A
// copy of the wrapper has a value of its own and shares the lock, so what works
// on both takes turns. Nothing but the value's own copying happens under the
// lock, and the block of adjust(); neither may use the same wrapper, or a copy
// of it, again. Thread-safe; no order between different wrappers is promised.
template <typename Value>
class Atomic {
 public:
  explicit Atomic(Value wrappedValue)
      : lock_(std::make_shared<UnfairLock>()),
        value_(std::move(wrappedValue)) {}

  Atomic(const Atomic& other)
      : lock_(other.lock_), value_(other.wrappedValue()) {}

  // Takes the other's value and its lock. Unlike the rest, one thread at a
  // time: nobody else may use this wrapper meanwhile.
  Atomic& operator=(const Atomic& other) {
    if (this == &other) return *this;
    Value value = other.wrappedValue();
    lock_ = other.lock_;
    value_ = std::move(value);
    return *this;
  }

  // Returns a copy of the value.
  [[nodiscard]] Value wrappedValue() const {
    return lock_->around([this]() -> Value { return value_; });
  }

  // Replaces the value.
  void setWrappedValue(Value value) {
    // The old value is destroyed after the lock is released.
    lock_->around([&] { std::swap(value_, value); });
  }

  // Lets `change` alter a copy of the value, as counter.modify([](int& n) {
  // n += 2; }), and stores the copy. Reading and storing are two critical
  // sections: what another thread stores in between is lost, deliberate. Use
  // adjust() where that matters.
  template <std::invocable<Value&> Change>
  void modify(Change&& change) {
    Value copy = wrappedValue();
    std::invoke(std::forward<Change>(change), copy);
    setWrappedValue(std::move(copy));
  }

  // Replaces the value by what `block` returns for it, in one critical section.
  // When the block throws, the value stays as it is.
  template <std::invocable<Value> Block>
  requires std::convertible_to<std::invoke_result_t<Block, Value>, Value>
  void adjust(Block&& block) {
    const std::shared_ptr<UnfairLock> lock = lock_;  // outlives the wrapper
    lock->around([&] {
      Value next = [&]() -> Value {
        // The block's copy is gone before the value changes.
        return std::invoke(std::forward<Block>(block), Value(value_));
      }();
      value_ = std::move(next);
    });
  }

  // Replaces the value by its negation.
  void toggle() requires std::same_as<Value, bool> {
    adjust([](bool value) { return !value; });
  }

 private:
  std::shared_ptr<UnfairLock> lock_;
  Value value_;  // guarded by *lock_
};

}  // namespace quillhaven::concurrency

#endif  // QUILLHAVEN_CONCURRENCY_ATOMIC_H_
