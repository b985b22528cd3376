#include "quillhaven/platform/text/internal/encoding_table.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <unordered_map>

namespace quillhaven::platform::internal {
namespace {

using enum EncodingFamily;

// The names that ICU has for the converter called `name` need not be listed,
// except where rows share one: there the first row would get them all.
constexpr std::array<Encoding, kEncodingCount> kEncodings = {{
    {0x0000, singleByte, kHoldsPrivateUse, "macintosh", "xmacroman"},
    {0x0006, singleByte, 0, "x-mac-greek", "macgreek"},
    {0x0007, singleByte, 0, "x-mac-cyrillic", "macukrainian xmacukrainian"},
    {0x001D, singleByte, 0, "x-mac-centraleurroman", "xmaccentraleurope"},
    {0x0023, singleByte, 0, "x-mac-turkish", "macturkish"},
    {0x0100, utf16, kHoldsAll | kByteOrderMark, "utf-16", ""},
    {0x0201, singleByte, kHoldsC1Controls, "iso-8859-1", "isolatin1"},
    {0x0202, singleByte, kHoldsC1Controls, "iso-8859-2", "isolatin2"},
    {0x0203, singleByte, kHoldsC1Controls, "iso-8859-3", "isolatin3"},
    {0x0204, singleByte, kHoldsC1Controls, "iso-8859-4", "isolatin4"},
    {0x0205, singleByte, kHoldsC1Controls, "iso-8859-5", ""},
    {0x0206, singleByte, kHoldsC1Controls, "iso-8859-6",
     "iso88596i iso88596e csiso88596i csiso88596e"},
    {0x0207, singleByte, kHoldsC1Controls, "iso-8859-7", ""},
    {0x0208, singleByte, kHoldsC1Controls, "iso-8859-8",
     "iso88598i iso88598e csiso88598i csiso88598e logical visual"},
    {0x0209, singleByte, kHoldsC1Controls, "iso-8859-9", "isolatin5"},
    {0x020A, singleByte, kHoldsC1Controls, "iso-8859-10", "isolatin6"},
    {0x020B, singleByte, kHoldsC1Controls, "iso-8859-11", "isolatinthai"},
    {0x020D, singleByte, kHoldsC1Controls, "iso-8859-13", "latin7 isolatin7"},
    {0x020E, singleByte, kHoldsC1Controls, "iso-8859-14", "isolatin8"},
    {0x020F, singleByte, kHoldsC1Controls, "iso-8859-15", "isolatin9"},
    {0x0210, singleByte, kHoldsC1Controls, "iso-8859-16",
     "latin10 l10 isoir226 csiso885916 iso8859162001"},
    {0x0400, singleByte, 0, "ibm437", ""},
    {0x0405, singleByte, 0, "cp737", ""},
    {0x0406, singleByte, 0, "ibm775", ""},
    {0x0410, singleByte, 0, "ibm850", ""},
    {0x0411, singleByte, 0, "ibm851", ""},
    {0x0412, singleByte, 0, "ibm852", ""},
    {0x0413, singleByte, 0, "ibm855", ""},
    {0x0414, singleByte, 0, "ibm857", ""},
    {0x0415, singleByte, 0, "ibm860", ""},
    {0x0416, singleByte, 0, "ibm861", ""},
    {0x0417, singleByte, 0, "ibm862", ""},
    {0x0418, singleByte, 0, "ibm863", ""},
    {0x0419, singleByte, 0, "ibm864", ""},
    {0x041A, singleByte, 0, "ibm865", ""},
    {0x041B, singleByte, 0, "ibm866", ""},
    {0x041C, singleByte, 0, "ibm869", ""},
    {0x041D, singleByte, 0, "windows-874",
     "cp874 dos874 tis62025330 tis62025331 cstis620"},
    {0x0420, multiByte, kTurnedControls | kHoldsUserDefined, "windows-31j",
     "cp932"},
    {0x0422, multiByte, kHoldsUserDefined, "windows-949",
     "cp949 uhc xwindows949"},
    {0x0423, multiByte, kHoldsUserDefined, "windows-950", "cp950"},
    {0x0500, singleByte, 0, "windows-1252", "win1252 xcp1252"},
    {0x0501, singleByte, 0, "windows-1250", "win1250 xcp1250"},
    {0x0502, singleByte, 0, "windows-1251", "win1251 xcp1251"},
    {0x0503, singleByte, 0, "windows-1253", "win1253 xcp1253"},
    {0x0504, singleByte, 0, "windows-1254", "win1254 xcp1254"},
    {0x0505, singleByte, 0, "windows-1255", "win1255 xcp1255"},
    {0x0506, singleByte, 0, "windows-1256", "win1256 xcp1256"},
    {0x0507, singleByte, 0, "windows-1257", "win1257 xcp1257"},
    {0x0508, singleByte, 0, "windows-1258", "win1258 xcp1258"},
    {0x0600, singleByte, 0, "us-ascii", "xusascii"},
    // Bytes labelled so come in the form of EUC-CN, and ICU's converter of this
    // name would read ASCII in pairs.
    {0x0630, multiByte, 0, "gb_2312-80", "gb231280", "gb2312"},
    {0x0631, multiByte, 0, "gbk", "xgbk gbk95"},
    {0x0632, multiByte, kHoldsAll, "gb18030", "gb180302000 gb180302005"},
    // Mailers that write this name send the code page that grew out of it.
    {0x0640, multiByte, 0, "ks_c_5601-1987",
     "ksc5601 ksc56011987 ksc56011989 csksc56011987 korean isoir149 "
     "ksc560187 xksc5601"},
    {0x0820, shifting, 0, "iso-2022-jp", ""},
    {0x0821, shifting, 0, "iso-2022-jp-2", ""},
    {0x0822, shifting, 0, "iso-2022-jp-1", ""},
    {0x0830, shifting, 0, "iso-2022-cn", ""},
    {0x0831, shifting, 0, "iso-2022-cn-ext", ""},
    // ICU's converter of this name reads 5C as the won sign.
    {0x0840, shifting, 0, "iso-2022-kr", "", "ISO_2022,locale=ko,version=1"},
    {0x0920, multiByte, 0, "euc-jp", "xeucjp"},
    {0x0930, multiByte, 0, "gb2312", "xeuccn gb2312euc xgb2312 cngb"},
    {0x0931, multiByte, 0, "euc-tw", "xeuctw"},
    {0x0940, multiByte, 0, "euc-kr", "xeuckr"},
    {0x0A01, multiByte, kTurnedControls, "shift_jis",
     "sjis xsjis mskanji csshiftjis"},
    {0x0A02, singleByte, 0, "koi8-r", "xkoi8r"},
    {0x0A03, multiByte, 0, "big5", "csbig5 xbig5 xxbig5 cnbig5 big5tw"},
    {0x0A05, shifting, 0, "hz-gb-2312", "hzgb"},
    {0x0A06, multiByte, 0, "big5-hkscs", "xbig5hkscs"},
    {0x0A08, singleByte, 0, "koi8-u", "xkoi8u koi8ru"},
    // The characters that set this apart from Big5 have no table in ICU.
    {0x0A09, multiByte, 0, "big5-e", "", "big5"},
    {0x04000100, shifting, kHoldsAll, "utf-7", "unicode11utf7 csutf7"},
    {0x08000100, utf8, kHoldsAll, "utf-8", "csutf8"},
    {0x0C000100, utf32, kHoldsAll | kByteOrderMark, "utf-32", "csutf32"},
    {0x10000100, utf16, kHoldsAll, "utf-16be", "csutf16be"},
    {0x14000100, utf16, kHoldsAll | kLittleEndian, "utf-16le", "csutf16le"},
    {0x18000100, utf32, kHoldsAll, "utf-32be", "csutf32be"},
    {0x1C000100, utf32, kHoldsAll | kLittleEndian, "utf-32le", "csutf32le"},
}};

static_assert(std::ranges::is_sorted(kEncodings, {}, &Encoding::number));

// Longer names are none that anybody has given to an encoding.
constexpr std::size_t kLongestName = 64;

// What each byte of a name counts as: a letter in lower case, a digit, or 0 for
// what does not count.
constexpr std::array<char, 256> kCounted = [] {
  std::array<char, 256> counted = {};
  for (std::size_t i = 0; i < 10; ++i) {
    counted['0' + i] = static_cast<char>('0' + i);
  }
  for (std::size_t i = 0; i < 26; ++i) {
    counted['A' + i] = counted['a' + i] = static_cast<char>('a' + i);
  }
  return counted;
}();

// Writes what counts of `name` to `buffer`, and returns what was written;
// nothing of a name that is too long.
std::string_view normalized(std::string_view name,
                            std::array<char, kLongestName>& buffer) {
  if (name.size() > buffer.size()) return {};
  std::size_t size = 0;
  for (const char c : name) {
    const char counted = kCounted[static_cast<unsigned char>(c)];
    buffer[size] = counted;
    size += static_cast<std::size_t>(counted != 0);
  }
  return {buffer.data(), size};
}

// What nearly all mail is written in; these names never wait for the index.
constexpr struct {
  std::string_view key;
  StringEncoding number;
} kCommonNames[] = {
    {"utf8", kStringEncodingUTF8},
    {"usascii", kStringEncodingASCII},
    {"iso88591", 0x0201},
};

struct NameHash {
  using is_transparent = void;  // NOLINT(readability-identifier-naming)
  std::size_t operator()(std::string_view name) const {
    return std::hash<std::string_view>()(name);
  }
};

using NameIndex =
    std::unordered_map<std::string, const Encoding*, NameHash, std::equal_to<>>;

// Our own names go first, so that none of ICU's can take one of them away.
NameIndex makeNameIndex() {
  NameIndex index;
  std::array<char, kLongestName> buffer;
  for (const Encoding& encoding : kEncodings) {
    index.emplace(normalized(encoding.name, buffer), &encoding);
    std::string_view rest = encoding.aliases;
    while (!rest.empty()) {
      const std::size_t size = std::min(rest.find(' '), rest.size());
      index.emplace(rest.substr(0, size), &encoding);
      rest.remove_prefix(std::min(size + 1, rest.size()));
    }
  }
  for (const Encoding& encoding : kEncodings) {
    UErrorCode error = U_ZERO_ERROR;
    const std::uint16_t count = ucnv_countAliases(encoding.name, &error);
    for (std::uint16_t i = 0; i < count && U_SUCCESS(error); ++i) {
      const char* alias = ucnv_getAlias(encoding.name, i, &error);
      if (U_FAILURE(error) || alias == nullptr) break;
      const std::string_view key = normalized(alias, buffer);
      if (!key.empty()) index.emplace(key, &encoding);
    }
  }
  return index;
}

}  // namespace

std::span<const Encoding, kEncodingCount> allEncodings() { return kEncodings; }

const Encoding* encodingNumbered(StringEncoding number) {
  const auto found =
      std::ranges::lower_bound(kEncodings, number, {}, &Encoding::number);
  const bool isKnown = found != kEncodings.end() && found->number == number;
  return isKnown ? &*found : nullptr;
}

const Encoding* encodingNamed(std::string_view name) {
  std::array<char, kLongestName> buffer;
  const std::string_view key = normalized(name, buffer);
  for (const auto& common : kCommonNames) {
    if (key == common.key) return encodingNumbered(common.number);
  }
  static const NameIndex index = makeNameIndex();
  const auto found = index.find(key);
  return found != index.end() ? found->second : nullptr;
}

}  // namespace quillhaven::platform::internal
