// The main of tests with QT: they run inside a QApplication, without a display
// unless QT_QPA_PLATFORM asks for one.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

namespace {

QtMessageHandler earlierHandler = nullptr;

// The offscreen platform tells of each thing that it cannot do for a window,
// and QTest of each drag that leaves one.
void handleMessage(QtMsgType type, const QMessageLogContext& context,
                   const QString& text) {
  if (text.startsWith(QLatin1String("This plugin does not support")) ||
      text.contains(QLatin1String("occurs outside target window"))) {
    return;
  }
  earlierHandler(type, context, text);
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  const QTemporaryDir runtimeFolder;
  if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
  }
  earlierHandler = qInstallMessageHandler(handleMessage);
  QApplication::setStyle("Fusion");  // the same everywhere
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
