// The main of tests with QT: they run inside a QApplication, without a display
// unless QT_QPA_PLATFORM asks for one.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  const QTemporaryDir runtimeFolder;
  if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
  }
  QApplication::setStyle("Fusion");  // the same everywhere
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
