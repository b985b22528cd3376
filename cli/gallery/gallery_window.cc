#include "cli/gallery/gallery_window.h"

#include <QApplication>
#include <QGroupBox>
#include <QMenuBar>
#include <QScrollArea>
#include <QStatusBar>
#include <QVBoxLayout>

#include "cli/gallery/exhibits.h"
#include "quillhaven/ui/menus.h"

namespace quillhaven::gallery {
namespace {

void addGalleryMenu(QMainWindow& window) {
  QMenu* const menu = window.menuBar()->addMenu(QStringLiteral("Gallery"));
  ui::addItem(
      *menu, QStringLiteral("Close"), [&window] { window.close(); }, &window,
      u"w");
  ui::addItem(
      *menu, QStringLiteral("Quit"), [] { QApplication::quit(); }, &window,
      u"q");
}

// Shows the menu bar before it gets the second menu.
QMainWindow& withGalleryMenu(QMainWindow& window) {
  addGalleryMenu(window);
  return window;
}

}  // namespace

GalleryWindow::GalleryWindow() : developMenu_(withGalleryMenu(*this)) {
  setWindowTitle(QStringLiteral("Quillhaven Gallery"));
  auto* const content = new QWidget;
  auto* const column = new QVBoxLayout(content);
  for (const Exhibit& exhibit : kExhibits) {
    auto* const group = new QGroupBox(exhibit.title, content);
    QWidget* const widget = exhibit.make(group);
    widget->setObjectName(exhibit.name);
    (new QVBoxLayout(group))->addWidget(widget);
    column->addWidget(group);
  }
  column->addStretch();
  auto* const scroller = new QScrollArea(this);
  scroller->setWidgetResizable(true);
  scroller->setFrameShape(QFrame::NoFrame);
  scroller->setWidget(content);
  setCentralWidget(scroller);
  statusBar();
  resize(content->sizeHint().width() + 24, 720);
}

QWidget* GalleryWindow::exhibit(const QString& name) const {
  return findChild<QWidget*>(name);
}

}  // namespace quillhaven::gallery
