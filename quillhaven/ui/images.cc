#include "quillhaven/ui/images.h"

#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutexLocker>
#include <QPainter>
#include <QResource>
#include <algorithm>
#include <cmath>
#include <memory>

#include "quillhaven/ui/internal/badge.h"
#include "quillhaven/ui/values.h"

// The linker leaves resources of a static library out unless they are named,
// and the macro wants to stand outside namespaces.
static void registerQuillhavenResources() { Q_INIT_RESOURCE(quillhaven_ui); }

namespace quillhaven::ui {
namespace {

const QString& bundleIdentifier() {
  static const QString identifier =
      QStringLiteral("com.quillhaven.QuillhavenUtilities");
  return identifier;
}

// Returns the root of the library's resources, or nothing when a host has
// unregistered them.
std::optional<QString> bundleWithIdentifier(const QString& identifier) {
  static const bool isRegistered = (registerQuillhavenResources(), true);
  Q_UNUSED(isRegistered);
  const QString root = QStringLiteral(":/") + identifier;
  if (!QResource(root).isValid()) return std::nullopt;
  return root;
}

double applicationPixelRatio() {
  return qGuiApp != nullptr ? qGuiApp->devicePixelRatio() : 1;
}

std::optional<QImage> imageResource(const QString& bundle,
                                    const QString& name) {
  const QString path = bundle + QStringLiteral("/images/") + name;
  QImage image;
  // Qt reads the ratio from the name "@2x".
  if (applicationPixelRatio() > 1 &&
      image.load(path + QStringLiteral("@2x.png"))) {
    return image;
  }
  if (!image.load(path + QStringLiteral(".png"))) return std::nullopt;
  return image;
}

QJsonObject readColors() {
  const auto bundle = bundleWithIdentifier(bundleIdentifier());
  if (!bundle) return {};
  QFile file(*bundle + QStringLiteral("/colors.json"));
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QJsonDocument::fromJson(file.readAll()).object();
}

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Window).lightnessF() <
         palette.color(QPalette::WindowText).lightnessF();
}

}  // namespace

QSizeF proportionallyScale(QSizeF size, QSizeF toSize) {
  const Size scaled = proportionallyScale(
      Size{size.width(), size.height()}, Size{toSize.width(), toSize.height()});
  return {scaled.width, scaled.height};
}

std::optional<QImage> imageByScalingProportionallyToSize(const QImage& image,
                                                         QSizeF size) {
  if (image.isNull()) return std::nullopt;
  const QSizeF points =
      proportionallyScale(image.deviceIndependentSize(), size);
  const double ratio =
      std::max(image.devicePixelRatio(), applicationPixelRatio());
  const QSize pixels(static_cast<int>(std::ceil(points.width() * ratio)),
                     static_cast<int>(std::ceil(points.height() * ratio)));
  if (pixels.isEmpty()) return std::nullopt;
  QImage scaled =
      image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  scaled.setDevicePixelRatio(ratio);
  return scaled;
}

QRectF internal::badgePlace(const QRectF& rect, QSizeF badgeSize) {
  const QSizeF box(std::ceil(rect.width() / 2), std::ceil(rect.height() / 2));
  const QSizeF size = proportionallyScale(badgeSize, box);
  return {rect.right() - size.width(), rect.bottom() - size.height(),
          size.width(), size.height()};
}

QImage badged(const QImage& image, const QImage& with) {
  if (image.isNull()) return image;
  QImage result(image.size(), QImage::Format_ARGB32_Premultiplied);
  result.setDevicePixelRatio(image.devicePixelRatio());
  result.fill(Qt::transparent);
  QPainter painter(&result);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const QRectF rect(QPointF(), image.deviceIndependentSize());
  painter.drawImage(rect, image);
  if (!with.isNull()) {
    const QRectF place =
        internal::badgePlace(rect, with.deviceIndependentSize());
    const auto badge = imageByScalingProportionallyToSize(with, place.size());
    if (badge) painter.drawImage(place, *badge);
  }
  return result;
}

std::optional<QImage> ImageCache::image(const QString& name) {
  const QMutexLocker locker(&lock_);
  const QImage* const image = images_.object(name);
  if (image == nullptr) return std::nullopt;
  return *image;
}

void ImageCache::insert(const QString& name, const QImage& image) {
  const QMutexLocker locker(&lock_);
  images_.insert(name, std::make_unique<QImage>(image).release());
}

void ImageCache::remove(const QString& name) {
  const QMutexLocker locker(&lock_);
  images_.remove(name);
}

void ImageCache::clear() {
  const QMutexLocker locker(&lock_);
  images_.clear();
}

ImageCache& quillhavenUtilitiesCache() {
  static ImageCache cache;
  return cache;
}

std::optional<QImage> quillhavenUtilitiesImage(const QString& named,
                                               bool cached) {
  if (cached) {
    if (auto image = quillhavenUtilitiesCache().image(named)) return image;
  }
  const auto bundle = bundleWithIdentifier(bundleIdentifier());
  if (!bundle) return std::nullopt;
  auto image = imageResource(*bundle, named);
  if (image && cached) quillhavenUtilitiesCache().insert(named, *image);
  return image;
}

const QImage& demoImage() {
  static const QImage image =
      quillhavenUtilitiesImage(image_names::demoImage).value_or(QImage());
  return image;
}

std::optional<QColor> quillhavenUtilitiesColor(const QString& named,
                                               const QPalette& palette) {
  static const QJsonObject colors = readColors();
  const QJsonValue entry = colors.value(named);
  if (!entry.isObject()) return std::nullopt;
  const QString appearance =
      isDark(palette) ? QStringLiteral("dark") : QStringLiteral("light");
  const QColor color(entry.toObject().value(appearance).toString());
  if (!color.isValid()) return std::nullopt;
  return color;
}

}  // namespace quillhaven::ui
