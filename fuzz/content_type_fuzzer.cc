// Takes the first line as a content type or transfer encoding, the rest as
// bytes in the charset that it names, or else in the charset that is the line
// itself.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/fuzz_target.h"
#include "quillhaven/mail/email_message_parser.h"
#include "quillhaven/platform/text/string_encoding.h"
#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::fuzz {
namespace {

using namespace platform;

void checkContentType(std::string_view line,
                      const mail::ContentTypeParameters& parameters,
                      std::string_view type, std::string_view subtype) {
  requireUTF8(type);
  requireUTF8(subtype);
  for (const auto& [name, value] : parameters) {
    requireUTF8(name);
    requireUTF8(value);
    require(!name.empty(), "every parameter has a name");
  }
  require(parameters.size() <=
              static_cast<std::size_t>(std::ranges::count(line, ';')),
          "a parameter follows a semicolon");
}

void checkEncoding(std::string_view text, StringEncoding encoding) {
  const auto lossy = bytesFromTextLossy(text, encoding);
  require(lossy.has_value(), "lossy conversion to a known encoding succeeds");
  const auto exact = bytesFromText(text, encoding);
  require(!exact || *exact == *lossy, "nothing is lost without need");
  if (certainlySurvivesEncoding(text, encoding)) {
    require(textFromBytes(*lossy, encoding) == text, "certain survival");
  }
}

void checkConversion(std::string_view bytes, StringEncoding encoding) {
  const auto name = ianaNameForStringEncoding(encoding);
  require(name.has_value(), "a known encoding has a name");
  require(stringEncodingForIANAName(*name) == encoding,
          "the name of an encoding leads back to it");

  if (const auto text = textFromBytes(bytes, encoding)) {
    requireUTF8(*text);
    require(text->size() <= 4 * bytes.size(), "four bytes of text for a byte");
    checkEncoding(*text, encoding);
  }
  // As text, the same bytes hold characters that the encoding may lack.
  if (isValidUTF8(bytes)) checkEncoding(bytes, encoding);
}

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  using quillhaven::mail::EmailMessageParser;
  const std::string_view input = inputBytes(data, size);
  const std::size_t end = std::min(input.find('\n'), size);
  const std::string_view line = input.substr(0, end);
  if (!isValidUTF8(line)) return 0;

  std::string type;
  std::string subtype;
  const auto parameters =
      EmailMessageParser::parseContentTypeField(line, &type, &subtype);
  checkContentType(line, parameters, type, subtype);
  (void)EmailMessageParser::contentTransferEncodingForString(line);

  const auto charset = parameters.find("charset");
  const auto encoding = stringEncodingForIANAName(
      charset == parameters.end() ? line : std::string_view(charset->second));
  const std::string_view rest = input.substr(std::min(end + 1, size));
  if (encoding == kStringEncodingInvalid) {
    require(!textFromBytes(rest, encoding), "no text in no encoding");
  } else {
    checkConversion(rest, encoding);
  }
  return 0;
}
