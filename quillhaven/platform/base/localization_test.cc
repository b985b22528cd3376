#include "quillhaven/platform/base/localization.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillhaven::platform {
namespace {

TEST(StringWithFormat, ReplacesPlaceholders) {
  const std::vector<FormatArgument> none;
  const std::vector<FormatArgument> texts = {"a", "b"};
  const std::vector<FormatArgument> mixed = {-2147483647 - 1, "b%@", 7};
  const struct {
    std::string_view format;
    const std::vector<FormatArgument>& arguments;
    std::string_view expected;
  } cases[] = {
      {"", texts, ""},
      {"plain", texts, "plain"},
      {"%@", texts, "a"},
      {"<%@|%@>", texts, "<a|b>"},
      {"%2$@ and %1$@", texts, "b and a"},  // as translations swap them
      {"%1$@%1$@", texts, "aa"},
      {"%2$@ %@", texts, "b a"},  // a position does not move the next one
      {"%i", mixed, "-2147483648"},
      {"%@ %@", mixed, "-2147483648 b%@"},  // filled in once
      {"%3$i%3$d", mixed, "77"},
      {"100%%, %%@", texts, "100%, %@"},
      // What has no argument stays.
      {"%@", none, "%@"},
      {"%@ %@ %@", texts, "a b %@"},
      {"%3$@", texts, "%3$@"},
      {"%0$@", texts, "%0$@"},
      {"%99999999999999999999$@", texts, "%99999999999999999999$@"},
      {"%1$i", texts, "%1$i"},
      // What is no placeholder stays.
      {"%", texts, "%"},
      {"%1", texts, "%1"},
      {"%1$", texts, "%1$"},
      {"%1$%", texts, "%1$%"},
      {"%$@", texts, "%$@"},
      {"%5@ %x %s", texts, "%5@ %x %s"},
      {"% %@", texts, "% a"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ(stringWithFormat(c.format, c.arguments), c.expected);
  }
}

TEST(LocalizedString, IsTheKeyWithoutACatalogue) {
  setTranslationsFolder("/nonexistent");
  // gettext would answer the empty key with the head of a catalogue.
  for (const char* key : {"", "Unknown action.", "100% %@"}) {
    EXPECT_EQ(localizedString(key), key);
  }
  EXPECT_EQ(localizedStringWithFormat("Keychain Error (%i)", {-25300}),
            "Keychain Error (-25300)");
}

}  // namespace
}  // namespace quillhaven::platform
