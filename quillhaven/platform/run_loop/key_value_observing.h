// Observation of an object's properties by their names.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_KEY_VALUE_OBSERVING_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_KEY_VALUE_OBSERVING_H_

#include <any>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace quillhaven::platform {

enum class KeyValueObservingOptions : unsigned {
  kNone = 0,
  kNew = 1,      // changes carry the value
  kInitial = 4,  // the handler is called once before observe() returns
};

constexpr KeyValueObservingOptions operator|(KeyValueObservingOptions a,
                                             KeyValueObservingOptions b) {
  return static_cast<KeyValueObservingOptions>(static_cast<unsigned>(a) |
                                               static_cast<unsigned>(b));
}

// What an observer is told. The key lives only during the call.
struct KeyValueChange {
  std::string_view key;  // the observed one, also when another changed it
  std::any newValue;     // with kNew, read when the change was noticed
};

namespace internal {
class KeyValueObserver;
}

// An observer's handle: its handler is called until the handle goes. No call
// begins after that; on another thread one under way may still finish. Handle
// and object may go in any order. One thread at a time.
class [[nodiscard]] KeyValueObservation {
 public:
  KeyValueObservation() = default;  // of nothing
  KeyValueObservation(KeyValueObservation&&) noexcept = default;
  KeyValueObservation& operator=(KeyValueObservation&& other) noexcept;
  ~KeyValueObservation() { invalidate(); }

  // Ends the observation now. May be called again.
  void invalidate() noexcept;

 private:
  friend class KeyValueObservable;
  explicit KeyValueObservation(
      std::shared_ptr<internal::KeyValueObserver> observer);

  std::shared_ptr<internal::KeyValueObserver> observer_;
};

// An object whose properties can be observed. A class that derives from it
// answers valueForKey() for its keys and says didChangeValueForKey() after each
// change. Thread-safe, if valueForKey() is.
class KeyValueObservable {
 public:
  using Handler = std::function<void(const KeyValueChange&)>;

  KeyValueObservable() = default;
  virtual ~KeyValueObservable();
  KeyValueObservable(const KeyValueObservable&) = delete;
  KeyValueObservable& operator=(const KeyValueObservable&) = delete;

  // Calls `handler` after each change of `key`, on the thread that made it,
  // without any lock held. Changes on several threads may call it at once, and
  // a change made while the observation begins may be told twice, but is never
  // missed.
  KeyValueObservation observe(std::string_view key,
                              KeyValueObservingOptions options,
                              Handler handler);

  // Returns the value of `key`; one that the object does not have is a fatal
  // error.
  [[nodiscard]] virtual std::any valueForKey(std::string_view key) const;

  // Returns the keys, each of whose changes is one of `key`; views of
  // constants. The same for all objects of a class. Followed from key to key.
  [[nodiscard]] virtual std::span<const std::string_view>
  keyPathsForValuesAffectingValue(std::string_view key) const;

 protected:
  // Tells the observers of `key` and of the keys that it affects.
  void didChangeValueForKey(std::string_view key);

 private:
  // For a base class that follows its own keys; called after each change.
  virtual void valueDidChange(std::string_view /*key*/) {}

  struct Observers;

  Observers& observers();
  void tell(Observers& observers, std::string_view key);

  // Most objects have none: made by the first observe(), and kept.
  std::atomic<Observers*> observers_{nullptr};
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_KEY_VALUE_OBSERVING_H_
