#include "quillhaven/platform/files/property_list.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::platform {
namespace {

using Array = PropertyList::Array;
using Data = PropertyList::Data;
using Date = PropertyList::Date;
using Dictionary = PropertyList::Dictionary;
using namespace std::chrono_literals;
using namespace std::string_literals;

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMostUnsigned =
    std::numeric_limits<std::uint64_t>::max();

Date dateAt(std::int64_t secondsSince1970) {
  return Date(std::chrono::seconds(secondsSince1970));
}

std::string document(std::string_view value) {
  return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist>")
      .append(value)
      .append("</plist>\n");
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result.append(text);
  return result;
}

TEST(PropertyListFromXML, ReadsEveryKindOfValue) {
  const struct {
    std::string_view xml;
    PropertyList value;
  } cases[] = {
      {"<true/>", true},
      {"<false></false>", false},
      {"<integer>-5</integer>", -5},
      {"<integer>18446744073709551611</integer>", 18446744073709551611U},
      {"<integer> +0x1F\n</integer>", 31},
      {"<integer>9223372036854775807</integer>", kMost},
      {"<integer>9223372036854775808</integer>", std::uint64_t{1} << 63},
      {"<integer>-9223372036854775808</integer>", kLeast},
      {"<real>1</real>", 1.0},
      {"<real>+1.5e3</real>", 1500.0},
      {"<real>-infinity</real>", -std::numeric_limits<double>::infinity()},
      {"<string/>", ""},
      {"<string>a&amp;b&#65;&#x1F600;&lt;&gt;&quot;&apos;</string>",
       "a&bA\xF0\x9F\x98\x80<>\"'"},
      {"<string><![CDATA[<x>&amp;]]>b<!-- c -->d</string >", "<x>&amp;bd"},
      {"<string> kept\r\n</string>", " kept\r\n"},
      {"<data>\n\tAAEC\n\t/w==\n</data>", Data{"\0\1\2\xFF"s}},
      {"<data/>", Data{}},
      {"<date>2001-01-01T00:00:00Z</date>", dateAt(978307200)},
      {"<date>1900-02-28T23:59:59Z</date>", dateAt(-2203891201)},
      {"<date>2500-01-01T00:00:00Z</date>", dateAt(16725225600)},
      {"<date>40000-02-29T00:00:00Z</date>", dateAt(1200115958400)},
      {"<array/>", Array{}},
      {"<array><true/><!-- two --><array><string>x</string></array></array>",
       Array{true, Array{"x"}}},
      {"<dict><key>b</key><integer>1</integer><key>a</key><dict/></dict>",
       Dictionary{{"a", Dictionary{}}, {"b", 1}}},
      {"<dict><key>a</key><true/><key>a</key><false/></dict>",
       Dictionary{{"a", false}}},
      {"<dict><key/><true/></dict>", Dictionary{{"", true}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.xml);
    const auto value = propertyListFromBytes(document(c.xml));
    ASSERT_TRUE(value);
    EXPECT_EQ(value->value().index(), c.value.value().index());
    EXPECT_EQ(*value, c.value);
  }
}

TEST(PropertyListFromXML, PassesOverWhatSurroundsTheValue) {
  for (std::string_view xml :
       {"\xEF\xBB\xBF<true/>", "  <true />\n<!-- - -->\n",
        "<!DOCTYPE plist [<!ENTITY a \"]>\"> <!-- it's ]> --> ]><true/>",
        "<?xml version='1.0'?><plist version=\"1>0\"><true a='/>'/></plist>"}) {
    EXPECT_EQ(propertyListFromBytes(xml), PropertyList(true)) << xml;
  }
}

TEST(PropertyListFromXML, RefusesWhatIsNotWellFormed) {
  for (std::string_view xml : {"",
                               "text",
                               "<foo/>",
                               "<True/>",
                               "<true/><false/>",
                               "<true>x</true>",
                               "<array>",
                               "</array>",
                               "<array></dict>",
                               "<array>x</array>",
                               "<array><key>a</key></array>",
                               "<key>a</key>",
                               "<dict><true/></dict>",
                               "<dict><key>a</key></dict>",
                               "<dict><key>a</key><key>b</key></dict>",
                               "<string>&foo;</string>",
                               "<string>&#xD800;</string>",
                               "<string>&#x110000;</string>",
                               "<string>&#;</string>",
                               "<string>&#65</string>",
                               "<string><b/></string>",
                               "<string>\xFF</string>",
                               "<string>a</key>",
                               "<integer></integer>",
                               "<integer>12a</integer>",
                               "<integer>--1</integer>",
                               "<integer>18446744073709551616</integer>",
                               "<integer>-9223372036854775809</integer>",
                               "<real>1e999</real>",
                               "<real>one</real>",
                               "<data>AAE</data>",
                               "<data>A===</data>",
                               "<data>AA==AA==</data>",
                               "<data>A*AA</data>",
                               "<date>2001-02-29T00:00:00Z</date>",
                               "<date>2001-01-01T24:00:00Z</date>",
                               "<date>2001-01-01T00:00:00</date>",
                               "<date>2001-01T00:00:00Z</date>",
                               "<date>20011-1-01T00:00:00Z</date>",
                               "<date>300000-01-01T00:00:00Z</date>",
                               "<date>2001-01-01T00:00Z</date>",
                               "<date/>",
                               "<!-- <true/>"}) {
    EXPECT_FALSE(propertyListFromBytes(document(xml))) << xml;
  }
  EXPECT_FALSE(propertyListFromBytes("<plist><true/></plist>x"));
  EXPECT_FALSE(propertyListFromBytes("<plist><true/></plist><plist/>"));
}

// A value of every kind, with some luck; nests up to `depth` deep.
PropertyList randomValue(std::mt19937& random, int depth) {
  const auto randomText = [&random] {
    std::string text;
    for (auto count = random() % 20; count > 0; --count) {
      static constexpr std::string_view kPieces[] = {
          "a", "B", "<", "&", "\n", "\t", "\"", "\xC3\xA9", "\xF0\x9F\x98\x80"};
      text.append(kPieces[random() % std::size(kPieces)]);
    }
    return text;
  };
  switch (random() % (depth > 0 ? 9 : 6)) {
    case 0:
      return random() % 2 == 0;
    case 1:
      return static_cast<std::int64_t>(random()) >> (random() % 32);
    case 2:
      return std::ldexp(static_cast<double>(random()),
                        static_cast<int>(random() % 200) - 100);
    case 3:
      return randomText();
    case 4:
      return Data{randomText()};
    case 5:
      return dateAt(static_cast<std::int64_t>(random()));
    case 6: {
      Array array;
      for (auto count = random() % 18; count > 0; --count) {
        array.push_back(randomValue(random, depth - 1));
      }
      return array;
    }
    default: {
      Dictionary dictionary;
      for (auto count = random() % 18; count > 0; --count) {
        dictionary.insert_or_assign(randomText(),
                                    randomValue(random, depth - 1));
      }
      return dictionary;
    }
  }
}

// What libplist makes of `bytes`, in the form that `write` gives.
template <typename Write>
std::string rewritten(const std::string& bytes, Write write) {
  plist_t node = nullptr;
  plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                    &node);
  char* text = nullptr;
  std::uint32_t size = 0;
  if (node != nullptr) write(node, &text, &size);
  std::string result(text != nullptr ? text : "", size);
  std::free(text);
  plist_free(node);
  return result;
}

TEST(PropertyList, SurvivesOurFormAndBothFormsOfLibplist) {
  std::mt19937 random(20261121);
  for (int i = 0; i < 300; ++i) {
    const PropertyList value = Array{randomValue(random, 4)};
    const auto xml = xmlFromPropertyList(value);
    ASSERT_TRUE(xml);
    SCOPED_TRACE(*xml);
    ASSERT_EQ(propertyListFromBytes(*xml), value);
    const std::string binary = rewritten(*xml, plist_to_bin);
    ASSERT_TRUE(binary.starts_with("bplist00"));
    ASSERT_EQ(propertyListFromBytes(binary), value);
    ASSERT_EQ(propertyListFromBytes(rewritten(*xml, plist_to_xml)), value);
  }
}

TEST(XMLFromPropertyList, WritesTabsSortedKeysAndExactNumbers) {
  const PropertyList value =
      Dictionary{{"b", Array{true, kLeast, kMostUnsigned, 0.1, Array{}}},
                 {"a<", "x&\r\1"},
                 {"d", Data{std::string(52, 'z')}},
                 {"e", dateAt(-62198755200)}};
  const auto xml = xmlFromPropertyList(value);
  ASSERT_TRUE(xml);
  const std::size_t start = xml->find("<dict>");
  EXPECT_EQ(xml->substr(start),
            "<dict>\n\t<key>a&lt;</key>\n\t<string>x&amp;&#13;&#1;</string>\n"
            "\t<key>b</key>\n\t<array>\n\t\t<true/>\n"
            "\t\t<integer>-9223372036854775808</integer>\n"
            "\t\t<integer>18446744073709551615</integer>\n"
            "\t\t<real>0.1</real>\n\t\t<array/>\n\t</array>\n"
            "\t<key>d</key>\n\t<data>\n\t" +
                repeated("enp6", 17) +
                "\n\teg==\n\t</data>\n"
                "\t<key>e</key>\n\t<date>-0001-01-01T00:00:00Z</date>\n"
                "</dict>\n</plist>\n");
  EXPECT_EQ(propertyListFromBytes(*xml), value);
}

TEST(PropertyList, CutOffAnywhereIsAbsent) {
  const std::string xml = *xmlFromPropertyList(
      Dictionary{{"name", "v<"}, {"list", Array{1, 2.5, Data{"x"}, true}}});
  for (std::size_t size = 0; size < xml.size() - 1; ++size) {
    ASSERT_FALSE(propertyListFromBytes(xml.substr(0, size))) << size;
  }
  const std::string binary = rewritten(xml, plist_to_bin);
  for (std::size_t size = 0; size < binary.size(); ++size) {
    ASSERT_FALSE(propertyListFromBytes(binary.substr(0, size))) << size;
  }
}

// Assembles a binary property list with one byte a number.
std::string binaryFrom(const std::vector<std::string>& objects,
                       std::uint8_t root = 0) {
  std::string bytes = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table.push_back(static_cast<char>(bytes.size()));
    bytes.append(object);
  }
  const auto number = [](std::size_t value) {
    std::string text(8, '\0');
    text[7] = static_cast<char>(value);
    return text;
  };
  const std::size_t tableAt = bytes.size();
  return bytes + table + std::string(6, '\0') + "\1\1" +
         number(objects.size()) + number(root) + number(tableAt);
}

