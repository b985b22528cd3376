// Whether Qt's event loop serves the library's main queue.
#ifndef QUILLHAVEN_UI_EVENT_LOOP_H_
#define QUILLHAVEN_UI_EVENT_LOOP_H_

namespace quillhaven::ui {

// Returns whether the main queue, timers and operations of the library are
// served while Qt's loop turns on the calling thread, which must be the main
// one: Qt then stands on GLib. It does not in a build without GLib or under
// QT_NO_GLIB=1; that is written to the log, as an error, at each call. False
// without a QCoreApplication. A host may ask once at its start.
[[nodiscard]] bool eventLoopServesMainQueue();

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_EVENT_LOOP_H_
