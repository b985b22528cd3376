// Pictures of everything in the gallery.
#ifndef QUILLHAVEN_CLI_GALLERY_SCREENSHOTS_H_
#define QUILLHAVEN_CLI_GALLERY_SCREENSHOTS_H_

#include <QString>

namespace quillhaven::gallery {

// Writes PNG files into `folder`, which is made: NAME.png in a light and
// NAME-dark.png in a dark appearance; with "@2x" where a point has more than
// one pixel. Returns the path of a file that could not be written; empty if all
// were.
[[nodiscard]] QString writeScreenshots(const QString& folder);

}  // namespace quillhaven::gallery

#endif  // QUILLHAVEN_CLI_GALLERY_SCREENSHOTS_H_