TEST(PropertyListFromBinary, ReadsWhatNoWriterHereWrites) {
  const struct {
    std::string object;
    std::optional<PropertyList> value;
  } cases[] = {
      {"\x10\xFF"s, 255},
      {"\x11\xFF\xFE"s, 65534},
      {"\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFB"s, -5},
      {"\x14"s + std::string(8, '\0') + std::string(8, '\xFF'), kMostUnsigned},
      {"\x14"s + std::string(15, '\xFF') + "\xFB", -5},
      {"\x14"s + std::string(7, '\0') + "\1" + std::string(8, '\0'), {}},
      {"\x15"s + std::string(32, '\0'), {}},
      {"\x22\x3F\xC0\0\0"s, 1.5},
      {"\x23\x7F\xF0\0\0\0\0\0\0"s, std::numeric_limits<double>::infinity()},
      {"\x33\x3F\xF8\0\0\0\0\0\0"s, Date(978307201500ms)},
      {"\x33\x7F\xF8\0\0\0\0\0\0"s, {}},  // not a number of seconds
      {"\x33\x7F\0\0\0\0\0\0\0"s, {}},    // far beyond any date
      {"\x53"s + "a\xC3\xA9", {}},        // not ASCII
      {"\x62\0a\xD8\0"s, "a\xEF\xBF\xBD"},
      {"\x81\1\2"s, Dictionary{{"CF$UID", 258}}},
      {"\xA0"s, Array{}},
      {"\xC0"s, Array{}},
      {"\xD0"s, Dictionary{}},
      {"\0"s, {}},
      {"\x07"s, {}},
      {"\x70"s, {}},
      {"\x5F\x10\3abc"s, "abc"},
      {"\x5F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, {}},
      {"\x5F"s, {}},
      {"\x52x"s, {}},  // one character short
      {"\xA1\1"s, {}},
      {"\xD1\0\0"s, {}},  // its key is no text
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.object));
    const auto value = propertyListFromBytes(binaryFrom({c.object}));
    EXPECT_EQ(value, c.value);
    if (value && c.value) {
      EXPECT_EQ(value->value().index(), c.value->value().index());
    }
  }
  EXPECT_FALSE(propertyListFromBytes(binaryFrom({"\x08"}, 1)));
}

