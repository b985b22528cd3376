#include "cli/gallery/develop_menu.h"

#include <QDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QTemporaryDir>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/dev_tools_defaults.h"
#include "quillhaven/devtools/dev_tools_delegate.h"
#include "quillhaven/platform/files/property_list.h"
#include "quillhaven/platform/files/user_defaults.h"
#include "quillhaven/platform/keychain/keychain_backend.h"
#include "quillhaven/platform/keychain/sealed_file_keychain.h"
#include "quillhaven/ui/icons.h"

namespace quillhaven::gallery {
namespace {

using devtools::InputSheetType;
using devtools::QHDevTools;

constexpr std::uint64_t kAllGroups =
    devtools::kQuickLogin | devtools::kWebComponentsServer |
    devtools::kCheckoutServer | devtools::kAccountWindows |
    devtools::kWebDeveloperTools | devtools::kLogging |
    devtools::kSwizzlingProfiler | devtools::kReleaseChannel |
    devtools::kUndoSendPlugin;

// Tells in the window's status bar what it is asked.
class DemonstrationDelegate : public devtools::QHDevToolsDelegate {
 public:
  explicit DemonstrationDelegate(QMainWindow& window) : window_(window) {}

  std::optional<std::string> tokenForDevTools(QHDevTools& /*tools*/) override {
    return "gallery-token";
  }
  bool isUndoSendPluginInstalledForDevTools(QHDevTools& /*tools*/) override {
    return true;
  }
  void switchToBetaForDevTools(QHDevTools& /*tools*/) override {
    tell("Switches to the beta channel");
  }
  void switchToReleaseForDevTools(QHDevTools& /*tools*/) override {
    tell("Switches to the release channel");
  }
  void showAccountConfigurationWindowForDevTools(
      QHDevTools& /*tools*/) override {
    tell("Shows the account's window");
  }
  void showCheckoutWindowForDevTools(QHDevTools& /*tools*/) override {
    tell("Shows the checkout window");
  }
  void reloadComponentForAllWebComponentViewsForDevTools(
      QHDevTools& /*tools*/) override {
    tell("Reloads the web components");
  }
  void setDisableMailLogs(QHDevTools& tools, bool isDisabled) override {
    tools.userDefaults().set(devtools::kDisableMailLogsKey,
                             platform::PropertyList(isDisabled));
    tell(isDisabled ? "Mail logs are off" : "Mail logs are on");
  }
  void setDisableQuillhavenLogs(QHDevTools& tools, bool isDisabled) override {
    tools.userDefaults().set(devtools::kDisableQuillhavenLogsKey,
                             platform::PropertyList(isDisabled));
    tell(isDisabled ? "Quillhaven logs are off" : "Quillhaven logs are on");
  }
  void importSwizzlingProfilerDataForDevTools(QHDevTools& /*tools*/) override {
    tell("Imports the profiler's data");
  }
  void loadSwizzlingProfilerResultsForDevTools(QHDevTools& /*tools*/) override {
    tell("Loads the profiler's results");
  }
  QIcon quillhavenAlertBadgeForDevTools(QHDevTools& /*tools*/) override {
    return ui::applicationIcon();
  }
  void relaunchMailForDevTools(QHDevTools& /*tools*/) override {
    tell("Relaunches Mail");
  }
  void resetUndoSendSettingsForDevTools(QHDevTools& /*tools*/) override {
    tell("Resets the settings of undo send");
  }
  QWidget* windowForAttachingSheetsForDevTools(QHDevTools& /*tools*/) override {
    return &window_;
  }
  void logoutAllWebComponentViewsForDevTools(QHDevTools& /*tools*/) override {
    tell("Logs out");
  }
  void loginWithEmail(QHDevTools& /*tools*/,
                      const std::optional<std::string>& email,
                      const std::optional<std::string>& /*password*/) override {
    tell("Logs in as " + email.value_or("nobody"));
  }

 private:
  void tell(const std::string& text) {
    window_.statusBar()->showMessage(QString::fromStdString(text));
  }

  QMainWindow& window_;
};

}  // namespace

class DevelopMenu::Private {
 public:
  explicit Private(QMainWindow& window)
      : delegate_(window),
        tools_(QHDevTools::initWithCapabilities(
            kAllGroups,
            platform::UserDefaults("gallery", folder_.path().toStdString()))) {
    platform::SealedFileOptions keychain;
    keychain.folder = folder_.filePath("keychain").toStdString();
    platform::setKeychainBackend(
        platform::makeSealedFileKeychain(std::move(keychain)));
    tools_->setDelegate(&delegate_);
    tools_->setAlertIcon(ui::applicationIcon());
    devtools::setDevToolsEnabled(tools_->userDefaults(), true);
    menu_ = tools_->newDevelopMenu();
    window.menuBar()->addMenu(menu_.get());
  }

  ~Private() { platform::setKeychainBackend(nullptr); }
  Private(const Private&) = delete;
  Private& operator=(const Private&) = delete;

  QTemporaryDir folder_;  // of defaults and keychain
  DemonstrationDelegate delegate_;
  std::unique_ptr<QHDevTools> tools_;
  std::unique_ptr<QMenu> menu_;
};

DevelopMenu::DevelopMenu(QMainWindow& window)
    : d(std::make_unique<Private>(window)) {}

DevelopMenu::~DevelopMenu() = default;

QMenu* DevelopMenu::menu() const { return d->menu_.get(); }

QList<DevelopWindow> DevelopMenu::windows() const {
  QHDevTools* const tools = d->tools_.get();
  const auto sheet = [tools](InputSheetType type) {
    return [tools, type]() -> std::unique_ptr<QWidget> {
      std::vector<QLineEdit*> fields;
      return tools->_inputSheetWindowForType(type, fields);
    };
  };
  return {
      {QStringLiteral("login-sheet"), sheet(InputSheetType::kLogin)},
      {QStringLiteral("server-sheet"), sheet(InputSheetType::kServerURL)},
      {QStringLiteral("swizzling-profiler-alert"),
       [tools] { return tools->swizzlingProfilerAlert(); }},
  };
}

}  // namespace quillhaven::gallery
