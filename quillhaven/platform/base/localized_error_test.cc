#include "quillhaven/platform/base/localized_error.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <variant>

namespace quillhaven::platform {
namespace {

// As the header tells others to derive.
class TapError : public LocalizedError {
 public:
  struct Dry {
    bool operator==(const Dry&) const = default;
  };
  struct Jammed {
    std::string tap;
    bool operator==(const Jammed&) const = default;
  };
  using Case = std::variant<Dry, Jammed>;

  explicit TapError(Case errorCase)
      : LocalizedError("Example.TapError", static_cast<int>(errorCase.index()),
                       textsOf(errorCase)),
        case_(std::move(errorCase)) {}

  [[nodiscard]] const Case& errorCase() const { return case_; }
  friend bool operator==(const TapError& a, const TapError& b) {
    return a.case_ == b.case_;
  }

 private:
  static ErrorTexts textsOf(const Case& errorCase) {
    ErrorTexts texts;
    if (const auto* jammed = std::get_if<Jammed>(&errorCase)) {
      texts.errorDescription = "The tap \"" + jammed->tap + "\" is jammed.";
      texts.recoverySuggestion = "Turn harder.";
      texts.logDescription = "jammed: " + jammed->tap;
    }
    return texts;
  }
  Case case_;
};

class SpillError : public LocalizedError {
 public:
  SpillError()
      : LocalizedError("Example.SpillError", 7, {"Spilt.", "Wet.", {}, "mop"},
                       {{"Liters", "2"}}) {}
};

static_assert(std::is_nothrow_copy_constructible_v<SpillError>);
static_assert(!std::is_copy_constructible_v<LocalizedError>,
              "a copy of the base alone would lose the case");

TEST(LocalizedError, AnswersTextsOrTheirDefaults) {
  const TapError jammed(TapError::Jammed{"kitchen"});
  EXPECT_EQ(jammed.domain(), "Example.TapError");
  EXPECT_EQ(jammed.errorCode(), 1);
  EXPECT_EQ(jammed.localizedDescription(), "The tap \"kitchen\" is jammed.");
  EXPECT_STREQ(jammed.what(), "jammed: kitchen");
  EXPECT_EQ(jammed.failureReason(), std::nullopt);
  EXPECT_EQ(jammed.userInfo(),
            (ErrorUserInfo{
                {"NSLocalizedDescription", "The tap \"kitchen\" is jammed."},
                {"NSLocalizedRecoverySuggestion", "Turn harder."}}));

  const TapError dry(TapError::Dry{});
  EXPECT_EQ(dry.errorDescription(), std::nullopt);
  EXPECT_STREQ(dry.what(),
               "The operation couldn’t be completed. (Example.TapError error "
               "0.)");
  EXPECT_TRUE(dry.userInfo().empty());

  EXPECT_EQ(SpillError().userInfo(), (ErrorUserInfo{{"Liters", "2"}}));
  EXPECT_EQ(SpillError().helpAnchor(), "mop");
}

TEST(LocalizedError, KeepsItsTextsWhenMovedFromAndAssigned) {
  TapError error(TapError::Jammed{"kitchen"});
  const TapError moved = std::move(error);
  EXPECT_STREQ(error.what(), "jammed: kitchen");  // NOLINT: what is promised
  error = TapError(TapError::Dry{});
  EXPECT_EQ(error.errorCode(), 0);
  EXPECT_EQ(moved, TapError(TapError::Jammed{"kitchen"}));
  EXPECT_NE(moved, TapError(TapError::Jammed{"cellar"}));
}

TEST(ErrorSlot, HandsOutTheWholeError) {
  ErrorSlot slot;
  EXPECT_FALSE(slot);
  EXPECT_EQ(slot.as<TapError>(), nullptr);
  EXPECT_FALSE(failWith(nullptr, SpillError()));
  EXPECT_FALSE(failWith(&slot, TapError(TapError::Jammed{"kitchen"})));
  ASSERT_TRUE(slot);
  EXPECT_EQ(slot->errorCode(), 1);
  ASSERT_NE(slot.as<TapError>(), nullptr);
  EXPECT_EQ(*slot.as<TapError>(), TapError(TapError::Jammed{"kitchen"}));
  EXPECT_EQ(slot.as<SpillError>(), nullptr);

  const ErrorSlot kept = slot;
  slot.clear();
  EXPECT_FALSE(slot);
  EXPECT_STREQ((*kept).what(), "jammed: kitchen");
}

}  // namespace
}  // namespace quillhaven::platform
