#include "quillhaven/ui/icons.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <string_view>

#include "quillhaven/platform/files/bundle_index.h"
#include "quillhaven/ui/images.h"
#include "quillhaven/ui/internal/badge.h"
#include "quillhaven/ui/internal/desktop_icon.h"

namespace quillhaven::ui {
namespace {

constexpr std::string_view kMailIdentifier = "com.apple.mail";
constexpr std::string_view kRemindersIdentifier = "com.apple.reminders";
constexpr std::string_view kContactsIdentifier = "com.apple.AddressBook";

// What an icon without a size of its own, drawn at any, counts as: square.
constexpr QSize kScalableSize(512, 512);

QString textOf(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QIcon genericIcon() {
  const auto image = quillhavenUtilitiesImage(image_names::genericApplication);
  return image ? QIcon(QPixmap::fromImage(*image)) : QIcon();
}

QSize largestSize(const QIcon& icon) {
  const QList<QSize> sizes = icon.availableSizes();
  if (sizes.isEmpty()) return kScalableSize;
  return *std::max_element(sizes.begin(), sizes.end(), [](QSize a, QSize b) {
    return a.width() < b.width();
  });
}

// Draws an icon and a badge over it, at whatever size is asked for.
class BadgedIconEngine : public QIconEngine {
 public:
  BadgedIconEngine(QIcon icon, QIcon badge)
      : icon_(std::move(icon)), badge_(std::move(badge)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
             QIcon::State state) override {
    painter->save();
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    draw(painter, icon_, rect, mode, state);
    if (!badge_.isNull()) {
      draw(painter, badge_, internal::badgePlace(rect, largestSize(badge_)),
           mode, state);
    }
    painter->restore();
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode,
                 QIcon::State state) override {
    return scaledPixmap(size, mode, state, 1);
  }

  // `size` is in pixels, `scale` how many of them make a point.
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                       qreal scale) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    pixmap.setDevicePixelRatio(scale);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(), pixmap.deviceIndependentSize().toSize()),
          mode, state);
    painter.end();
    pixmap.setDevicePixelRatio(1);  // QIcon sets it
    return pixmap;
  }

  QSize actualSize(const QSize& size, QIcon::Mode mode,
                   QIcon::State state) override {
    return icon_.actualSize(size, mode, state);
  }

  QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override {
    return icon_.availableSizes(mode, state);
  }

  QString key() const override { return QStringLiteral("QuillhavenBadged"); }
  bool isNull() override { return icon_.isNull(); }

  QIconEngine* clone() const override {
    return std::make_unique<BadgedIconEngine>(*this).release();
  }

 private:
  // Also where the icon has no pixmap as large as `rect`.
  static void draw(QPainter* painter, const QIcon& icon, const QRectF& rect,
                   QIcon::Mode mode, QIcon::State state) {
    if (rect.isEmpty()) return;
    const double ratio = painter->device()->devicePixelRatioF();
    const QSize size(static_cast<int>(std::ceil(rect.width())),
                     static_cast<int>(std::ceil(rect.height())));
    const QPixmap pixmap = icon.pixmap(size, ratio, mode, state);
    painter->drawPixmap(rect, pixmap, QRectF(pixmap.rect()));
  }

  QIcon icon_;
  QIcon badge_;
};

// The icon that a bundle names in its information property list. Its name may
// leave the extension out.
QIcon iconOfBundle(const platform::Bundle& bundle) {
  const auto name = bundle.infoString("CFBundleIconFile");
  if (!name) return {};
  const QDir folder(textOf(bundle.bundlePath()) +
                    QStringLiteral("/Contents/Resources"));
  for (const char* extension : {"", ".png", ".svg", ".icns"}) {
    const QString path =
        folder.filePath(textOf(*name) + QLatin1String(extension));
    if (!QFileInfo(path).isFile()) continue;
    const QIcon icon(path);
    if (!icon.pixmap(kScalableSize).isNull()) return icon;
  }
  return {};
}

// Returns the icon of the program with this identifier, nothing if it is not
// installed.
std::optional<QIcon> iconOfApplication(std::string_view identifier) {
  platform::BundleIndex bundles;
  if (const auto bundle = bundles.bundleWithIdentifier(identifier)) {
    const QIcon icon = iconOfBundle(*bundle);
    return icon.isNull() ? genericIcon() : icon;
  }
  if (const auto entry = internal::desktopEntryIcon(textOf(identifier))) {
    return entry->isNull() ? genericIcon() : *entry;
  }
  return std::nullopt;
}

QIcon badgedOrPlain(std::string_view identifier) {
  const auto badge = iconOfApplication(identifier);
  return badge ? quillhavenIcon(*badge) : applicationIcon();
}

}  // namespace

QIcon applicationIcon() {
  if (const QIcon icon = QGuiApplication::windowIcon(); !icon.isNull()) {
    return icon;
  }
  const auto icon =
      internal::desktopEntryIcon(QGuiApplication::desktopFileName());
  return icon && !icon->isNull() ? *icon : genericIcon();
}

QIcon quillhavenIcon(const QIcon& withBadge) {
  return QIcon(std::make_unique<BadgedIconEngine>(applicationIcon(), withBadge)
                   .release());
}

std::optional<QIcon> mailBadgedIcon() {
  const auto badge = iconOfApplication(kMailIdentifier);
  // Unlike the two below, without Mail there is no icon at all; deliberate.
  if (!badge) return std::nullopt;
  return quillhavenIcon(*badge);
}

QIcon remindersBadgedAppIcon() { return badgedOrPlain(kRemindersIdentifier); }

QIcon contactsBadgedAppIcon() { return badgedOrPlain(kContactsIdentifier); }

}  // namespace quillhaven::ui
