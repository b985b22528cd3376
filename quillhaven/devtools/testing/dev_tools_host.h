// A host of the Develop menu for tests: a window with a menu bar, stores in a
// folder of its own, and hands that click and type.
#ifndef QUILLHAVEN_DEVTOOLS_TESTING_DEV_TOOLS_HOST_H_
#define QUILLHAVEN_DEVTOOLS_TESTING_DEV_TOOLS_HOST_H_

#include <gtest/gtest.h>

#include <QAction>
#include <QDialog>
#include <QMainWindow>
#include <QMenu>
#include <QString>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/testing/recording_delegate.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/files/user_defaults.h"

namespace quillhaven::devtools::testing {

// Serves events until `condition` holds; false when it takes too long.
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition);

// The item with this title, wherever it is in the menu; null if there is none.
[[nodiscard]] QAction* itemTitled(const QMenu& menu, const QString& title);

// Move the pointer onto an item of a menu that is open, and click there.
void pointAt(const QMenu& menu, QAction& item);
void clickItem(const QMenu& menu, QAction& item);

void closeMenus();

// Answers the next alert with a click on the button of this title. Made before
// the alert, which runs a loop of its own.
class AlertAnswer {
 public:
  explicit AlertAnswer(QString buttonTitle);

  // What the alert showed, line by line: message, informative text, buttons
  // from left to right. Empty when there was none.
  [[nodiscard]] QString shown() const { return shown_; }

 private:
  void answer();

  QString buttonTitle_;
  QString shown_;
  QTimer timer_;
};

class DevToolsHost : public ::testing::Test {
 protected:
  DevToolsHost();
  ~DevToolsHost() override;

  // Makes tools for `capabilities` with the delegate and puts their menu into
  // the menu bar of the window.
  void makeTools(std::uint64_t capabilities);
  // The menu, opened from the menu bar with a click.
  QMenu& openMenu();
  // Opens the menu and its submenu of this title, and returns that.
  QMenu* openSubmenu(const QString& title);
  // Clicks on an item of the menu, the last title, on the way through the
  // submenu of the first.
  void choose(const std::vector<QString>& titles);
  // Opens the menu, and its submenu of this title, and closes them again.
  void validate(const QString& submenuTitle = {});

  // The sheet on the window; null if there is none.
  [[nodiscard]] QDialog* sheet() const;

  [[nodiscard]] QAction* item(const QString& title) const {
    return itemTitled(*menu, title);
  }
  [[nodiscard]] std::optional<std::string> stored(std::string_view key) const {
    return defaults.stringForKey(key);
  }

  const platform::testing::TemporaryFolder folder;
  platform::UserDefaults defaults;
  QMainWindow window;
  RecordingDelegate delegate;
  std::unique_ptr<QHDevTools> tools;
  std::unique_ptr<QMenu> menu;
};

}  // namespace quillhaven::devtools::testing

#endif  // QUILLHAVEN_DEVTOOLS_TESTING_DEV_TOOLS_HOST_H_
