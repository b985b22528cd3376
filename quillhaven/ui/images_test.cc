#include "quillhaven/ui/images.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace quillhaven::ui {
namespace {

QImage filled(QSize pixels, QColor color, double ratio = 1) {
  QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
  image.fill(color);
  image.setDevicePixelRatio(ratio);
  return image;
}

// The rectangle of pixels in which `image` has `color`.
QRect areaOf(const QImage& image, QColor color) {
  QRect area;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixelColor(x, y) == color) area |= QRect(x, y, 1, 1);
    }
  }
  return area;
}

TEST(Badged, DrawsTheBadgeInTheBottomRightCorner) {
  const struct {
    QSize size, badge;
    double ratio;
    QRect place;  // in pixels
  } cases[] = {
      {{128, 128}, {32, 32}, 1, {64, 64, 64, 64}},
      {{128, 128}, {512, 512}, 1, {64, 64, 64, 64}},
      {{100, 100}, {40, 20}, 1, {50, 75, 50, 25}},
      {{100, 40}, {30, 30}, 1, {80, 20, 20, 20}},
      {{5, 5}, {1, 1}, 1, {2, 2, 3, 3}},    // half of 5 rounded up
      {{10, 10}, {1, 1}, 2, {4, 4, 6, 6}},  // 5 by 5 points
      {{256, 256}, {32, 32}, 2, {128, 128, 128, 128}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.size.width() << " by "
                                    << c.size.height() << " at " << c.ratio);
    const QImage image =
        badged(filled(c.size, Qt::blue, c.ratio), filled(c.badge, Qt::red));
    EXPECT_EQ(image.size(), c.size);
    EXPECT_EQ(image.devicePixelRatio(), c.ratio);
    EXPECT_EQ(areaOf(image, Qt::red), c.place);
    EXPECT_EQ(image.pixelColor(c.place.topLeft() - QPoint(1, 1)), Qt::blue);
  }
}

TEST(Badged, LeavesTheImageVisibleThroughTheBadge) {
  const QImage clear = filled({8, 8}, Qt::transparent);
  const QImage image = badged(filled({16, 16}, Qt::blue), clear);
  EXPECT_EQ(areaOf(image, Qt::blue), QRect(0, 0, 16, 16));
  EXPECT_EQ(badged(image, QImage()), image);
  EXPECT_TRUE(badged(QImage(), image).isNull());
}

TEST(ImageByScalingProportionallyToSize, KeepsTheProportions) {
  const struct {
    QSize pixels;
    double ratio;
    QSizeF target;
    QSize expected;  // in pixels
  } cases[] = {
      {{100, 50}, 1, {50, 50}, {50, 25}},
      {{100, 50}, 1, {400, 400}, {400, 200}},
      {{100, 50}, 1, {100, 50}, {100, 50}},
      {{100, 50}, 2, {50, 50}, {100, 50}},  // 50 by 25 points
      {{3, 2}, 1, {1, 1}, {1, 1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.pixels.width() << " at " << c.ratio);
    const QImage image = filled(c.pixels, Qt::green, c.ratio);
    const auto scaled = imageByScalingProportionallyToSize(image, c.target);
    ASSERT_TRUE(scaled);
    EXPECT_EQ(scaled->size(), c.expected);
    EXPECT_EQ(scaled->devicePixelRatio(), c.ratio);
    EXPECT_EQ(areaOf(*scaled, Qt::green), QRect(QPoint(), c.expected));
  }
  EXPECT_FALSE(imageByScalingProportionallyToSize(QImage(), {10, 10}));
  EXPECT_FALSE(
      imageByScalingProportionallyToSize(filled({9, 9}, Qt::red), {0, 10}));
}

TEST(QuillhavenUtilitiesImage, LooksIntoTheCacheOnlyWhenAsked) {
  quillhavenUtilitiesCache().clear();
  const QString name = image_names::checkmarkBadge;
  const auto loaded = quillhavenUtilitiesImage(name, false);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->deviceIndependentSize(), QSizeF(48, 48));
  EXPECT_FALSE(quillhavenUtilitiesCache().image(name));

  EXPECT_EQ(quillhavenUtilitiesImage(name), loaded);
  ASSERT_TRUE(quillhavenUtilitiesCache().image(name));
  const QImage other = filled({1, 1}, Qt::red);
  quillhavenUtilitiesCache().insert(name, other);
  EXPECT_EQ(quillhavenUtilitiesImage(name), other);
  EXPECT_EQ(quillhavenUtilitiesImage(name, false), loaded);
  quillhavenUtilitiesCache().remove(name);
  EXPECT_EQ(quillhavenUtilitiesImage(name), loaded);

  EXPECT_FALSE(quillhavenUtilitiesImage(QStringLiteral("No such image")));
  EXPECT_FALSE(quillhavenUtilitiesImage(QString()));
}

TEST(DemoImage, IsMadeOnceByAnyThread) {
  std::vector<const QImage*> images(8);
  {
    std::vector<std::jthread> threads;
    for (auto& image : images) {
      threads.emplace_back([&image] { image = &demoImage(); });
    }
  }
  for (const QImage* image : images) EXPECT_EQ(image, &demoImage());
  EXPECT_EQ(demoImage().deviceIndependentSize(), QSizeF(64, 64));
  EXPECT_EQ(demoImage().pixelColor(32, 6), QColor(150, 206, 188));
}

TEST(QuillhavenUtilitiesColor, FollowsTheAppearance) {
  const QPalette light(Qt::black, Qt::white, Qt::white, Qt::black, Qt::gray,
                       Qt::black, Qt::white);
  const QPalette dark(Qt::white, Qt::black, Qt::white, Qt::black, Qt::gray,
                      Qt::white, Qt::black);
  for (const char* name : {"MsgBackgroundSuccess", "BorderWeak"}) {
    const auto inLight = quillhavenUtilitiesColor(QLatin1String(name), light);
    const auto inDark = quillhavenUtilitiesColor(QLatin1String(name), dark);
    ASSERT_TRUE(inLight && inDark) << name;
    EXPECT_GT(inLight->lightnessF(), inDark->lightnessF()) << name;
  }
  EXPECT_FALSE(quillhavenUtilitiesColor(QStringLiteral("Mauve"), light));
}

}  // namespace
}  // namespace quillhaven::ui
