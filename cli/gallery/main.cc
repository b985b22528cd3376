// The program behind `quillhaven gallery`: shows every view of the library, or
// writes pictures of them. A program of its own, so that the command itself
// links no Qt.
#include <QApplication>
#include <QProcess>
#include <QTextStream>

#include "cli/gallery/gallery_window.h"
#include "cli/gallery/screenshots.h"
#include "quillhaven/ui/event_loop.h"
#include "quillhaven/ui/images.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

void report(const QString& text) {
  QTextStream(stderr) << "quillhaven: " << text << '\n';
}

QtMessageHandler earlierHandler = nullptr;

// The offscreen platform tells of each thing that it cannot do for a window,
// and Qt of a runtime folder, which is not needed here.
void handleMessage(QtMsgType type, const QMessageLogContext& context,
                   const QString& text) {
  if (text.startsWith(QLatin1String("This plugin does not support")) ||
      text.startsWith(QLatin1String("QStandardPaths: "))) {
    return;
  }
  earlierHandler(type, context, text);
}

int writePictures(const QString& folder) {
  const QString failure = quillhaven::gallery::writeScreenshots(folder);
  if (!failure.isEmpty()) {
    report(QStringLiteral("cannot write %1").arg(failure));
    return kFailed;
  }
  // Once more with two pixels a point, which Qt learns of only at its start.
  if (qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) return 0;
  qputenv("QT_SCALE_FACTOR", "2");
  return QProcess::execute(QApplication::applicationFilePath(), {folder});
}

int showGallery() {
  if (!quillhaven::ui::eventLoopServesMainQueue()) return kFailed;
  quillhaven::gallery::GalleryWindow window;
  window.show();
  return QApplication::exec();
}

bool hasDisplay() {
  return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") ||
         !qgetenv("DISPLAY").isEmpty() || !qgetenv("WAYLAND_DISPLAY").isEmpty();
}

}  // namespace

// `quillhaven gallery` has read the arguments: none, or a folder for pictures.
int main(int argc, char** argv) {
  if (argc > 2) return kWrongUsage;
  const bool isForPictures = argc == 2;
  if (isForPictures) {
    // Pictures come out the same everywhere.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
      qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication::setStyle(QStringLiteral("Fusion"));
  } else if (!hasDisplay()) {
    report(
        QStringLiteral("there is no display to show the gallery on; "
                       "--screenshot DIR writes pictures of it"));
    return kFailed;
  }
  earlierHandler = qInstallMessageHandler(handleMessage);
  int argumentsOfQt = 1;
  const QApplication application(argumentsOfQt, argv);
  QApplication::setApplicationName(QStringLiteral("quillhaven-gallery"));
  if (const auto icon = quillhaven::ui::quillhavenUtilitiesImage(
          quillhaven::ui::image_names::genericApplication)) {
    QApplication::setWindowIcon(QIcon(QPixmap::fromImage(*icon)));
  }
  return isForPictures ? writePictures(QString::fromLocal8Bit(argv[1]))
                       : showGallery();
}
