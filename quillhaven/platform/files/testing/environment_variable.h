// An environment variable as one test wants it.
#ifndef QUILLHAVEN_PLATFORM_FILES_TESTING_ENVIRONMENT_VARIABLE_H_
#define QUILLHAVEN_PLATFORM_FILES_TESTING_ENVIRONMENT_VARIABLE_H_

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace quillhaven::platform::testing {

// Sets the variable, or takes it away, for its life.
class EnvironmentVariable {
 public:
  EnvironmentVariable(std::string name, const std::optional<std::string>& value)
      : name_(std::move(name)) {
    if (const char* const before = std::getenv(name_.c_str())) before_ = before;
    set(value);
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
  ~EnvironmentVariable() { set(before_); }

 private:
  void set(const std::optional<std::string>& value) const {
    if (value) {
      ::setenv(name_.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> before_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_FILES_TESTING_ENVIRONMENT_VARIABLE_H_
