#include "quillhaven/platform/run_loop/key_value_observing.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <optional>
#include <string>
#include <thread>

namespace quillhaven::platform {
namespace {

using Options = KeyValueObservingOptions;

// "area" is made of "width" and "height"; "label" of "area", and of itself.
class Box : public KeyValueObservable {
 public:
  void setWidth(int width) {
    width_ = width;
    didChangeValueForKey("width");
  }

  [[nodiscard]] std::any valueForKey(std::string_view key) const override {
    if (key == "width") return width_.load();
    if (key == "area") return width_ * 10;
    if (key == "label") return std::to_string(width_ * 10);
    return KeyValueObservable::valueForKey(key);
  }

  [[nodiscard]] std::span<const std::string_view>
  keyPathsForValuesAffectingValue(std::string_view key) const override {
    static constexpr std::array<std::string_view, 2> kArea = {"width",
                                                              "height"};
    static constexpr std::array<std::string_view, 2> kLabel = {"area", "label"};
    if (key == "area") return kArea;
    if (key == "label") return kLabel;
    return {};
  }

 private:
  std::atomic<int> width_ = 1;
};

TEST(Observe, TellsOfChangesAsTheOptionsSay) {
  const struct {
    Options options;
    std::string told;  // at once, then for widths 2 and 3
  } cases[] = {
      {Options::kNone, "/-/-/"},
      {Options::kNew, "/2/3/"},
      {Options::kInitial, "-/-/-/"},
      {Options::kInitial | Options::kNew, "1/2/3/"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.told);
    Box box;
    std::string told;
    const auto observation =
        box.observe("width", c.options, [&](const KeyValueChange& change) {
          EXPECT_EQ(change.key, "width");
          told += change.newValue.has_value()
                      ? std::to_string(std::any_cast<int>(change.newValue))
                      : "-";
        });
    told += "/";
    for (const int width : {2, 3}) {
      box.setWidth(width);
      told += "/";
    }
    EXPECT_EQ(told, c.told);
  }
}

TEST(Observe, FollowsDependentKeys) {
  Box box;
  std::string told;
  const auto note = [&](const KeyValueChange& change) {
    told += std::string(change.key) + " ";
  };
  const auto area = box.observe("area", Options::kNone, note);
  const auto label = box.observe("label", Options::kNone, note);
  const auto height = box.observe("height", Options::kNone, note);
  box.setWidth(2);
  EXPECT_EQ(told, "area label ");
}

TEST(Observe, EndsWithItsHandle) {
  std::optional<Box> box(std::in_place);
  int first = 0, second = 0;
  std::optional<KeyValueObservation> one, two;
  one = box->observe("width", Options::kNone, [&](const KeyValueChange&) {
    ++first;
    one.reset();  // within its own call
    two.reset();  // of which this change has not been told yet
  });
  two = box->observe("width", Options::kNone,
                     [&](const KeyValueChange&) { ++second; });
  box->setWidth(2);
  box->setWidth(3);
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 0);
  auto last = box->observe("width", Options::kNone, [](const auto&) {});
  box.reset();
  last.invalidate();
}

TEST(Observe, NeverMissesAChangeMadeWhileItBegins) {
  for (int round = 0; round < 300; ++round) {
    Box box;
    std::atomic<int> seen = 0;
    std::jthread thread([&] { box.setWidth(2); });
    const auto observation =
        box.observe("width", Options::kInitial | Options::kNew,
                    [&](const KeyValueChange& change) {
                      const int width = std::any_cast<int>(change.newValue);
                      if (width == 2) seen = width;
                    });
    thread.join();
    ASSERT_EQ(seen, 2);
  }
}

TEST(ValueForKey, RefusesAKeyThatIsNotThere) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(static_cast<void>(Box().valueForKey("depth")),
               "the object has no value for the key \"depth\"");
}

}  // namespace
}  // namespace quillhaven::platform
