#include "quillhaven/ui/event_loop.h"

#include <QAbstractEventDispatcher>
#include <QByteArray>
#include <QMetaObject>
#include <string>

#include "quillhaven/platform/base/log.h"

namespace quillhaven::ui {

bool eventLoopServesMainQueue() {
  const auto* const dispatcher = QAbstractEventDispatcher::instance();
  if (dispatcher == nullptr) return false;
  // QEventDispatcherGlib, or a platform plug-in's QPAEventDispatcherGlib.
  const QByteArray name = dispatcher->metaObject()->className();
  if (name.contains("Glib")) return true;
  platform::Logger("com.quillhaven.utilities", "ui")
      .log(platform::LogType::kError,
           "Qt's event loop (" + name.toStdString() +
               ") does not serve the main queue; it must stand on GLib");
  return false;
}

}  // namespace quillhaven::ui