TEST(PropertyListFromBinary, RefusesCyclesAndEndlessRepetition) {
  EXPECT_FALSE(propertyListFromBytes(binaryFrom({"\xA1\0"s})));
  EXPECT_FALSE(propertyListFromBytes(binaryFrom({"\xA1\1"s, "\xA2\0\0"s})));
  EXPECT_FALSE(propertyListFromBytes(binaryFrom({"\xD1\1\0"s, "\x51k"s})));

  // Each array names the next one twice: 2^60 values in 200 bytes.
  std::vector<std::string> doubling;
  for (char next = 1; next <= 60; ++next)
    doubling.push_back({'\xA2', next, next});
  doubling.emplace_back("\xA0");
  EXPECT_FALSE(propertyListFromBytes(binaryFrom(doubling)));

  // One text, named by every element, is no attack.
  EXPECT_EQ(propertyListFromBytes(binaryFrom({"\xA4\1\1\1\1"s, "\x51k"s})),
            PropertyList(Array{"k", "k", "k", "k"}));
}

TEST(PropertyList, NestsDownToTheLimitOnly) {
  const auto nested = [](std::size_t depth) {
    return repeated("<array>", depth) + repeated("</array>", depth);
  };
  auto deepest = propertyListFromBytes(nested(kMaximumPropertyListDepth));
  ASSERT_TRUE(deepest);
  EXPECT_TRUE(xmlFromPropertyList(*deepest));
  const std::string binary =
      rewritten(document(nested(kMaximumPropertyListDepth)), plist_to_bin);
  EXPECT_EQ(propertyListFromBytes(binary), deepest);

  EXPECT_FALSE(xmlFromPropertyList(Array{*deepest}));
  EXPECT_FALSE(propertyListFromBytes(nested(kMaximumPropertyListDepth + 1)));
  EXPECT_FALSE(propertyListFromBytes(nested(200000)));
  EXPECT_FALSE(propertyListFromBytes(repeated("<dict><key>a</key>", 200000)));
  EXPECT_FALSE(propertyListFromBytes(rewritten(
      document(nested(kMaximumPropertyListDepth + 1)), plist_to_bin)));
}

