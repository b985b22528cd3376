#include "quillhaven/ui/hyper_text_field.h"

#include <QDesktopServices>
#include <QEvent>
#include <QMouseEvent>
#include <QUrl>
#include <string>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/url/url_components.h"
#include "quillhaven/ui/palette.h"

namespace quillhaven::ui {
namespace {

// A relative reference is one that, put behind a scheme, makes a URL.
bool isURL(const std::string& text) {
  return !text.empty() && (platform::urlComponents(text) ||
                           platform::urlComponents("relative:" + text));
}

}  // namespace

class HyperTextField::Private {
 public:
  QString href_;
};

HyperTextField::HyperTextField(QWidget* parent)
    : HyperTextField(QString(), parent) {}

HyperTextField::HyperTextField(const QString& text, QWidget* parent)
    : QLabel(text, parent), d(std::make_unique<Private>()) {
  setTextFormat(Qt::PlainText);
  setCursor(Qt::PointingHandCursor);
}

HyperTextField::~HyperTextField() = default;

QString HyperTextField::href() const { return d->href_; }

void HyperTextField::setHref(const QString& href) {
  if (href == d->href_) return;
  d->href_ = href;
  Q_EMIT hrefChanged(href);
}

bool HyperTextField::event(QEvent* event) {
  // Sent once, when the form that it stands in has set everything.
  if (event->type() == QEvent::Polish) {
    QPalette colors = palette();
    colors.setColor(foregroundRole(), royalControl());
    setPalette(colors);
    QFont underlined = font();
    underlined.setUnderline(true);
    setFont(underlined);
  }
  return QLabel::event(event);
}

void HyperTextField::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) {
    QLabel::mousePressEvent(event);
    return;
  }
  event->accept();
  const std::string href = d->href_.toStdString();
  if (!isURL(href)) platform::fatalError("href must be a valid URL: " + href);
  QDesktopServices::openUrl(QUrl::fromEncoded(d->href_.toUtf8()));
}

}  // namespace quillhaven::ui
