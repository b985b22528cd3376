// App bundles made by tests around the program that plays the application.
#ifndef QUILLHAVEN_PLATFORM_PROCESS_TESTING_APPLICATION_BUNDLES_H_
#define QUILLHAVEN_PLATFORM_PROCESS_TESTING_APPLICATION_BUNDLES_H_

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/base/file_url.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/process/workspace.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::platform::testing {

inline std::string informationPropertyList(std::string_view identifier,
                                           std::string_view executable) {
  return std::string(R"(<?xml version="1.0"?><plist version="1.0"><dict>)")
      .append("<key>CFBundleIdentifier</key><string>")
      .append(identifier)
      .append("</string><key>CFBundleExecutable</key><string>")
      .append(executable)
      .append("</string></dict></plist>");
}

// Makes NAME.app in `folder`, where the name may have folders before it;
// returns its URL. Its program is the one of the tests, or the script.
inline std::string makeBundle(const TemporaryFolder& folder,
                              const std::string& name,
                              std::string_view identifier,
                              std::string_view script = {}) {
  const std::string contents = name + ".app/Contents/";
  const std::string executable = name.substr(name.rfind('/') + 1);
  folder.write(contents + "Info.plist",
               informationPropertyList(identifier, executable));
  const std::string program = contents + "MacOS/" + executable;
  if (script.empty()) {
    folder.link(program, APPLICATION_PROGRAM);
  } else {
    folder.write(program, "#!/bin/sh\n" + std::string(script));
    std::filesystem::permissions(folder.path(program),
                                 std::filesystem::perms::owner_all);
  }
  return fileURLFromPath(folder.path(name + ".app"));
}

inline LaunchConfiguration withArguments(std::vector<std::string> arguments) {
  return {{LaunchConfigurationKey::kArguments, std::move(arguments)}};
}

// Turns the main loop until `condition` is true; false when it never is.
[[nodiscard]] inline bool turnUntil(const std::function<bool()>& condition) {
  const auto loop = RunLoop::main();
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    loop.runOnce(std::chrono::milliseconds(5));
  }
  return true;
}

// Turns the main loop until nothing is left to serve.
inline void settle() {
  while (RunLoop::main().runOnce(std::chrono::milliseconds(0))) {
  }
}

// Ends an application at the end of its own life, and waits for that.
class EndOf {
 public:
  explicit EndOf(std::shared_ptr<RunningApplication> application)
      : application_(std::move(application)) {}
  EndOf(const EndOf&) = delete;
  EndOf& operator=(const EndOf&) = delete;
  ~EndOf() {
    application_->forceTerminate();
    if (turnUntil([this] { return application_->isTerminated(); })) settle();
  }

 private:
  const std::shared_ptr<RunningApplication> application_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_PROCESS_TESTING_APPLICATION_BUNDLES_H_
