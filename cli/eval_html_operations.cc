// The operations of `quillhaven eval` on HTML and plain text.
#include "cli/eval_operation.h"
#include "quillhaven/html/html_data.h"
#include "quillhaven/html/html_entities.h"
#include "quillhaven/html/html_text.h"
#include "quillhaven/platform/text/scanner.h"

namespace quillhaven::cli {
namespace {

void encodeEntities(const Arguments& arguments, JsonWriter& result) {
  const auto isUnicode = arguments.optionalBool("isUnicode");
  result.value(
      isUnicode
          ? html::stringByEncodingHTMLEntities(arguments.text(), *isUnicode)
          : html::stringByEncodingHTMLEntities(arguments.text()));
}

void convertHTMLData(const Arguments& arguments, JsonWriter& result) {
  html::HTMLDataOptions options;
  if (const auto name = arguments.optionalString("textEncodingName")) {
    options.textEncodingName = std::string(*name);
  }
  result.value(
      html::stringWithHTMLData(arguments.base64("dataBase64"), options));
}

void attributesFromTag(const Arguments& arguments, JsonWriter& result) {
  const auto attributes = html::dictionaryOfAttributesFromTag(arguments.text());
  if (!attributes) {
    result.null();
    return;
  }
  result.beginObject();
  for (const auto& [name, value] : *attributes) {
    result.key(name);
    result.value(value);
  }
  result.endObject();
}

constexpr EvalOperation kOperations[] = {
    {"gtm_stringByEscapingForHTML", onText<html::gtm_stringByEscapingForHTML>},
    {"gtm_stringByEscapingForAsciiHTML",
     onText<html::gtm_stringByEscapingForAsciiHTML>},
    {"gtm_stringByUnescapingFromHTML",
     onText<html::gtm_stringByUnescapingFromHTML>},
    {"stringByConvertingHTMLToPlainText",
     onText<html::stringByConvertingHTMLToPlainText>},
    {"stringByConvertingPlainTextToHTML",
     onText<html::stringByConvertingPlainTextToHTML>},
    {"stringByDecodingHTMLEntities",
     onText<html::stringByDecodingHTMLEntities>},
    {"stringWithNewLinesAsBRs", onText<html::stringWithNewLinesAsBRs>},
    {"stringByRemovingNewLinesAndWhitespace",
     onText<html::stringByRemovingNewLinesAndWhitespace>},
    {"stringByRemovingNewlinesAndWhitespace",  // as some hosts spell it
     onText<html::stringByRemovingNewLinesAndWhitespace>},
    {"stringByLinkifyingURLs", onText<html::stringByLinkifyingURLs>},
    {"stringByStrippingTags", onText<html::stringByStrippingTags>},
    {"stringByConvertingPlainTextToHTMLWithParagraphTag",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(html::stringByConvertingPlainTextToHTMLWithParagraphTag(
           arguments.text(), arguments.string("tag")));
     }},
    {"stringByEncodingHTMLEntities", encodeEntities},
    {"containsHTMLTag", onText<html::containsHTMLTag>},
    {"isInlineTag", onText<html::isInlineTag>},
    {"peekNextTag",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(html::peekNextTag(platform::Scanner(arguments.text())));
     }},
    {"stringWithHTMLData", convertHTMLData},
    {"dictionaryOfAttributesFromTag", attributesFromTag},
    {"integerValueFromHex", onText<html::integerValueFromHex>},
};

}  // namespace

std::span<const EvalOperation> htmlOperations() { return kOperations; }

}  // namespace quillhaven::cli
