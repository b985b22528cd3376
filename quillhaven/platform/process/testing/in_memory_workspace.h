// A workspace without processes, for tests of what stands on one.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_TESTING_IN_MEMORY_WORKSPACE_H_
#define QUILLHAVEN_PLATFORM_PROCESS_TESTING_IN_MEMORY_WORKSPACE_H_

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/process/workspace.h"

namespace quillhaven::platform::testing {

// Does what the test says, and keeps account of what is asked of it.
class InMemoryApplication : public RunningApplication {
 public:
  InMemoryApplication(std::int32_t pid, std::string identifier)
      : pid_(pid), identifier_(std::move(identifier)) {}

  [[nodiscard]] std::int32_t processIdentifier() const override { return pid_; }
  [[nodiscard]] std::optional<std::string> bundleIdentifier() const override {
    return identifier_;
  }
  [[nodiscard]] std::optional<std::string> bundleURL() const override {
    return fileURLFromPath("/Applications/" + identifier_ + ".app");
  }
  [[nodiscard]] bool isTerminated() const override { return isTerminated_; }
  [[nodiscard]] bool isFinishedLaunching() const override {
    return isFinishedLaunching_;
  }
  bool terminate() override { return didReceive("terminate"); }
  bool forceTerminate() override { return didReceive("forceTerminate"); }
  void quitPreservingState(
      std::function<void(const QuitRequestError&)> didFail) override {
    if (quitFailure) {
      return didFail({QuitRequestError::Case::notReachable, *quitFailure});
    }
    didReceive("quitPreservingState");
  }
  bool bringToFront(bool allWindows) override {
    return didReceive(allWindows ? "bringAllToFront" : "bringToFront");
  }
  [[nodiscard]] std::optional<std::uint64_t> applicationSerialNumber()
      const override {
    return serialNumber;
  }

  void setTerminated() {
    isTerminated_ = true;
    didChangeValueForKey(kIsTerminatedKey);
  }
  void setFinishedLaunching(bool isFinished = true) {
    isFinishedLaunching_ = isFinished;
    didChangeValueForKey(kIsFinishedLaunchingKey);
  }
  // Tells of a change that is none.
  void touch() { didChangeValueForKey(kIsTerminatedKey); }

  // The requests in their order, and what happens at each.
  std::vector<std::string> requests;
  std::function<void(std::string_view request)> onRequest;
  std::optional<std::string> quitFailure;
  std::optional<std::uint64_t> serialNumber;

 private:
  bool didReceive(std::string_view request) {
    requests.emplace_back(request);
    if (onRequest) onRequest(request);
    return !isTerminated_;
  }

  const std::int32_t pid_;
  const std::string identifier_;
  std::atomic<bool> isTerminated_ = false;
  std::atomic<bool> isFinishedLaunching_ = false;
};

// Launches what `launch` returns, and lists `running`.
class InMemoryWorkspace : public Workspace {
 public:
  std::shared_ptr<RunningApplication> launchApplicationAtURL(
      std::string_view url, WorkspaceLaunchOptions options,
      const LaunchConfiguration& configuration) override {
    return launch(url, options, configuration);
  }
  std::vector<std::shared_ptr<RunningApplication>>
  runningApplicationsWithBundleIdentifier(
      std::string_view identifier) override {
    std::vector<std::shared_ptr<RunningApplication>> found;
    for (const auto& application : running) {
      if (application->bundleIdentifier() == identifier) {
        found.push_back(application);
      }
    }
    return found;
  }
  std::shared_ptr<RunningApplication> runningApplicationWithProcessIdentifier(
      std::int32_t processIdentifier) override {
    for (const auto& application : running) {
      if (application->processIdentifier() == processIdentifier) {
        return application;
      }
    }
    return nullptr;
  }
  std::optional<std::string> URLForApplicationWithBundleIdentifier(
      std::string_view) override {
    return std::nullopt;
  }

  std::function<std::shared_ptr<RunningApplication>(
      std::string_view url, WorkspaceLaunchOptions options,
      const LaunchConfiguration& configuration)>
      launch;
  std::vector<std::shared_ptr<RunningApplication>> running;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_PROCESS_TESTING_IN_MEMORY_WORKSPACE_H_
