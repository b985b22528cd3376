// Building the Develop menu, and validating its items.
#include <QKeySequence>
#include <QMenu>
#include <QVariant>
#include <algorithm>
#include <array>
#include <string_view>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/dev_tools_defaults.h"
#include "quillhaven/devtools/internal/dev_tools_private.h"
#include "quillhaven/devtools/internal/develop_menu.h"
#include "quillhaven/devtools/menu_builders.h"
#include "quillhaven/devtools/plan_tier_credentials.h"
#include "quillhaven/platform/keychain/os_status.h"

namespace quillhaven::devtools {
namespace {

using internal::DevelopMenu;
using internal::ItemValidation;

constexpr Qt::KeyboardModifiers kCommandShift =
    Qt::ControlModifier | Qt::ShiftModifier;
constexpr int kQuickLoginTiers = 4;

// The actions of the items, by the name that an item's objectName() has.
struct NamedAction {
  std::string_view name;
  void (QHDevTools::*action)(QAction& sender);
};
constexpr std::array kActions = {
    NamedAction{"doQuickLogin", &QHDevTools::doQuickLogin},
    NamedAction{"setLoginCredentials", &QHDevTools::setLoginCredentials},
    NamedAction{"copyToken", &QHDevTools::copyToken},
    NamedAction{"switchToBeta", &QHDevTools::switchToBeta},
    NamedAction{"switchToRelease", &QHDevTools::switchToRelease},
    NamedAction{"setOverrideWebComponentsServer",
                &QHDevTools::setOverrideWebComponentsServer},
    NamedAction{"changeWebComponentsServerOverride",
                &QHDevTools::changeWebComponentsServerOverride},
    NamedAction{"setOverrideCheckoutServer",
                &QHDevTools::setOverrideCheckoutServer},
    NamedAction{"changeCheckoutServerOverride",
                &QHDevTools::changeCheckoutServerOverride},
    NamedAction{"setEnableDevTools", &QHDevTools::setEnableDevTools},
    NamedAction{"setAutoClearWebComponentsCache",
                &QHDevTools::setAutoClearWebComponentsCache},
    NamedAction{"setReInjectWebComponentsToken",
                &QHDevTools::setReInjectWebComponentsToken},
    NamedAction{"setDebugTrackingDetails",
                &QHDevTools::setDebugTrackingDetails},
    NamedAction{"setLogBackendRequestBody",
                &QHDevTools::setLogBackendRequestBody},
    NamedAction{"setLogBackendResponseBody",
                &QHDevTools::setLogBackendResponseBody},
    NamedAction{"setDisableMailLogs", &QHDevTools::setDisableMailLogs},
    NamedAction{"setDisableQuillhavenLogs",
                &QHDevTools::setDisableQuillhavenLogs},
    NamedAction{"enableSwizzlingProfiler",
                &QHDevTools::enableSwizzlingProfiler},
    NamedAction{"importSwizzlingProfilerData",
                &QHDevTools::importSwizzlingProfilerData},
    NamedAction{"loadSwizzlingProfilerResults",
                &QHDevTools::loadSwizzlingProfilerResults},
    NamedAction{"resetUndoSendSettings", &QHDevTools::resetUndoSendSettings},
    NamedAction{"setHideDevelopMenu", &QHDevTools::setHideDevelopMenu},
};

auto actionNamed(std::string_view name) {
  const auto* found = std::find_if(
      kActions.begin(), kActions.end(),
      [name](const NamedAction& action) { return action.name == name; });
  return found == kActions.end() ? nullptr : found->action;
}

void setTitle(QAction& item, const QString& title) {
  if (auto* const ours = qobject_cast<ui::MenuItem*>(&item)) {
    ours->setTitle(title);
  } else {
    QString text = title;
    item.setText(text.replace(u'&', QLatin1String("&&")));
  }
}

void setChecked(QAction& item, bool isOn) {
  item.setCheckable(true);
  item.setChecked(isOn);
}

}  // namespace

ui::MenuItem* QHDevTools::Private::addItem(DevelopMenu& menu, const char* title,
                                           const char* action) {
  const Action perform = actionNamed(action);
  auto* const item = devTools_addItemWithTitle(
      menu, unlocalizedStringForString(QString::fromUtf8(title)),
      [this, perform](QAction& sender) { choose(sender, perform); }, &context,
      {});
  item->setObjectName(QLatin1String(action));
  ItemValidation::attach(
      *item, [this, alive = QPointer<QObject>(&context)](QAction& sender) {
        return alive && owner.validateMenuItem(sender);
      });
  return item;
}

// An item whose target is the delegate, which says nothing about validation:
// it is enabled as long as its target is there.
void QHDevTools::Private::addDelegateItem(
    DevelopMenu& menu, const char* title, const char* action,
    void (QHDevToolsDelegate::*operation)(QHDevTools&)) {
  auto* const item = devTools_addItemWithTitle(
      menu, unlocalizedStringForString(QString::fromUtf8(title)),
      [this, operation, target = delegate](QAction&) {
        if (const auto host = target.lock()) ((*host).*operation)(owner);
      },
      &context, {});
  item->setObjectName(QLatin1String(action));
  ItemValidation::attach(
      *item, [alive = QPointer<QObject>(&context), target = delegate](
                 QAction&) { return alive && !target.expired(); });
}

// A click has turned the check mark of a checkable item already; validation
// turns it back to what is stored, which is what the actions go by. And an item
// that was enabled when the menu opened need not be so any more.
void QHDevTools::Private::choose(QAction& item, Action action) {
  item.setEnabled(owner.validateMenuItem(item));
  if (item.isEnabled()) (owner.*action)(item);
}

void QHDevTools::Private::addQuickLogin(DevelopMenu& menu) {
  DevelopMenu& tiers = *menu.addSubmenu(
      unlocalizedStringForString(QStringLiteral("Quick Login")));
  for (int tier = 0; tier < kQuickLoginTiers; ++tier) {
    addItem(tiers, "", "doQuickLogin")->setData(tier);
  }
  // Where the asterisk takes Shift, the display hands out the key as Control
  // and an asterisk, for Shift is used up; elsewhere as the first.
  addItem(menu, "Copy Token", "copyToken")
      ->setShortcuts({ui::keySequence(u"*", kCommandShift),
                      ui::keySequence(u"*", Qt::ControlModifier)});
}

void QHDevTools::Private::addLogging(DevelopMenu& menu) {
  DevelopMenu& logging =
      *menu.addSubmenu(unlocalizedStringForString(QStringLiteral("Logging")));
  addItem(logging, "Log Backend Request Body", "setLogBackendRequestBody");
  addItem(logging, "Log Backend Response Body", "setLogBackendResponseBody");
  logging.addSeparator();
  addItem(logging, "Disable Mail Logging", "setDisableMailLogs");
  addItem(logging, "Disable Quillhaven Logging", "setDisableQuillhavenLogs");
}

void QHDevTools::Private::addSwizzlingProfiler(DevelopMenu& menu) {
  DevelopMenu& profiler = *menu.addSubmenu(
      unlocalizedStringForString(QStringLiteral("Swizzling Profiler")));
  addItem(profiler, "", "enableSwizzlingProfiler");
  profiler.addSeparator();
  addItem(profiler, "Import Data\u2026", "importSwizzlingProfilerData")
      ->setShortcut(ui::keySequence(u"I", kCommandShift));
  addItem(profiler, "Load Results\u2026", "loadSwizzlingProfilerResults")
      ->setShortcut(ui::keySequence(u"P", kCommandShift));
}

bool QHDevTools::Private::hasUndoSendPlugin() const {
  const auto host = delegate.lock();
  return host && host->isUndoSendPluginInstalledForDevTools(owner);
}

std::unique_ptr<QMenu> QHDevTools::newDevelopMenu() {
  const auto has = [this](std::uint64_t group) {
    return (d_->capabilities & group) != 0;
  };
  auto built = std::make_unique<DevelopMenu>(
      unlocalizedStringForString(QStringLiteral("Develop")));
  DevelopMenu& menu = *built;

  if (has(kQuickLogin)) d_->addQuickLogin(menu);
  if (has(kReleaseChannel)) {
    menu.addSeparator();
    DevelopMenu& channels = *menu.addSubmenu(
        unlocalizedStringForString(QStringLiteral("Switch To")));
    d_->addItem(channels, "Developer Preview", "switchToBeta");
    d_->addItem(channels, "Release", "switchToRelease");
  }
  if (has(kWebComponentsServer | kCheckoutServer)) menu.addSeparator();
  if (has(kWebComponentsServer)) {
    d_->addItem(menu, "", "setOverrideWebComponentsServer");
  }
  if (has(kCheckoutServer)) {
    d_->addItem(menu, "", "setOverrideCheckoutServer");
  }
  if (has(kAccountWindows)) {
    menu.addSeparator();
    d_->addDelegateItem(
        menu, "Quillhaven Account Configuration",
        "showAccountConfigurationWindowForDevTools",
        &QHDevToolsDelegate::showAccountConfigurationWindowForDevTools);
    d_->addDelegateItem(menu, "Quillhaven Checkout",
                        "showCheckoutWindowForDevTools",
                        &QHDevToolsDelegate::showCheckoutWindowForDevTools);
  }
  if (has(kWebDeveloperTools)) {
    menu.addSeparator();
    d_->addItem(menu, "Web Developer Tools", "setEnableDevTools");
    d_->addItem(menu, "Auto-Clear Web Components Cache",
                "setAutoClearWebComponentsCache");
    d_->addItem(menu, "Re-inject Web Components Token on Reload",
                "setReInjectWebComponentsToken");
    d_->addItem(menu, "Debug Tracking Details", "setDebugTrackingDetails");
  }
  // The last three groups share one separator; deliberate.
  if (has(kLogging)) {
    menu.addSeparator();
    d_->addLogging(menu);
  }
  if (has(kSwizzlingProfiler)) {
    if (!has(kLogging)) menu.addSeparator();
    d_->addSwizzlingProfiler(menu);
  }
  if (has(kUndoSendPlugin) && d_->hasUndoSendPlugin()) {
    if (!has(kLogging | kSwizzlingProfiler)) menu.addSeparator();
    DevelopMenu& plugin = *menu.addSubmenu(
        unlocalizedStringForString(QStringLiteral("Undo Send Plugin")));
    d_->addItem(plugin, "Reset Settings", "resetUndoSendSettings");
  }
  menu.addSeparator();
  d_->addItem(menu, "Hide Develop Menu", "setHideDevelopMenu");
  return built;
}

bool QHDevTools::Private::validateSwitch(QAction& item, const char* key) const {
  setChecked(item, userDefaults.boolForKey(key));
  return true;
}

bool QHDevTools::Private::validateWebComponentsSwitch(QAction& item,
                                                      const char* key) const {
  item.setVisible(devToolsEnabled(userDefaults));
  return validateSwitch(item, key);
}

void QHDevTools::Private::giveChangeSubmenu(QAction& item, const char* action) {
  DevelopMenu::giveSubmenu(item, [&](DevelopMenu& submenu) {
    addItem(submenu, "Change\u2026", action)->setData(item.data());
  });
}

bool QHDevTools::Private::validateOverride(QAction& item, const QString& title,
                                           const char* changeAction,
                                           const ServerKeys& keys) {
  const auto url = userDefaults.stringForKey(keys.baseURL);
  setChecked(item, url.has_value());
  if (url) {
    setTitle(item, title + " (" + QString::fromStdString(*url) + ")");
    giveChangeSubmenu(item, changeAction);
  } else {
    setTitle(item, title);
    DevelopMenu::removeSubmenu(item);
  }
  return true;
}

bool QHDevTools::Private::validateQuickLogin(QAction& item) {
  const int tier = item.data().toInt();
  const auto name = planTierName(tier);
  // Only the account: nobody could answer a request for a password while a
  // menu is open.
  platform::OSStatus status = platform::kErrSecSuccess;
  const auto account = keychainAccountForPlanTier(tier, status);
  if (status == platform::kErrSecItemNotFound) {
    setTitle(item, QString::fromUtf8(name.value_or("")));
    DevelopMenu::removeSubmenu(item);
  } else {
    // An absent part is shown as formatting shows it; deliberate.
    setTitle(item, QString::fromUtf8(name.value_or("(null)")) + " (" +
                       QString::fromStdString(account.value_or("(null)")) +
                       ")");
    giveChangeSubmenu(item, "setLoginCredentials");
  }
  return true;
}

bool QHDevTools::validateMenuItem(QAction& item) {
  const QString action = item.objectName();
  if (action == "setEnableDevTools") {
    return d_->validateSwitch(item, kEnableDevToolsKey);
  }
  if (action == "setAutoClearWebComponentsCache") {
    return d_->validateWebComponentsSwitch(item, kAutoClearCacheKey);
  }
  if (action == "setReInjectWebComponentsToken") {
    return d_->validateWebComponentsSwitch(item, kReInjectTokenKey);
  }
  if (action == "setDebugTrackingDetails") {
    return d_->validateWebComponentsSwitch(item, kDebugTrackingDetailsKey);
  }
  if (action == "setOverrideWebComponentsServer") {
    return d_->validateOverride(
        item,
        unlocalizedStringForString(
            QStringLiteral("Override Web Components Server")),
        "changeWebComponentsServerOverride", kWebComponentsKeys);
  }
  if (action == "setOverrideCheckoutServer") {
    return d_->validateOverride(
        item,
        unlocalizedStringForString(QStringLiteral("Override Checkout Server")),
        "changeCheckoutServerOverride", kCheckoutKeys);
  }
  if (action == "setDisableMailLogs") {
    return d_->validateSwitch(item, kDisableMailLogsKey);
  }
  if (action == "setDisableQuillhavenLogs") {
    return d_->validateSwitch(item, kDisableQuillhavenLogsKey);
  }
  if (action == "setLogBackendRequestBody") {
    return d_->validateSwitch(item, kLogBackendRequestBodyKey);
  }
  if (action == "setLogBackendResponseBody") {
    return d_->validateSwitch(item, kLogBackendResponseBodyKey);
  }
  if (action == "doQuickLogin") return d_->validateQuickLogin(item);
  if (action == "copyToken") {
    const auto host = d_->delegate.lock();
    return host && host->tokenForDevTools(*this).has_value();
  }
  if (action == "resetUndoSendSettings") return !d_->didResetUndoSendSettings;
  if (action == "enableSwizzlingProfiler") {
    setTitle(item, unlocalizedStringForString(
                       swizzlingProfilerEnabled(d_->userDefaults)
                           ? QStringLiteral("Disable Profiling\u2026")
                           : QStringLiteral("Enable Profiling\u2026")));
    return true;
  }
  if (action == "loadSwizzlingProfilerResults") {
    return d_->initialSwizzlingProfilerEnabled;
  }
  return true;
}

}  // namespace quillhaven::devtools
