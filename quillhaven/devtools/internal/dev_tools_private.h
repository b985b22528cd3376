// What the sources of QHDevTools share.
#ifndef QUILLHAVEN_DEVTOOLS_INTERNAL_DEV_TOOLS_PRIVATE_H_
#define QUILLHAVEN_DEVTOOLS_INTERNAL_DEV_TOOLS_PRIVATE_H_

#include <QAction>
#include <QDialog>
#include <QIcon>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QString>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/internal/develop_menu.h"
#include "quillhaven/platform/files/property_list.h"
#include "quillhaven/platform/files/user_defaults.h"
#include "quillhaven/ui/menus.h"

namespace quillhaven::devtools {

// The keys of one server that can be overridden, and its menu item.
struct ServerKeys {
  const char* baseURL;
  const char* recentBaseURL;
  const char* bookmark;
};
extern const ServerKeys kWebComponentsKeys;
extern const ServerKeys kCheckoutKeys;

struct QHDevTools::Private {
  Private(QHDevTools& tools, std::uint64_t mask, platform::UserDefaults store);
  Private(const Private&) = delete;
  Private& operator=(const Private&) = delete;
  ~Private();

  // Calls an operation of the delegate if there is one.
  template <typename Operation>
  void tellDelegate(Operation operation) const {
    if (const auto host = delegate.lock()) ((*host).*operation)(owner);
  }

  // Writing to a store; a failure is logged and changes nothing.
  static void write(platform::UserDefaults& store, const char* key,
                    platform::PropertyList value);
  static void remove(platform::UserDefaults& store,
                     std::initializer_list<const char*> keys);
  // Turns a switch and returns its new value.
  bool flip(const char* key);

  // Building the menu.
  using Action = void (QHDevTools::*)(QAction& sender);
  ui::MenuItem* addItem(internal::DevelopMenu& menu, const char* title,
                        const char* action);
  void addDelegateItem(internal::DevelopMenu& menu, const char* title,
                       const char* action,
                       void (QHDevToolsDelegate::*operation)(QHDevTools&));
  void addQuickLogin(internal::DevelopMenu& menu);
  void addLogging(internal::DevelopMenu& menu);
  void addSwizzlingProfiler(internal::DevelopMenu& menu);
  [[nodiscard]] bool hasUndoSendPlugin() const;
  void choose(QAction& item, Action action);

  // Validation by the kind of item; each returns whether it is enabled.
  bool validateSwitch(QAction& item, const char* key) const;
  bool validateWebComponentsSwitch(QAction& item, const char* key) const;
  bool validateOverride(QAction& item, const QString& title,
                        const char* changeAction, const ServerKeys& keys);
  bool validateQuickLogin(QAction& item);
  void giveChangeSubmenu(QAction& item, const char* action);

  // Turns an override off, or on with the URL used last; false when there is
  // none to use.
  bool toggleOverride(const QAction& item, const ServerKeys& keys);
  void changeOverride(ServerType type, const ServerKeys& keys,
                      std::function<void()> changed);

  // Shows a sheet on the delegate's window; `ended` is called with the
  // response, before the sheet goes. Without a window the sheet goes at once.
  void beginSheet(std::unique_ptr<QDialog> sheet,
                  std::function<void(int response)> ended);
  void endURLSheet(int response, const std::string& text, ServerType type,
                   const ServerURLSheetHandler& handler);
  void resolveBookmark(const ServerKeys& keys);
  void runErrorAlert(const QString& message, const QString& informativeText);

  QHDevTools& owner;
  bool didResetUndoSendSettings = false;
  bool initialSwizzlingProfilerEnabled;
  std::weak_ptr<QHDevToolsDelegate> delegate;
  QIcon alertIcon;
  std::uint64_t capabilities;
  platform::UserDefaults userDefaults;
  std::vector<QPointer<QDialog>> sheets;
  // What connections to the owner end with; a weak pointer to it tells whether
  // the owner outlived a call that served events.
  QObject context;
};

namespace internal {

// Returns an alert with these buttons, not yet shown. Its icon is `icon`, or
// that of its style where it is null. Return chooses the first button; Escape
// the last.
[[nodiscard]] std::unique_ptr<QMessageBox> makeAlert(
    QMessageBox::Icon style, const QIcon& icon, const QString& message,
    const QString& informativeText, const std::vector<QString>& buttons);

}  // namespace internal

}  // namespace quillhaven::devtools

#endif  // QUILLHAVEN_DEVTOOLS_INTERNAL_DEV_TOOLS_PRIVATE_H_
