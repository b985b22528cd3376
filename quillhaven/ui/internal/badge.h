// Where a badge lies on what it is drawn on.
#ifndef QUILLHAVEN_UI_INTERNAL_BADGE_H_
#define QUILLHAVEN_UI_INTERNAL_BADGE_H_

#include <QRectF>
#include <QSizeF>

namespace quillhaven::ui::internal {

// Returns the place of a badge of `badgeSize` in the bottom right corner of
// `rect`, in points: fitted into half the width and half the height, each
// rounded up to a whole point.
[[nodiscard]] QRectF badgePlace(const QRectF& rect, QSizeF badgeSize);

}  // namespace quillhaven::ui::internal

#endif  // QUILLHAVEN_UI_INTERNAL_BADGE_H_
