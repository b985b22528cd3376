// A delegate that writes down what it is asked.
#ifndef QUILLHAVEN_DEVTOOLS_TESTING_RECORDING_DELEGATE_H_
#define QUILLHAVEN_DEVTOOLS_TESTING_RECORDING_DELEGATE_H_

#include <QIcon>
#include <QPointer>
#include <QWidget>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/dev_tools_delegate.h"

namespace quillhaven::devtools::testing {

// The operations that every delegate has. Each writes down its name and, after
// a colon, its arguments or what it finds.
class MinimalDelegate : public QHDevToolsDelegate {
 public:
  void switchToBetaForDevTools(QHDevTools&) override { called("beta"); }
  void switchToReleaseForDevTools(QHDevTools&) override { called("release"); }
  void showAccountConfigurationWindowForDevTools(QHDevTools&) override {
    called("account window");
  }
  void showCheckoutWindowForDevTools(QHDevTools&) override {
    called("checkout window");
  }
  void reloadComponentForAllWebComponentViewsForDevTools(QHDevTools&) override {
    called("reload");
  }
  void setDisableMailLogs(QHDevTools&, bool isDisabled) override {
    called("disable mail logs: " + std::to_string(isDisabled));
  }
  void setDisableQuillhavenLogs(QHDevTools&, bool isDisabled) override {
    called("disable quillhaven logs: " + std::to_string(isDisabled));
  }
  void importSwizzlingProfilerDataForDevTools(QHDevTools&) override {
    called("import");
  }
  void loadSwizzlingProfilerResultsForDevTools(QHDevTools&) override {
    called("load");
  }
  QIcon quillhavenAlertBadgeForDevTools(QHDevTools&) override {
    called("badge");
    return badge;
  }
  void relaunchMailForDevTools(QHDevTools& devTools) override {
    called("relaunch: " + std::to_string(devTools.userDefaults().boolForKey(
                              "QHDevelopEnableSwizzlingProfiler")));
  }
  void resetUndoSendSettingsForDevTools(QHDevTools& devTools) override {
    called("reset: " + std::to_string(devTools.didResetUndoSendSettings()));
  }
  QWidget* windowForAttachingSheetsForDevTools(QHDevTools&) override {
    called("window");
    return window;
  }
  void logoutAllWebComponentViewsForDevTools(QHDevTools&) override {
    called("logout");
  }
  void loginWithEmail(QHDevTools&, const std::optional<std::string>& email,
                      const std::optional<std::string>& password) override {
    called("login: " + email.value_or("(absent)") + " " +
           password.value_or("(absent)"));
  }

  // What was called since the last time that somebody asked.
  std::vector<std::string> takeCalls() { return std::exchange(calls_, {}); }

  QPointer<QWidget> window;
  QIcon badge;

 private:
  void called(std::string call) { calls_.push_back(std::move(call)); }

  std::vector<std::string> calls_;
};

// One that has the optional operations too.
class RecordingDelegate : public MinimalDelegate {
 public:
  // Not written down: how often it is asked depends on the events.
  std::optional<std::string> tokenForDevTools(QHDevTools&) override {
    return token;
  }
  bool isUndoSendPluginInstalledForDevTools(QHDevTools&) override {
    return isUndoSendPluginInstalled;
  }

  std::optional<std::string> token;
  bool isUndoSendPluginInstalled = false;
};

}  // namespace quillhaven::devtools::testing

#endif  // QUILLHAVEN_DEVTOOLS_TESTING_RECORDING_DELEGATE_H_
