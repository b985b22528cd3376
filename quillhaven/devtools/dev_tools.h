// The "Develop" menu that a host adds to its menu bar, with its switches and
// sheets.
#ifndef QUILLHAVEN_DEVTOOLS_DEV_TOOLS_H_
#define QUILLHAVEN_DEVTOOLS_DEV_TOOLS_H_

#include <QIcon>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/devtools/dev_tools_delegate.h"
#include "quillhaven/platform/files/user_defaults.h"

class QAction;
class QDialog;
class QLineEdit;
class QMenu;
class QMessageBox;
class QWidget;

namespace quillhaven::devtools {

// Which groups the menu shows, to be combined with |. No other bit counts.
inline constexpr std::uint64_t kQuickLogin = 1U << 1;
inline constexpr std::uint64_t kWebComponentsServer = 1U << 2;
inline constexpr std::uint64_t kCheckoutServer = 1U << 3;
inline constexpr std::uint64_t kAccountWindows = 1U << 4;
inline constexpr std::uint64_t kWebDeveloperTools = 1U << 5;
inline constexpr std::uint64_t kLogging = 1U << 6;
inline constexpr std::uint64_t kSwizzlingProfiler = 1U << 7;
inline constexpr std::uint64_t kReleaseChannel = 1U << 8;
inline constexpr std::uint64_t kUndoSendPlugin = 1U << 9;

// What a sheet asks for; any other number makes one with buttons only.
enum class InputSheetType : int { kLogin = 0, kServerURL = 1 };

// Whose server is overridden. For any other number no bookmark is kept.
enum class ServerType : int { kWebComponents = 0, kCheckout = 1 };

// How a sheet ended.
inline constexpr int kSheetCancelled = 0;
inline constexpr int kSheetAccepted = 1;
inline constexpr int kSheetFolderUnreadable = -1001;  // accepted, but no use

// Called once when a sheet has ended, with the URL in its field, trimmed and
// with illegal characters percent-escaped; absent where that is no URL. Must
// not throw.
using ServerURLSheetHandler =
    std::function<void(int response, const std::optional<std::string>& url)>;

// The same, with both fields as they are, UTF-8.
using LoginSheetHandler = std::function<void(
    int response, const std::string& email, const std::string& password)>;

// A rule of use was broken; what() says which.
class InternalInconsistencyException : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// Builds the menu, is the target of its items and asks for what they need. The
// host keeps it as long as the menu is in use; items of a menu that outlives it
// do nothing. Sheets that are open go with it, and with the window that they
// are attached to, without their handler being called.
//
// All switches are in the user defaults handed in. A change that cannot be
// written is reported in the log. The texts are deliberately not localized.
// Main thread only, with a QApplication.
class QHDevTools {
 public:
  // Not allowed: throws InternalInconsistencyException.
  static std::unique_ptr<QHDevTools> init();

  // Makes the tools for these groups, with the given store or else the standard
  // one, and begins to use the local folders chosen as servers. A server whose
  // folder is gone or replaced is given up, with its bookmark.
  [[nodiscard]] static std::unique_ptr<QHDevTools> initWithCapabilities(
      std::uint64_t capabilities);
  [[nodiscard]] static std::unique_ptr<QHDevTools> initWithCapabilities(
      std::uint64_t capabilities,
      std::optional<platform::UserDefaults> userDefaults);

  QHDevTools(const QHDevTools&) = delete;
  QHDevTools& operator=(const QHDevTools&) = delete;
  ~QHDevTools();

  // Whether "Reset Settings" has been chosen, which it can be once.
  [[nodiscard]] bool didResetUndoSendSettings() const;
  // Whether the profiler was switched on when this was made, and so runs.
  [[nodiscard]] bool initialSwizzlingProfilerEnabled() const;
  // Null while there is none and once it is gone. Not kept alive. Items that it
  // is the target of belong to the one at the time the menu was built.
  [[nodiscard]] QHDevToolsDelegate* delegate() const;
  void setDelegate(QHDevToolsDelegate* delegate);
  // The icon of the alerts that report an error; a null one leaves them theirs.
  [[nodiscard]] QIcon alertIcon() const;
  void setAlertIcon(const QIcon& icon);
  [[nodiscard]] std::uint64_t capabilities() const;
  [[nodiscard]] platform::UserDefaults& userDefaults() const;

