#include "quillhaven/platform/run_loop/key_value_observing.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::platform {
namespace internal {

// One observation, shared by the object and the handle.
class KeyValueObserver {
 public:
  KeyValueObserver(const KeyValueObservable& object, std::string_view key,
                   KeyValueObservingOptions options,
                   KeyValueObservable::Handler handler)
      : keys_{std::string(key)},
        options_(static_cast<unsigned>(options)),
        handler_(std::make_shared<const KeyValueObservable::Handler>(
            std::move(handler))) {
    // The list grows while it is walked.
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      for (const std::string_view other :
           object.keyPathsForValuesAffectingValue(keys_[i])) {
        if (!isAffectedBy(other)) keys_.emplace_back(other);
      }
    }
  }

  [[nodiscard]] bool isAffectedBy(std::string_view key) const {
    return std::find(keys_.begin(), keys_.end(), key) != keys_.end();
  }

  [[nodiscard]] bool wants(KeyValueObservingOptions option) const {
    return (options_ & static_cast<unsigned>(option)) != 0;
  }

  [[nodiscard]] bool isOver() {
    const std::lock_guard guard(lock_);
    return handler_ == nullptr;
  }

  void tell(const KeyValueObservable& object) {
    const auto handler = [this] {
      const std::lock_guard guard(lock_);
      return handler_;
    }();
    if (!handler) return;
    KeyValueChange change{keys_.front(), {}};
    if (wants(KeyValueObservingOptions::kNew)) {
      change.newValue = object.valueForKey(change.key);
    }
    (*handler)(change);
  }

  void end() {
    std::shared_ptr<const KeyValueObservable::Handler> last;  // goes unlocked
    const std::lock_guard guard(lock_);
    std::swap(last, handler_);
  }

 private:
  std::vector<std::string> keys_;  // the observed one, then what affects it
  const unsigned options_;
  std::mutex lock_;
  // Guarded by lock_; null once the observation is over.
  std::shared_ptr<const KeyValueObservable::Handler> handler_;
};

}  // namespace internal

KeyValueObservation::KeyValueObservation(
    std::shared_ptr<internal::KeyValueObserver> observer)
    : observer_(std::move(observer)) {}

KeyValueObservation& KeyValueObservation::operator=(
    KeyValueObservation&& other) noexcept {
  if (this != &other) {
    invalidate();
    observer_ = std::move(other.observer_);
  }
  return *this;
}

void KeyValueObservation::invalidate() noexcept {
  if (const auto observer = std::move(observer_)) observer->end();
}

struct KeyValueObservable::Observers {
  std::mutex lock;
  std::vector<std::shared_ptr<internal::KeyValueObserver>> list;  // guarded
};

KeyValueObservable::~KeyValueObservable() {
  const std::unique_ptr<Observers> last(observers_.load());
}

KeyValueObservable::Observers& KeyValueObservable::observers() {
  Observers* there = observers_.load();
  if (there == nullptr) {
    auto made = std::make_unique<Observers>();
    if (observers_.compare_exchange_strong(there, made.get())) {
      there = made.release();
    }
  }
  return *there;
}

KeyValueObservation KeyValueObservable::observe(
    std::string_view key, KeyValueObservingOptions options, Handler handler) {
  auto observer = std::make_shared<internal::KeyValueObserver>(
      *this, key, options, std::move(handler));
  {
    Observers& all = observers();
    const std::lock_guard guard(all.lock);
    std::erase_if(all.list, [](const auto& old) { return old->isOver(); });
    all.list.push_back(observer);
  }
  if (observer->wants(KeyValueObservingOptions::kInitial)) {
    observer->tell(*this);
  }
  return KeyValueObservation(std::move(observer));
}

std::any KeyValueObservable::valueForKey(std::string_view key) const {
  fatalError(std::string("the object has no value for the key \"")
                 .append(key)
                 .append("\""));
}

std::span<const std::string_view>
KeyValueObservable::keyPathsForValuesAffectingValue(std::string_view) const {
  return {};
}

void KeyValueObservable::didChangeValueForKey(std::string_view key) {
  // Read by writing: either this sees that there are observers, or the first
  // one, who reads the value after it has said so, sees the change.
  if (Observers* const all = observers_.fetch_add(0)) tell(*all, key);
  valueDidChange(key);
}

void KeyValueObservable::tell(Observers& observers, std::string_view key) {
  std::vector<std::shared_ptr<internal::KeyValueObserver>> affected;
  {
    const std::lock_guard guard(observers.lock);
    for (const auto& observer : observers.list) {
      if (observer->isAffectedBy(key)) affected.push_back(observer);
    }
  }
  for (const auto& observer : affected) observer->tell(*this);
}

}  // namespace quillhaven::platform
