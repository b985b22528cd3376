// Feeds the conversion of HTML documents; the first byte chooses the charset.
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/fuzz_target.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/platform/text/string_encoding.h"

namespace quillhaven::fuzz {
namespace {

using namespace platform;

// Chosen by the byte modulo their number; new ones go to the end, so that the
// inputs found so far keep their charset.
constexpr std::array<std::string_view, 17> kCharsets = {
    "utf-8",        "us-ascii",     "iso-8859-1", "windows-1252", "koi8-r",
    "windows-1251", "windows-874",  "macintosh",  "shift_jis",    "euc-jp",
    "iso-2022-jp",  "gb2312",       "gb18030",    "big5",         "euc-kr",
    "utf-16",       "not-a-charset"};

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  using namespace quillhaven::html;
  if (size == 0) return 0;
  const std::string charset(kCharsets[data[0] % kCharsets.size()]);
  const std::string_view htmlBytes = inputBytes(data + 1, size - 1);

  const std::string text = stringWithHTMLData(htmlBytes, {charset});
  requireUTF8(text);
  const auto html =
      textFromBytes(htmlBytes, stringEncodingForIANAName(charset));
  if (!html) {
    require(text.empty(), "bytes that do not convert give no text");
    return 0;
  }
  require(text == stringWithHTMLText(*html), "bytes and text give the same");
  // Each text stands behind a "<" and gains at most U+2028 and a line feed; a
  // list marker, which stands behind "<li>", is shorter than nine bytes here.
  require(text.size() <= 3 * html->size() + 8, "text is bounded by its HTML");
  if (charset == "utf-8") {
    require(text == stringWithHTMLData(htmlBytes), "UTF-8 is the default");
  }
  return 0;
}
