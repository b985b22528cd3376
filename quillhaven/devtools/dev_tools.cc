#include "quillhaven/devtools/dev_tools.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>
#include <system_error>
#include <utility>

#include "quillhaven/devtools/dev_tools_defaults.h"
#include "quillhaven/devtools/internal/dev_tools_private.h"
#include "quillhaven/platform/base/log.h"
#include "quillhaven/ui/alerts.h"

namespace quillhaven::devtools {
namespace {

using platform::PropertyList;
using platform::UserDefaults;

// The web inspector's own keys, in the standard store.
constexpr char kInspectorGroupKey[] =
    "__WebInspectorPageGroupLevel1__.WebKit2InspectorStartsAttached";
constexpr char kInspectorSettingKey[] =
    "WebKit Web Inspector Setting - inspectorStartsAttached";

constexpr int kRelaunchResponse = ui::kAlertFirstButtonResponse;
constexpr int kLaterResponse = kRelaunchResponse + 1;

void logFailedWrite(const std::system_error& error) {
  static const platform::Logger logger("com.quillhaven.utilities", "devtools");
  logger.log(platform::LogType::kError,
             std::string("A switch could not be stored: ") + error.what());
}

}  // namespace

const ServerKeys kWebComponentsKeys{kWebComponentsBaseURLKey,
                                    kWebComponentsRecentBaseURLKey,
                                    kWebComponentsBookmarkKey};
const ServerKeys kCheckoutKeys{kCheckoutBaseURLKey, kCheckoutRecentBaseURLKey,
                               kCheckoutBookmarkKey};

QHDevTools::Private::Private(QHDevTools& tools, std::uint64_t mask,
                             UserDefaults store)
    : owner(tools),
      initialSwizzlingProfilerEnabled(swizzlingProfilerEnabled(store)),
      capabilities(mask),
      userDefaults(std::move(store)) {}

QHDevTools::Private::~Private() {
  for (const QPointer<QDialog>& sheet : sheets) {
    const std::unique_ptr<QDialog> gone(sheet.data());
  }
}

void QHDevTools::Private::write(UserDefaults& store, const char* key,
                                PropertyList value) {
  try {
    store.set(key, std::move(value));
  } catch (const std::system_error& error) {
    logFailedWrite(error);
  }
}

void QHDevTools::Private::remove(UserDefaults& store,
                                 std::initializer_list<const char*> keys) {
  try {
    store.update([&](PropertyList::Dictionary& values) {
      for (const char* key : keys) values.erase(key);
    });
  } catch (const std::system_error& error) {
    logFailedWrite(error);
  }
}

bool QHDevTools::Private::flip(const char* key) {
  write(userDefaults, key, !userDefaults.boolForKey(key));
  return userDefaults.boolForKey(key);
}

std::unique_ptr<QHDevTools> QHDevTools::init() {
  throw InternalInconsistencyException(
      "QHDevTools must be initialized with initWithCapabilities:.");
}

std::unique_ptr<QHDevTools> QHDevTools::initWithCapabilities(
    std::uint64_t capabilities) {
  return initWithCapabilities(capabilities, std::nullopt);
}

std::unique_ptr<QHDevTools> QHDevTools::initWithCapabilities(
    std::uint64_t capabilities, std::optional<UserDefaults> userDefaults) {
  return std::unique_ptr<QHDevTools>(
      new QHDevTools(capabilities, std::move(userDefaults)));
}

QHDevTools::QHDevTools(std::uint64_t capabilities,
                       std::optional<UserDefaults> userDefaults)
    : d_(std::make_unique<Private>(
          *this, capabilities,
          userDefaults ? *std::move(userDefaults) : UserDefaults::standard())) {
  _resolveWebComponentsSecurityScopedBookmark();
  _resolveCheckoutSecurityScopedBookmark();
}

QHDevTools::~QHDevTools() = default;

bool QHDevTools::didResetUndoSendSettings() const {
  return d_->didResetUndoSendSettings;
}

bool QHDevTools::initialSwizzlingProfilerEnabled() const {
  return d_->initialSwizzlingProfilerEnabled;
}

QHDevToolsDelegate* QHDevTools::delegate() const {
  return d_->delegate.lock().get();
}

void QHDevTools::setDelegate(QHDevToolsDelegate* delegate) {
  d_->delegate.reset();
  if (delegate) d_->delegate = delegate->self_;
}

QIcon QHDevTools::alertIcon() const { return d_->alertIcon; }

void QHDevTools::setAlertIcon(const QIcon& icon) { d_->alertIcon = icon; }

std::uint64_t QHDevTools::capabilities() const { return d_->capabilities; }

UserDefaults& QHDevTools::userDefaults() const { return d_->userDefaults; }

QString QHDevTools::unlocalizedStringForString(const QString& string) {
  return string;
}

bool QHDevTools::showDevelopMenu() const {
  return showQuillhavenDevelopMenu(d_->userDefaults);
}

void QHDevTools::copyToken(QAction& /*sender*/) {
  const auto host = d_->delegate.lock();
  const auto token = host ? host->tokenForDevTools(*this) : std::nullopt;
  if (!token) return;
  QGuiApplication::clipboard()->setText(QString::fromStdString(*token));
}

void QHDevTools::switchToBeta(QAction& /*sender*/) {
  d_->tellDelegate(&QHDevToolsDelegate::switchToBetaForDevTools);
}

void QHDevTools::switchToRelease(QAction& /*sender*/) {
  d_->tellDelegate(&QHDevToolsDelegate::switchToReleaseForDevTools);
}

bool QHDevTools::Private::toggleOverride(const QAction& item,
                                         const ServerKeys& keys) {
  if (item.isChecked()) {
    remove(userDefaults, {keys.baseURL});
    return true;
  }
  const auto recent = userDefaults.stringForKey(keys.recentBaseURL);
  if (!recent) return false;
  write(userDefaults, keys.baseURL, *recent);
  return true;
}

void QHDevTools::Private::changeOverride(ServerType type,
                                         const ServerKeys& keys,
                                         std::function<void()> changed) {
  const auto current = userDefaults.stringForKey(keys.baseURL);
  owner._showChooseServerURLSheetWithDefaultURL(
      current, type,
      [this, keys, changed = std::move(changed)](
          int response, const std::optional<std::string>& url) {
        if (response != kSheetAccepted || !url) return;
        write(userDefaults, keys.baseURL, *url);
        write(userDefaults, keys.recentBaseURL, *url);
        if (changed) changed();
      });
}

void QHDevTools::setOverrideWebComponentsServer(QAction& sender) {
  if (!d_->toggleOverride(sender, kWebComponentsKeys)) {
    changeWebComponentsServerOverride(sender);
    return;
  }
  d_->tellDelegate(
      &QHDevToolsDelegate::reloadComponentForAllWebComponentViewsForDevTools);
}

void QHDevTools::changeWebComponentsServerOverride(QAction& /*sender*/) {
  d_->changeOverride(ServerType::kWebComponents, kWebComponentsKeys, [this] {
    d_->tellDelegate(
        &QHDevToolsDelegate::reloadComponentForAllWebComponentViewsForDevTools);
  });
}

// The checkout pages are no web-component views, so nothing is reloaded;
// deliberate.
void QHDevTools::setOverrideCheckoutServer(QAction& sender) {
  if (!d_->toggleOverride(sender, kCheckoutKeys)) {
    changeCheckoutServerOverride(sender);
  }
}

void QHDevTools::changeCheckoutServerOverride(QAction& /*sender*/) {
  d_->changeOverride(ServerType::kCheckout, kCheckoutKeys, {});
}

void QHDevTools::setEnableDevTools(QAction& /*sender*/) {
  const bool isEnabled = d_->flip(kEnableDevToolsKey);
  UserDefaults& standard = UserDefaults::standard();
  if (isEnabled) {
    // The inspector opens in a window of its own.
    Private::write(standard, kInspectorGroupKey, false);
    Private::write(standard, kInspectorSettingKey, "false");
  } else {
    Private::remove(standard, {kInspectorGroupKey, kInspectorSettingKey});
  }
  Private::write(d_->userDefaults, kAutoClearCacheKey, isEnabled);
  Private::write(d_->userDefaults, kReInjectTokenKey, isEnabled);
  d_->tellDelegate(
      &QHDevToolsDelegate::reloadComponentForAllWebComponentViewsForDevTools);
}

void QHDevTools::setAutoClearWebComponentsCache(QAction& /*sender*/) {
  d_->flip(kAutoClearCacheKey);
  d_->tellDelegate(
      &QHDevToolsDelegate::reloadComponentForAllWebComponentViewsForDevTools);
}

void QHDevTools::setReInjectWebComponentsToken(QAction& /*sender*/) {
  d_->flip(kReInjectTokenKey);
  d_->tellDelegate(
      &QHDevToolsDelegate::reloadComponentForAllWebComponentViewsForDevTools);
}

void QHDevTools::setDebugTrackingDetails(QAction& /*sender*/) {
  d_->flip(kDebugTrackingDetailsKey);
  d_->tellDelegate(
      &QHDevToolsDelegate::reloadComponentForAllWebComponentViewsForDevTools);
}

void QHDevTools::setLogBackendRequestBody(QAction& /*sender*/) {
  d_->flip(kLogBackendRequestBodyKey);
}

void QHDevTools::setLogBackendResponseBody(QAction& /*sender*/) {
  d_->flip(kLogBackendResponseBodyKey);
}

// The delegate owns these two: it applies and stores the new value.
void QHDevTools::setDisableMailLogs(QAction& /*sender*/) {
  const bool isDisabled = !d_->userDefaults.boolForKey(kDisableMailLogsKey);
  if (const auto host = d_->delegate.lock()) {
    host->setDisableMailLogs(*this, isDisabled);
  }
}

void QHDevTools::setDisableQuillhavenLogs(QAction& /*sender*/) {
  const bool isDisabled =
      !d_->userDefaults.boolForKey(kDisableQuillhavenLogsKey);
  if (const auto host = d_->delegate.lock()) {
    host->setDisableQuillhavenLogs(*this, isDisabled);
  }
}

std::unique_ptr<QMessageBox> QHDevTools::swizzlingProfilerAlert() {
  const auto host = d_->delegate.lock();
  const QIcon icon =
      host ? host->quillhavenAlertBadgeForDevTools(*this) : QIcon();
  return internal::makeAlert(
      QMessageBox::Critical, icon,
      unlocalizedStringForString(swizzlingProfilerEnabled(d_->userDefaults)
                                     ? "Disable Swizzling Profiler"
                                     : "Enable Swizzling Profiler"),
      // "affect" is how the text is known; deliberate.
      unlocalizedStringForString(
          "Mail needs to be relaunched for the changes to take affect. Would "
          "you like to relaunch now?"),
      {unlocalizedStringForString("Relaunch"),
       unlocalizedStringForString("Later"),
       unlocalizedStringForString("Cancel")});
}

void QHDevTools::enableSwizzlingProfiler(QAction& /*sender*/) {
  // Back to what the running process has needs no relaunch.
  if (swizzlingProfilerEnabled(d_->userDefaults) !=
      d_->initialSwizzlingProfilerEnabled) {
    d_->flip(kEnableSwizzlingProfilerKey);
    return;
  }

  const QPointer<QObject> alive(&d_->context);
  const int response = ui::runModal(*swizzlingProfilerAlert());
  // Neither button: cancelled, or the alert went with the application.
  if (!alive || (response != kRelaunchResponse && response != kLaterResponse)) {
    return;
  }
  d_->flip(kEnableSwizzlingProfilerKey);
  if (response == kRelaunchResponse) {
    d_->tellDelegate(&QHDevToolsDelegate::relaunchMailForDevTools);
  }
}

void QHDevTools::importSwizzlingProfilerData(QAction& /*sender*/) {
  d_->tellDelegate(&QHDevToolsDelegate::importSwizzlingProfilerDataForDevTools);
}

void QHDevTools::loadSwizzlingProfilerResults(QAction& /*sender*/) {
  d_->tellDelegate(
      &QHDevToolsDelegate::loadSwizzlingProfilerResultsForDevTools);
}

void QHDevTools::resetUndoSendSettings(QAction& /*sender*/) {
  d_->didResetUndoSendSettings = true;
  d_->tellDelegate(&QHDevToolsDelegate::resetUndoSendSettingsForDevTools);
}

void QHDevTools::setHideDevelopMenu(QAction& /*sender*/) {
  Private::write(d_->userDefaults, kShowMenuKey, false);
}

std::unique_ptr<QMessageBox> internal::makeAlert(
    QMessageBox::Icon style, const QIcon& icon, const QString& message,
    const QString& informativeText, const std::vector<QString>& buttons) {
  auto alert = std::make_unique<QMessageBox>();
  alert->setTextFormat(Qt::PlainText);  // what is shown may be what was typed
  alert->setIcon(style);
  if (!icon.isNull()) {
    const int size = alert->style()->pixelMetric(QStyle::PM_MessageBoxIconSize,
                                                 nullptr, alert.get());
    alert->setIconPixmap(icon.pixmap(size));
  }
  alert->setText(message);
  alert->setInformativeText(informativeText);
  // One role for all keeps them in this order on every desktop.
  QPushButton* last = nullptr;
  for (const QString& title : buttons) {
    last = alert->addButton(title, QMessageBox::ActionRole);
  }
  if (last) alert->setEscapeButton(last);
  return alert;
}

}  // namespace quillhaven::devtools
