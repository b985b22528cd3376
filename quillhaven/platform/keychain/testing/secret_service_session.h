// A desktop session for tests: a private bus, on it a real keychain service,
// and a display where prompts are to be shown.
#ifndef QUILLHAVEN_PLATFORM_KEYCHAIN_TESTING_SECRET_SERVICE_SESSION_H_
#define QUILLHAVEN_PLATFORM_KEYCHAIN_TESTING_SECRET_SERVICE_SESSION_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillhaven::platform::testing {

// A running child, ended with its owner and with this process.
class ChildProcess {
 public:
  ChildProcess() = default;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() { stop(); }

  // Starts a program found on the path. `input` is what it reads on standard
  // input; descriptor 3 is the write end of a pipe. Aborts when that fails.
  void start(std::vector<std::string> command, const std::string& input = {});

  // Returns the first line it writes to descriptor 3.
  std::string readLine();
  // Waits for its end and returns its exit status.
  int wait();
  void stop();

 private:
  pid_t pid_ = -1;
  int output_ = -1;
};

// What a session starts with.
struct SessionOptions {
  bool hasDisplay = false;
  // Keychain services and prompters that the bus would start by itself.
  bool hasActivatableServices = true;
};

// Sets the variables that name the session's bus, folders and display for this
// process, which therefore makes one before anything else uses a bus. Aborts
// the process when a program is missing or does not get ready.
class SecretServiceSession {
 public:
  static constexpr const char kPassword[] = "pw";

  explicit SecretServiceSession(SessionOptions options = {});
  SecretServiceSession(const SecretServiceSession&) = delete;
  SecretServiceSession& operator=(const SecretServiceSession&) = delete;
  ~SecretServiceSession();

  // Starts the service with its login keyring, made on first use, unlocked; or
  // as a user finds it who has none. Ends one that runs.
  void startKeyring(bool withLoginKeyring = true);
  void stopKeyring();

  // The folder of the session's files.
  [[nodiscard]] const std::string& folder() const { return folder_; }

 private:
  std::string folder_;
  ChildProcess display_;
  ChildProcess windowManager_;
  ChildProcess bus_;
  ChildProcess keyring_;
};

}  // namespace quillhaven::platform::testing

#endif  // QUILLHAVEN_PLATFORM_KEYCHAIN_TESTING_SECRET_SERVICE_SESSION_H_