TEST(PropertyList, HoldsNoMoreThanItsLimits) {
  const std::string blanks(kMaximumPropertyListSize - 7, ' ');
  EXPECT_TRUE(propertyListFromBytes("<true/>" + blanks));
  EXPECT_FALSE(propertyListFromBytes("<true/>" + blanks + " "));
  const auto array = [](std::size_t count) {
    return "<array>" + repeated("<true/>", count) + "</array>";
  };
  EXPECT_TRUE(propertyListFromBytes(array(kMaximumPropertyListValues - 1)));
  EXPECT_FALSE(propertyListFromBytes(array(kMaximumPropertyListValues)));
  EXPECT_FALSE(xmlFromPropertyList(std::string(kMaximumPropertyListSize, 'x')));

  // One text of 60,000 bytes, named by a hundred elements: far more than the
  // file. Named by ten it is well within bounds.
  for (const std::size_t count : {10U, 100U}) {
    std::string bytes = "bplist00\xAF\x10" +
                        std::string(1, static_cast<char>(count)) +
                        std::string(count, '\1');
    const std::size_t textAt = bytes.size();
    bytes += "\x5F\x11\xEA\x60" + std::string(60000, 'x');
    const std::size_t table = bytes.size();
    const auto twoBytes = [](std::size_t number) {
      return std::string{static_cast<char>(number >> 8),
                         static_cast<char>(number & 0xFF)};
    };
    bytes += "\0\x08"s + twoBytes(textAt) + std::string(6, '\0') + "\2\1" +
             std::string(7, '\0') + "\2" + std::string(14, '\0') +
             twoBytes(table);
    EXPECT_EQ(propertyListFromBytes(bytes).has_value(), count == 10) << count;
  }
}

TEST(PropertyListFromFile, ReadsRegularFilesOnly) {
  const testing::TemporaryFolder folder;
  const std::string file = folder.write("a.plist", document("<true/>"));
  EXPECT_EQ(propertyListFromFile(file), PropertyList(true));
  EXPECT_FALSE(propertyListFromFile(folder.path("missing.plist")));
  EXPECT_FALSE(propertyListFromFile(folder.path()));
  EXPECT_FALSE(propertyListFromFile("/dev/zero"));
}

}  // namespace
}  // namespace quillhaven::platform
