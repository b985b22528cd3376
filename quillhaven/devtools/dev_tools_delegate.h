// What the host of the Develop menu does for it.
#ifndef QUILLHAVEN_DEVTOOLS_DEV_TOOLS_DELEGATE_H_
#define QUILLHAVEN_DEVTOOLS_DEV_TOOLS_DELEGATE_H_

#include <memory>
#include <optional>
#include <string>

#include <QIcon>

class QWidget;

namespace quillhaven::devtools {

class QHDevTools;

// A host derives from this, overrides what it offers and hands itself to
// QHDevTools::setDelegate(), which does not keep it alive: calls to a delegate
// that is gone do nothing. Every operation is told which tools ask. None may
// throw. Main thread only.
class QHDevToolsDelegate {
 public:
  QHDevToolsDelegate() = default;
  QHDevToolsDelegate(const QHDevToolsDelegate&) = delete;
  QHDevToolsDelegate& operator=(const QHDevToolsDelegate&) = delete;
  virtual ~QHDevToolsDelegate() = default;

  // Optional: a host that has none leaves these two as they are.

  // Returns the session's token, UTF-8, for "Copy Token"; absent when there is
  // none. Also asked whenever the menu opens.
  virtual std::optional<std::string> tokenForDevTools(QHDevTools& devTools) {
    static_cast<void>(devTools);
    return std::nullopt;
  }
  // Returns whether the menu gets its group for the undo-send plug-in. Asked
  // while the menu is built.
  virtual bool isUndoSendPluginInstalledForDevTools(QHDevTools& devTools) {
    static_cast<void>(devTools);
    return false;
  }

  // The release channel was chosen.
  virtual void switchToBetaForDevTools(QHDevTools& devTools) = 0;
  virtual void switchToReleaseForDevTools(QHDevTools& devTools) = 0;

  virtual void showAccountConfigurationWindowForDevTools(
      QHDevTools& devTools) = 0;
  virtual void showCheckoutWindowForDevTools(QHDevTools& devTools) = 0;

  // A switch or the server of the web components changed.
  virtual void reloadComponentForAllWebComponentViewsForDevTools(
      QHDevTools& devTools) = 0;

  // Turns logging off or on and stores the new value under
  // kDisableMailLogsKey or kDisableQuillhavenLogsKey.
  virtual void setDisableMailLogs(QHDevTools& devTools, bool isDisabled) = 0;
  virtual void setDisableQuillhavenLogs(QHDevTools& devTools,
                                        bool isDisabled) = 0;

  virtual void importSwizzlingProfilerDataForDevTools(QHDevTools& devTools) = 0;
  virtual void loadSwizzlingProfilerResultsForDevTools(
      QHDevTools& devTools) = 0;
  // Returns the icon of the alert that offers to relaunch Mail; a null one
  // leaves the alert its own.
  virtual QIcon quillhavenAlertBadgeForDevTools(QHDevTools& devTools) = 0;
  virtual void relaunchMailForDevTools(QHDevTools& devTools) = 0;

  virtual void resetUndoSendSettingsForDevTools(QHDevTools& devTools) = 0;

  // Returns the window that a sheet is attached to. Without one (null) the
  // sheet is not shown.
  virtual QWidget* windowForAttachingSheetsForDevTools(
      QHDevTools& devTools) = 0;

  // Quick login: the first ends all sessions, the second, called right after
  // it, starts one. Texts are UTF-8; what the keychain lacks is absent.
  virtual void logoutAllWebComponentViewsForDevTools(QHDevTools& devTools) = 0;
  virtual void loginWithEmail(QHDevTools& devTools,
                              const std::optional<std::string>& email,
                              const std::optional<std::string>& password) = 0;

 private:
  friend class QHDevTools;

  // Ends with this object, and with it every weak reference.
  std::shared_ptr<QHDevToolsDelegate> self_{this, [](QHDevToolsDelegate*) {}};
};

}  // namespace quillhaven::devtools

#endif  // QUILLHAVEN_DEVTOOLS_DEV_TOOLS_DELEGATE_H_
