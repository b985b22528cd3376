// Menu items in one line: title, action, target and key equivalent.
#ifndef QUILLHAVEN_UI_MENUS_H_
#define QUILLHAVEN_UI_MENUS_H_

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QString>
#include <QStringView>
#include <functional>

namespace quillhaven::ui {

// Returns the shortcut of a key equivalent: one character together with
// `modifiers`, by default Command, which is Control here. An upper-case letter
// adds Shift; "\r" is Return, "\x1b" Escape, "\t" Tab, "\b" and "\x7f"
// Backspace. Empty text is no shortcut; of longer text the first character
// counts.
[[nodiscard]] QKeySequence keySequence(
    QStringView keyEquivalent,
    Qt::KeyboardModifiers modifiers = Qt::ControlModifier);

// What choosing an item does; may be empty.
using MenuAction = std::function<void()>;

// An item for a menu, shown with exactly its title: an "&" underlines nothing.
// Main thread only.
class MenuItem : public QAction {
  Q_OBJECT
  Q_PROPERTY(QString title READ title WRITE setTitle)

 public:
  // An item that calls `action` when it is chosen, as long as `target` lives; a
  // null target is none to outlive. For the key equivalent see keySequence().
  MenuItem(const QString& title, MenuAction action, QObject* target,
           QStringView keyEquivalent, QObject* parent = nullptr);

  // An item that calls a member function of its target.
  template <typename Target, typename Result>
  MenuItem(const QString& title, Result (Target::*action)(), Target* target,
           QStringView keyEquivalent, QObject* parent = nullptr)
      : MenuItem(title, boundTo(target, action), target, keyEquivalent,
                 parent) {}

  // The title as it was given, every "&" once.
  [[nodiscard]] QString title() const;
  void setTitle(const QString& title);

 private:
  template <typename Target, typename Result>
  static MenuAction boundTo(Target* target, Result (Target::*action)()) {
    if (target == nullptr || action == nullptr) return {};
    return [target, action] { (target->*action)(); };
  }
};

// Appends an item made of these to `menu`, which owns it, and returns it.
MenuItem* addItem(QMenu& menu, const QString& withTitle, MenuAction action,
                  QObject* target, QStringView keyEquivalent);

template <typename Target, typename Result>
MenuItem* addItem(QMenu& menu, const QString& withTitle,
                  Result (Target::*action)(), Target* target,
                  QStringView keyEquivalent) {
  auto* const item =
      new MenuItem(withTitle, action, target, keyEquivalent, &menu);
  menu.addAction(item);
  return item;
}

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_MENUS_H_
