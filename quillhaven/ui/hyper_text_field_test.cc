#include "quillhaven/ui/hyper_text_field.h"

#include <gtest/gtest.h>

#include <QDesktopServices>
#include <QTest>
#include <QUrl>
#include <stdexcept>
#include <string>

#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/ui/palette.h"

namespace quillhaven::ui {
namespace {

// Stands for the desktop's program for https addresses.
class Browser : public QObject {
  Q_OBJECT

 public:
  Browser() { QDesktopServices::setUrlHandler("https", this, "open"); }
  ~Browser() override { QDesktopServices::unsetUrlHandler("https"); }

  Q_INVOKABLE void open(const QUrl& url) { opened.append(url.toEncoded()); }

  QByteArrayList opened;
};

TEST(HyperTextField, LooksLikeALinkOnceShown) {
  QWidget window;
  HyperTextField field("Help <b>centre</b> & more", &window);
  EXPECT_FALSE(field.font().underline());
  window.show();
  EXPECT_TRUE(field.font().underline());
  EXPECT_EQ(field.palette().color(field.foregroundRole()), royalControl());
  EXPECT_EQ(field.text(), "Help <b>centre</b> & more");
  EXPECT_EQ(field.cursor().shape(), Qt::PointingHandCursor);
}

TEST(HyperTextField, OpensItsAddressWhenTheMouseGoesDown) {
  Browser browser;
  HyperTextField field("Help");
  field.setHref("https://help.quillhaven.example/a%20b?c=d&e#f");
  field.show();
  QTest::mousePress(&field, Qt::RightButton);
  EXPECT_TRUE(browser.opened.isEmpty());
  QTest::mousePress(&field, Qt::LeftButton);
  QTest::mouseRelease(&field, Qt::LeftButton);
  EXPECT_EQ(browser.opened,
            QByteArrayList{"https://help.quillhaven.example/a%20b?c=d&e#f"});
}

TEST(HyperTextFieldDeathTest, StopsTheProcessForWhatIsNoURL) {
  for (const char* href : {"", "https://a b.example/", "%zz",
                           "https://ü.example", "https://[::1"}) {
    SCOPED_TRACE(href);
    HyperTextField field("Help");
    field.setHref(QString::fromUtf8(href));
    field.show();
    EXPECT_DEATH(QTest::mousePress(&field, Qt::LeftButton),
                 "href must be a valid URL");
  }
}

}  // namespace
}  // namespace quillhaven::ui

#include "hyper_text_field_test.moc"