  // Every title passes through here. Returns it unchanged: the menu is for
  // developers and not translated.
  [[nodiscard]] static QString unlocalizedStringForString(
      const QString& string);

  // Whether the host is to show the menu.
  [[nodiscard]] bool showDevelopMenu() const;

  // Returns a new menu titled "Develop". An item's objectName() is the name of
  // its action below, its data() the tag. Items are brought up to date whenever
  // the menu or their submenu opens, and before they act.
  [[nodiscard]] std::unique_ptr<QMenu> newDevelopMenu();

  // Brings title, submenu, check mark and visibility of an item up to date and
  // returns whether it is to be enabled; goes by its objectName().
  bool validateMenuItem(QAction& item);

  // What the items do.
  void doQuickLogin(QAction& sender);  // tag: the plan tier
  void setLoginCredentials(QAction& sender);
  void copyToken(QAction& sender);
  void switchToBeta(QAction& sender);
  void switchToRelease(QAction& sender);
  void setOverrideWebComponentsServer(QAction& sender);
  void changeWebComponentsServerOverride(QAction& sender);
  void setOverrideCheckoutServer(QAction& sender);
  void changeCheckoutServerOverride(QAction& sender);
  void setEnableDevTools(QAction& sender);
  void setAutoClearWebComponentsCache(QAction& sender);
  void setReInjectWebComponentsToken(QAction& sender);
  void setDebugTrackingDetails(QAction& sender);
  void setLogBackendRequestBody(QAction& sender);
  void setLogBackendResponseBody(QAction& sender);
  void setDisableMailLogs(QAction& sender);
  void setDisableQuillhavenLogs(QAction& sender);
  void enableSwizzlingProfiler(QAction& sender);
  void importSwizzlingProfilerData(QAction& sender);
  void loadSwizzlingProfilerResults(QAction& sender);
  void resetUndoSendSettings(QAction& sender);
  void setHideDevelopMenu(QAction& sender);

  // Returns the alert that enableSwizzlingProfiler() runs, not yet shown. Its
  // buttons are "Relaunch", "Later" and "Cancel".
  [[nodiscard]] std::unique_ptr<QMessageBox> swizzlingProfilerAlert();

  // Returns a new sheet, not yet shown, and its editable fields: e-mail address
  // and password, or the URL. Its buttons end it as the operations below say.
  [[nodiscard]] std::unique_ptr<QDialog> _inputSheetWindowForType(
      InputSheetType type, std::vector<QLineEdit*>& textFields);

  // Asks for the server, with `defaultURL` in the field where it is given. A
  // local folder or file must be readable: else an alert says so, and the
  // response is kSheetFolderUnreadable. A bookmark is kept of an accepted file
  // URL.
  void _showChooseServerURLSheetWithDefaultURL(
      std::optional<std::string_view> defaultURL, ServerType type,
      ServerURLSheetHandler completionHandler);

  // Asks for an e-mail address and a password.
  void _showLoginSheetWithCompletionHandler(
      LoginSheetHandler completionHandler);

  // What the buttons of a sheet do; `sender` is a view inside it.
  void acceptInputSheet(QWidget& sender);
  void cancelInputSheet(QWidget& sender);
  // Lets the user choose a folder and accepts the sheet with its URL.
  void chooseLocalFolder(QWidget& sender);

  // Ends all sessions and starts one with the credentials stored for a tier.
  void _loginAccountWithPlanTier(int tier);

  // Begin to use the local folder that a server's bookmark stands for, or give
  // up the server.
  void _resolveWebComponentsSecurityScopedBookmark();
  void _resolveCheckoutSecurityScopedBookmark();

 private:
  struct Private;

  QHDevTools(std::uint64_t capabilities,
             std::optional<platform::UserDefaults> userDefaults);

  std::unique_ptr<Private> d_;
};

}  // namespace quillhaven::devtools

#endif  // QUILLHAVEN_DEVTOOLS_DEV_TOOLS_H_
