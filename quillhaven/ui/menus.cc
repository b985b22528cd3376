#include "quillhaven/ui/menus.h"

#include <QKeyCombination>
#include <utility>

namespace quillhaven::ui {
namespace {

Qt::Key keyOf(QChar character) {
  switch (character.unicode()) {
    case u'\r':
    case u'\n':
      return Qt::Key_Return;
    case u'\x1b':
      return Qt::Key_Escape;
    case u'\t':
      return Qt::Key_Tab;
    case u'\b':
    case u'\x7f':
      return Qt::Key_Backspace;
    default:
      return static_cast<Qt::Key>(character.toUpper().unicode());
  }
}

}  // namespace

QKeySequence keySequence(QStringView keyEquivalent,
                         Qt::KeyboardModifiers modifiers) {
  if (keyEquivalent.isEmpty()) return {};
  const QChar character = keyEquivalent.front();
  if (character.isUpper()) modifiers |= Qt::ShiftModifier;
  return {QKeyCombination(modifiers, keyOf(character))};
}

MenuItem::MenuItem(const QString& title, MenuAction action, QObject* target,
                   QStringView keyEquivalent, QObject* parent)
    : QAction(parent) {
  setTitle(title);
  setShortcut(keySequence(keyEquivalent));
  // "Quit" and the like stay where they were put.
  setMenuRole(QAction::NoRole);
  if (!action) return;
  connect(this, &QAction::triggered, target != nullptr ? target : this,
          [action = std::move(action)] { action(); });
}

QString MenuItem::title() const {
  return text().replace(QStringLiteral("&&"), QStringLiteral("&"));
}

void MenuItem::setTitle(const QString& title) {
  setText(QString(title).replace(u'&', QStringLiteral("&&")));
}

MenuItem* addItem(QMenu& menu, const QString& withTitle, MenuAction action,
                  QObject* target, QStringView keyEquivalent) {
  auto* const item =
      new MenuItem(withTitle, std::move(action), target, keyEquivalent, &menu);
  menu.addAction(item);
  return item;
}

}  // namespace quillhaven::ui
