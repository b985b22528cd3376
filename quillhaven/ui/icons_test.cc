#include "quillhaven/ui/icons.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QPixmap>
#include <QTemporaryDir>

namespace quillhaven::ui {
namespace {

QPixmap filled(QSize size, QColor color) {
  QPixmap pixmap(size);
  pixmap.fill(color);
  return pixmap;
}

void write(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  ASSERT_EQ(file.write(bytes), bytes.size());
}

// A user without programs, and an application with a blue icon.
class IconsTest : public testing::Test {
 protected:
  void SetUp() override {
    const QByteArray home = folder_.path().toUtf8();
    setVariable("HOME", home);
    setVariable("XDG_DATA_HOME", home + "/data");
    setVariable("XDG_DATA_DIRS", home + "/machine");
    QDir().mkpath(folder_.filePath("data/applications"));
    QGuiApplication::setWindowIcon(filled({128, 128}, Qt::blue));
  }

  void TearDown() override {
    QGuiApplication::setWindowIcon(QIcon());
    for (const auto& [name, value] : earlier_) {
      if (value.isNull()) {
        qunsetenv(name);
      } else {
        qputenv(name, value);
      }
    }
  }

  void installEntry(const QString& identifier, const QByteArray& lines) {
    write(applications().filePath(identifier + ".desktop"),
          "[Desktop Entry]\nType=Application\nName=Some\n" + lines);
  }

  void installBundle(const QByteArray& identifier, const QByteArray& keys) {
    const QString contents = applications().filePath("Some.app/Contents");
    QDir().mkpath(contents + "/Resources");
    write(contents + "/Info.plist",
          "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
          "<key>CFBundleIdentifier</key><string>" +
              identifier + "</string>" + keys + "</dict></plist>");
    filled({64, 64}, Qt::red).save(contents + "/Resources/Letter.png");
  }

  QDir applications() const {
    return QDir(folder_.filePath("data/applications"));
  }

  QString redIcon() const {
    const QString path = folder_.filePath("red.png");
    filled({64, 64}, Qt::red).save(path);
    return path;
  }

 private:
  void setVariable(const char* name, const QByteArray& value) {
    earlier_.append({name, qgetenv(name)});
    qputenv(name, value);
  }

  QTemporaryDir folder_;
  QList<std::pair<const char*, QByteArray>> earlier_;
};

QColor cornerOf(const QIcon& icon) {
  const QImage image = icon.pixmap(QSize(128, 128), 1.0).toImage();
  return image.pixelColor(image.width() * 3 / 4, image.height() * 3 / 4);
}

TEST_F(IconsTest, DrawsTheBadgeAtEverySizeAndRatio) {
  const QIcon icon = quillhavenIcon(filled({32, 32}, Qt::red));
  const struct {
    int points;
    double ratio;
    int first;  // pixel of the badge, from both edges
  } cases[] = {
      {128, 1, 64}, {128, 2, 128}, {16, 1, 8}, {15, 1, 7}, {15, 2, 14}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.points << " at " << c.ratio);
    const QSize size(c.points, c.points);
    const QImage image = icon.pixmap(size, c.ratio).toImage();
    ASSERT_EQ(image.size(), size * c.ratio);
    EXPECT_EQ(image.pixelColor(c.first, c.first), Qt::red);
    EXPECT_EQ(image.pixelColor(c.first - 1, c.first), Qt::blue);
    EXPECT_EQ(image.pixelColor(c.first, c.first - 1), Qt::blue);
    EXPECT_EQ(image.pixelColor(image.width() - 1, image.height() - 1), Qt::red);
  }
  EXPECT_EQ(cornerOf(quillhavenIcon(QIcon())), Qt::blue);
}

TEST_F(IconsTest, HasNoMailIconWithoutMailButTheOthers) {
  EXPECT_FALSE(mailBadgedIcon());
  EXPECT_EQ(cornerOf(remindersBadgedAppIcon()), Qt::blue);
  EXPECT_EQ(cornerOf(contactsBadgedAppIcon()), Qt::blue);
}

TEST_F(IconsTest, FindsDesktopEntries) {
  const QByteArray icon = "Icon=" + redIcon().toUtf8() + "\n";
  installEntry("com.apple.mail", icon);
  installEntry("com.apple.reminders", icon);
  installEntry("com.apple.AddressBook", icon + "Hidden=true\n");
  ASSERT_TRUE(mailBadgedIcon());
  EXPECT_EQ(cornerOf(*mailBadgedIcon()), Qt::red);
  EXPECT_EQ(cornerOf(remindersBadgedAppIcon()), Qt::red);
  EXPECT_EQ(cornerOf(contactsBadgedAppIcon()), Qt::blue);
}

TEST_F(IconsTest, FindsBundlesAndGivesThoseWithoutIconOurs) {
  installBundle("com.apple.mail",
                "<key>CFBundleIconFile</key><string>Letter</string>");
  ASSERT_TRUE(mailBadgedIcon());
  EXPECT_EQ(cornerOf(*mailBadgedIcon()), Qt::red);

  installEntry("com.apple.reminders", "Icon=no-such-icon\n");
  EXPECT_NE(cornerOf(remindersBadgedAppIcon()), Qt::blue);
}

TEST_F(IconsTest, HasAnApplicationIconInAnyCase) {
  QGuiApplication::setWindowIcon(QIcon());
  EXPECT_FALSE(applicationIcon().isNull());
  installEntry("host", "Icon=" + redIcon().toUtf8() + "\n");
  QGuiApplication::setDesktopFileName("host");
  EXPECT_EQ(cornerOf(applicationIcon()), Qt::red);
  QGuiApplication::setDesktopFileName(QString());
}

}  // namespace
}  // namespace quillhaven::ui
