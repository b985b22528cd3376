#include "quillhaven/concurrency/asynchronous_operation.h"

#include <memory>
#include <utility>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/run_loop/main_queue.h"

namespace quillhaven::concurrency {
namespace {

constexpr std::string_view kState = "state";

}  // namespace

std::function<void()> AsynchronousOperation::completionHandler() const {
  return completionHandler_.wrappedValue();
}

void AsynchronousOperation::setCompletionHandler(
    std::function<void()> handler) {
  completionHandler_.setWrappedValue(std::move(handler));
}

void AsynchronousOperation::start() {
  if (isCancelled()) return finish();
  state_ = State::kExecuting;
  didChangeValueForKey(kState);
  main();
}

void AsynchronousOperation::main() {
  platform::fatalError("Implement in subclass to perform task");
}

void AsynchronousOperation::finish() {
  const auto self =
      std::static_pointer_cast<AsynchronousOperation>(shared_from_this());
  // From ready, as after a cancelled start, the state stays: deliberate.
  State expected = State::kExecuting;
  if (state_.compare_exchange_strong(expected, State::kFinished)) {
    didChangeValueForKey(kState);
  }
  platform::mainQueueAsync([self] {
    if (const auto handler = self->completionHandler()) handler();
  });
}

bool AsynchronousOperation::isReady() const {
  return state_ == State::kReady && Operation::isReady();
}

bool AsynchronousOperation::isExecuting() const {
  return state_ == State::kExecuting;
}

bool AsynchronousOperation::isFinished() const {
  return state_ == State::kFinished;
}

std::function<void()> AsynchronousOperation::completionBlock() const {
  return nullptr;
}

void AsynchronousOperation::setCompletionBlock(std::function<void()>) {}

std::any AsynchronousOperation::valueForKey(std::string_view key) const {
  if (key == kState) return static_cast<int>(state_.load());
  return Operation::valueForKey(key);
}

std::span<const std::string_view>
AsynchronousOperation::keyPathsForValuesAffectingValue(
    std::string_view key) const {
  static constexpr std::string_view kStateAlone[] = {kState};
  if (key == "isReady" || key == "isExecuting" || key == "isFinished") {
    return kStateAlone;
  }
  return Operation::keyPathsForValuesAffectingValue(key);
}

}  // namespace quillhaven::concurrency
