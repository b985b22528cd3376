// Images: proportional scaling, badges, the library's own images and colours.
#ifndef QUILLHAVEN_UI_IMAGES_H_
#define QUILLHAVEN_UI_IMAGES_H_

#include <QCache>
#include <QColor>
#include <QImage>
#include <QMutex>
#include <QPalette>
#include <QSizeF>
#include <QString>
#include <optional>

namespace quillhaven::ui {

// Sizes are in points, that is, device-independent pixels; how many pixels a
// point has is the image's devicePixelRatio().

// Returns the largest size of `size`'s proportions that fits into `toSize`;
// `toSize` itself where the two are equal.
[[nodiscard]] QSizeF proportionallyScale(QSizeF size, QSizeF toSize);

// Returns `image` drawn at the largest size of its proportions that fits into
// `size`, smaller or larger than it is. It has the pixel ratio of `image` or of
// the application, whichever is greater; a broken pixel counts as a whole one.
// Nothing when `image` is null, or when `size` is empty and leaves nothing of
// it. May run on any thread.
[[nodiscard]] std::optional<QImage> imageByScalingProportionallyToSize(
    const QImage& image, QSizeF size);

// Returns `image` with the image `with` as a badge in its bottom right corner,
// fitted into half the width and half the height, each rounded up to a whole
// point. Size and pixel ratio are those of `image`. A null badge is left out; a
// null image stays null. For one that is drawn anew at every size, see
// quillhavenIcon() in icons.h. May run on any thread.
[[nodiscard]] QImage badged(const QImage& image, const QImage& with);

// Images by name. Holds a hundred at most; one that has not been asked for the
// longest goes first. Thread-safe.
class ImageCache {
 public:
  [[nodiscard]] std::optional<QImage> image(const QString& name);
  void insert(const QString& name, const QImage& image);
  void remove(const QString& name);
  void clear();

 private:
  QMutex lock_;
  QCache<QString, QImage> images_;  // guarded by lock_
};

// The cache of quillhavenUtilitiesImage(). It is made on first use and lives as
// long as the process.
[[nodiscard]] ImageCache& quillhavenUtilitiesCache();

// Returns the library's own image of this name, in the form for the greatest
// pixel ratio among the screens, or nothing if there is none of that name. With
// `cached` it is looked for in the cache first, and kept there. Thread-safe.
[[nodiscard]] std::optional<QImage> quillhavenUtilitiesImage(
    const QString& named, bool cached = true);

// The names of the library's images.
namespace image_names {

inline const QString demoImage = QStringLiteral("<name-in-asset-catalog>");
inline const QString checkmarkBadge = QStringLiteral("CheckmarkBadge");
inline const QString genericApplication = QStringLiteral("GenericApplication");

}  // namespace image_names

// The image that image_names::demoImage names. Loaded on first use.
// Thread-safe.
[[nodiscard]] const QImage& demoImage();

// Returns the library's own colour of this name, such as "MsgBackgroundSuccess"
// and "BorderWeak", for the appearance of `palette`: dark when its windows are
// darker than the text on them. Nothing if there is none of that name.
// Thread-safe.
[[nodiscard]] std::optional<QColor> quillhavenUtilitiesColor(
    const QString& named, const QPalette& palette);

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_IMAGES_H_
