#include "quillhaven/html/html_entities.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quillhaven::html {
namespace {

TEST(Unescaping, ReplacesNumericReferencesOnly) {
  const struct {
    std::string_view text, expected;
  } cases[] = {
      {"", ""},
      {"plain", "plain"},
      {"&#233;", "\xC3\xA9"},
      {"&#xE9;", "\xC3\xA9"},
      {"&#XE9;", "\xC3\xA9"},
      {"a &#65; b &#x42; c", "a A b B c"},
      {"&amp;&lt;", "&amp;&lt;"},      // named ones stay
      {"&#0;", "&#0;"},                // out of range
      {"&#1;", "\x01"},                //
      {"&#65534;", "\xEF\xBF\xBE"},    // the largest
      {"&#65535;", "&#65535;"},        //
      {"&#xFFFE;", "\xEF\xBF\xBE"},    //
      {"&#xFFFF;", "&#xFFFF;"},        //
      {"&#x1F600;", "&#x1F600;"},      // out of range, nine units
      {"&#000065;", "A"},              // nine units
      {"&#0000065;", "A"},             // ten
      {"&#00000065;", "&#00000065;"},  // eleven
      {"&#;", "&#;"},                  // three
      {"&#x;", "&#x;"},                // no digits
      {"&#12a;", "&#12a;"},            // not all of it is the number
      {"&#-5;", "&#-5;"},              //
      {"&#+65;", "A"},                 // a sign is part of a number
      {"&#x0x41;", "A"},               // so is this prefix
      {"&#65", "&#65"},                // no end
      {"&#65&#66;", "&#65B"},          // an end before the next "&" only
      {"&&#65;;", "&A;"},              //
      {"&#38;#65;", "&#65;"},          // what was made is not read again
      {"&#55357;&#56832;", "\xF0\x9F\x98\x80"},
      {"&#xD83D;-&#xDE00;", "\xEF\xBF\xBD-\xEF\xBF\xBD"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(gtm_stringByUnescapingFromHTML(c.text), c.expected) << c.text;
  }
}

TEST(Escaping, TurnsUnitsBeyondASCIIIntoReferencesAndNothingElse) {
  const std::string_view text = "<caf\xC3\xA9> & \x7F \xF0\x9F\x98\x80";
  EXPECT_EQ(gtm_stringByEscapingForAsciiHTML(text),
            "<caf&#233;> & \x7F &#55357;&#56832;");
  EXPECT_EQ(gtm_stringByEscapingForHTML(text), text);
  EXPECT_EQ(gtm_stringByEscapingForAsciiHTML("\xC2\x80"), "&#128;");
  EXPECT_EQ(gtm_stringByEscapingForAsciiHTML(""), "");
}

TEST(Escaping, LooksUnitsUpInATable) {
  const HTMLEscapeMap table[] = {
      {"&lt;", u'<'}, {"&eacute;", u'\u00E9'}, {"&high;", char16_t{0xD83D}}};
  const std::string_view text = "<\xC3\xA9\xC3\xA8\xF0\x9F\x98\x80>";
  EXPECT_EQ(gtm_stringByEscapingHTMLUsingTable(text, table, sizeof table, true),
            "&lt;&eacute;&#232;&high;&#56832;>");
  EXPECT_EQ(
      gtm_stringByEscapingHTMLUsingTable(text, table, sizeof table, false),
      "&lt;&eacute;\xC3\xA8&high;\xEF\xBF\xBD>");
  EXPECT_EQ(EscapeMapCompare(u'<', table[1]), -1);
  EXPECT_EQ(EscapeMapCompare(u'<', table[0]), 0);
  EXPECT_EQ(EscapeMapCompare(u'\u00E9', table[0]), 1);
}

}  // namespace
}  // namespace quillhaven::html
