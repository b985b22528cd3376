#include "cli/gallery/screenshots.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QPushButton>
#include <QStyle>
#include <QStyleFactory>

#include "cli/gallery/exhibits.h"
#include "cli/gallery/gallery_window.h"

namespace quillhaven::gallery {
namespace {

QPalette darkPalette() {
  QPalette palette(QColor(53, 56, 60), QColor(38, 40, 43));
  palette.setColor(QPalette::WindowText, QColor(230, 232, 235));
  palette.setColor(QPalette::Text, QColor(230, 232, 235));
  palette.setColor(QPalette::ButtonText, QColor(230, 232, 235));
  palette.setColor(QPalette::Base, QColor(28, 30, 32));
  palette.setColor(QPalette::Highlight, QColor(75, 117, 190));
  palette.setColor(QPalette::PlaceholderText, QColor(150, 154, 160));
  for (const auto role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, QColor(130, 134, 140));
  }
  return palette;
}

// Writes pictures; keeps the first failure.
class Camera {
 public:
  Camera(QDir folder, QString suffix)
      : folder_(std::move(folder)), suffix_(std::move(suffix)) {}

  void take(QWidget& widget, const QString& name) {
    QApplication::processEvents();
    // With the colour that a window would give it.
    QPixmap pixmap(widget.size() * widget.devicePixelRatioF());
    pixmap.setDevicePixelRatio(widget.devicePixelRatioF());
    pixmap.fill(widget.palette().color(QPalette::Window));
    widget.render(&pixmap);
    const QString path =
        folder_.filePath(name + suffix_ + QStringLiteral(".png"));
    if (!pixmap.save(path) && failure_.isEmpty()) failure_ = path;
  }

  [[nodiscard]] const QString& failure() const { return failure_; }

 private:
  QDir folder_;
  QString suffix_;
  QString failure_;
};

void takeAll(Camera& camera) {
  GalleryWindow window;
  window.show();
  camera.take(window, QStringLiteral("gallery"));
  for (const Exhibit& exhibit : kExhibits) {
    QWidget* const widget = window.exhibit(exhibit.name);
    camera.take(*widget, exhibit.name);
  }
  QWidget* const texts = window.exhibit(kExhibits[0].name);
  holdFade(*texts);
  camera.take(*texts, QStringLiteral("animating-text-field-fading"));

  const auto popover = makePopover(&window);
  popover->show();
  camera.take(*popover, QStringLiteral("colored-popover-view"));
  popover->close();
  const auto alert = makeAlert(&window);
  alert->setDefaultButton(alert->findChild<QPushButton*>());
  alert->open();
  camera.take(*alert, QStringLiteral("alert"));
  alert->close();

  if (QMenu* const menu = window.developMenu().menu()) {
    menu->popup(window.mapToGlobal(QPoint(0, 0)));
    camera.take(*menu, QStringLiteral("develop-menu"));
    menu->close();
  }
  for (const DevelopWindow& entry : window.developMenu().windows()) {
    const auto shown = entry.make();
    shown->show();
    camera.take(*shown, entry.name);
    shown->close();
  }
}

}  // namespace

QString writeScreenshots(const QString& folder) {
  const QDir target(folder);
  if (!target.mkpath(QStringLiteral("."))) return folder;
  const struct {
    QPalette palette;
    QString suffix;
  } appearances[] = {
      {QApplication::style()->standardPalette(), QString()},
      {darkPalette(), QStringLiteral("-dark")},
  };
  const QString scale =
      qApp->devicePixelRatio() > 1 ? QStringLiteral("@2x") : QString();
  for (const auto& appearance : appearances) {
    QApplication::setPalette(appearance.palette);
    Camera camera(target, appearance.suffix + scale);
    takeAll(camera);
    if (!camera.failure().isEmpty()) return camera.failure();
  }
  return {};
}

}  // namespace quillhaven::gallery
